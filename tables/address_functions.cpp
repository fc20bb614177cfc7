#include "tables/address_functions.h"

#include <array>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>

#include "include/platform/libraries.h"
#include "include/platform/system.h"
#include "include/platform/text.h"

namespace tables {

namespace {

using NameBuffer = std::array<char, 256>;

// What the program's own look-up hands out; the record comes first.
struct OwnAnswer {
  ADDRINFOA info{};
  NameBuffer name{};
};

bool computer_name(COMPUTER_NAME_FORMAT format, NameBuffer& name) {
  DWORD size = static_cast<DWORD>(name.size());
  return GetComputerNameExA(format, name.data(), &size) != 0;
}

bool is_this_machine(const char* node) {
  if (node == nullptr) return false;
  if (*node == '\0') return true;
  for (const auto format : {ComputerNameDnsHostname, ComputerNameDnsFullyQualified}) {
    NameBuffer name{};
    if (computer_name(format, name) && _stricmp(node, name.data()) == 0) return true;
  }
  return false;
}

int WSAAPI own_getaddrinfo(const char* node, const char* /*service*/, const ADDRINFOA* hints,
                           ADDRINFOA** result) {
  if (result == nullptr || !is_this_machine(node)) return WSAHOST_NOT_FOUND;
  std::unique_ptr<OwnAnswer> answer{new (std::nothrow) OwnAnswer};
  if (answer == nullptr || !computer_name(ComputerNameDnsFullyQualified, answer->name)) {
    return WSAHOST_NOT_FOUND;
  }
  if (hints != nullptr && (hints->ai_flags & AI_CANONNAME) != 0) {
    answer->info.ai_canonname = answer->name.data();
  }
  *result = &answer.release()->info;
  return 0;
}

// The program's own look-up hands out no addresses that could be asked about.
int WSAAPI own_getnameinfo(const sockaddr* /*address*/, int /*address_size*/, char* /*host*/,
                           DWORD /*host_size*/, char* /*service*/, DWORD /*service_size*/,
                           int /*flags*/) {
  return WSAHOST_NOT_FOUND;
}

void WSAAPI own_freeaddrinfo(ADDRINFOA* result) {
  const std::unique_ptr<OwnAnswer> owner{reinterpret_cast<OwnAnswer*>(result)};
}

template <typename Function>
Function find_function(HMODULE library, const char* name) {
  // By way of a plain pointer: the loader has one type for all functions.
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// Nothing when the library is not there or lacks one of the three.
std::optional<AddressFunctions> functions_of(const std::string& path) {
  const HMODULE library = LoadLibraryA(path.c_str());
  if (library == nullptr) return std::nullopt;
  const AddressFunctions found{find_function<LPFN_GETADDRINFO>(library, "getaddrinfo"),
                               find_function<LPFN_GETNAMEINFO>(library, "getnameinfo"),
                               find_function<LPFN_FREEADDRINFO>(library, "freeaddrinfo")};
  if (found.getaddrinfo != nullptr && found.getnameinfo != nullptr &&
      found.freeaddrinfo != nullptr) {
    return found;
  }
  FreeLibrary(library);
  return std::nullopt;
}

}  // namespace

AddressFunctions choose_address_functions() {
  char directory[260] = {};
  const UINT length = GetSystemDirectoryA(directory, UINT{sizeof directory});
  if (length > 0 && length < sizeof directory) {
    for (const char* library : {"\\ws2_32", "\\wship6"}) {
      if (const auto found = functions_of(std::string(directory) + library)) return *found;
    }
  }
  return {&own_getaddrinfo, &own_getnameinfo, &own_freeaddrinfo};
}

const AddressFunctions& address_functions() {
  static const AddressFunctions chosen = choose_address_functions();
  return chosen;
}

int look_up_address(const char* node, const ADDRINFOA& hints, ADDRINFOA** addresses) {
  *addresses = nullptr;
  const int result = address_functions().getaddrinfo(node, nullptr, &hints, addresses);
  WSASetLastError(result);
  return result;
}

}  // namespace tables
