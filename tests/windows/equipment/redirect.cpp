#include "tests/windows/equipment/redirect.h"

#include <cstdlib>
#include <cstring>

namespace equipment {
namespace {

HMODULE own = nullptr;

const IMAGE_IMPORT_DESCRIPTOR* first_import(const char* base) {
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const auto& folder = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
  return folder.Size == 0
             ? nullptr
             : reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + folder.VirtualAddress);
}

// The registry can be left to the system, to run over real keys.
bool is_left_alone(const char* name) {
  return std::strncmp(name, "Reg", 3) == 0 && std::getenv("EQUIPMENT_SYSTEM_REGISTRY") != nullptr;
}

void bind(IMAGE_THUNK_DATA& slot, FARPROC target) {
  DWORD before = 0;
  if (!VirtualProtect(&slot, sizeof slot, PAGE_READWRITE, &before)) return;
  slot.u1.Function = reinterpret_cast<ULONGLONG>(target);
  VirtualProtect(&slot, sizeof slot, before, &before);
}

}  // namespace

HMODULE own_library() { return own; }

void redirect_imports(HMODULE library) {
  auto* base = reinterpret_cast<char*>(library == nullptr ? GetModuleHandleA(nullptr) : library);
  const IMAGE_IMPORT_DESCRIPTOR* import = first_import(base);
  if (import == nullptr) return;
  for (; import->Name != 0; ++import) {
    const auto* name = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + import->OriginalFirstThunk);
    auto* slot = reinterpret_cast<IMAGE_THUNK_DATA*>(base + import->FirstThunk);
    for (; name->u1.AddressOfData != 0; ++name, ++slot) {
      if (IMAGE_SNAP_BY_ORDINAL(name->u1.Ordinal)) continue;
      const auto* call =
          reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + name->u1.AddressOfData);
      if (is_left_alone(call->Name)) continue;
      if (const FARPROC target = GetProcAddress(own, call->Name)) bind(*slot, target);
    }
  }
}

}  // namespace equipment

// The system has bound the imports of the program and of the libraries that it starts with before
// the first library is told that the process begins, so that all of them can be redirected here.
BOOL WINAPI DllMain(HINSTANCE library, DWORD reason, LPVOID) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  equipment::own = library;
  equipment::redirect_imports(nullptr);
  if (const HMODULE framework = GetModuleHandleA("xaf.dll")) equipment::redirect_imports(framework);
  return TRUE;
}
