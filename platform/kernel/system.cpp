#include "platform/system.h"

#include <strings.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/adsi/wide_text.h"
#include "platform/control.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/libraries.h"
#include "platform/kernel/message_texts.h"

namespace {

platform::accounting::Counter local_memory{"local memory"};

// Modules that programs ask for by name; their addresses are the handles.
constexpr const char* kModules[] = {"",
                                    "kernel32.dll",
                                    "pdh.dll",
                                    "user32.dll",
                                    "advapi32.dll",
                                    "activeds.dll",
                                    "ntdsapi.dll",
                                    "netapi32.dll",
                                    "dnsapi.dll",
                                    "ws2_32.dll",
                                    "ole32.dll",
                                    "oleaut32.dll"};
constexpr std::size_t kProgram = 0;
constexpr std::size_t kKernel = 1;
constexpr std::size_t kCounters = 2;

HMODULE module_handle(std::size_t index) { return const_cast<const char**>(&kModules[index]); }

// Every block begins with its own mark, so that freeing something else is noticed, not done.
struct BlockHead {
  std::uint64_t mark;
  std::uint64_t size;
};
constexpr std::uint64_t kAlive = 0x6C6F63616C206D65u;

DWORD fail(DWORD error) {
  SetLastError(error);
  return 0;
}

const char* find_message(DWORD flags, const void* source, DWORD code) {
  const char* text = nullptr;
  if ((flags & FORMAT_MESSAGE_FROM_HMODULE) != 0) {
    if (source == module_handle(kCounters)) text = platform::kernel::counter_message(code);
    if (source == module_handle(kKernel)) text = platform::kernel::system_message(code);
    if (platform::kernel::is_library(source, "netmsg"))
      text = platform::kernel::network_message(code);
  }
  if (text == nullptr && (flags & FORMAT_MESSAGE_FROM_SYSTEM) != 0) {
    text = platform::kernel::system_message(code);
  }
  return text;
}

template <typename Character, typename Convert>
DWORD hand_out_message(DWORD flags, const void* source, DWORD message, Character* buffer,
                       DWORD size, Convert convert) {
  if (buffer == nullptr) return fail(ERROR_INVALID_PARAMETER);
  const bool allocate = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
  // With a buffer of its own the call writes a null pointer first, so that a failure frees nothing.
  if (allocate) *reinterpret_cast<Character**>(buffer) = nullptr;
  const char* found = find_message(flags, source, message);
  if (found == nullptr) return fail(ERROR_MR_MID_NOT_FOUND);
  const bool one_line = (flags & FORMAT_MESSAGE_MAX_WIDTH_MASK) == FORMAT_MESSAGE_MAX_WIDTH_MASK;
  const auto text = convert(std::string(found) + (one_line ? " " : "\r\n"));
  const auto length = static_cast<DWORD>(text.size());
  if (!allocate && size <= length) return fail(ERROR_INSUFFICIENT_BUFFER);
  Character* target = buffer;
  if (allocate) {
    const SIZE_T wanted = std::max<SIZE_T>(length + 1, size) * sizeof(Character);
    target = static_cast<Character*>(LocalAlloc(LMEM_FIXED, wanted));
    if (target == nullptr) return 0;
    *reinterpret_cast<Character**>(buffer) = target;
  }
  std::memcpy(target, text.c_str(), (text.size() + 1) * sizeof(Character));
  return length;
}

}  // namespace

DWORD FormatMessageA(DWORD flags, const void* source, DWORD message, DWORD, char* buffer,
                     DWORD size, va_list*) {
  if (const auto fault = platform::fault_point("FormatMessageA")) return fail(fault->win32());
  return hand_out_message<char>(flags, source, message, buffer, size,
                                [](const std::string& text) { return text; });
}

DWORD FormatMessageW(DWORD flags, const void* source, DWORD message, DWORD, wchar_t* buffer,
                     DWORD size, va_list*) {
  if (const auto fault = platform::fault_point("FormatMessageW", ERROR_MR_MID_NOT_FOUND)) {
    return fail(fault->win32());
  }
  return hand_out_message<wchar_t>(flags, source, message, buffer, size, platform::wide_text);
}

HLOCAL LocalAlloc(UINT flags, SIZE_T size) {
  if (const auto fault = platform::fault_point("LocalAlloc")) {
    SetLastError(fault->win32());
    return nullptr;
  }
  auto* head = static_cast<BlockHead*>(std::malloc(sizeof(BlockHead) + size));
  if (head == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
  *head = {kAlive, size};
  if ((flags & LMEM_ZEROINIT) != 0) std::memset(head + 1, 0, size);
  local_memory.add();
  return head + 1;
}

HLOCAL LocalFree(HLOCAL memory) {
  if (memory == nullptr) return nullptr;
  const auto fault = platform::fault_point("LocalFree");
  auto* head = static_cast<BlockHead*>(memory) - 1;
  if (fault || head->mark != kAlive) {
    SetLastError(fault ? fault->win32() : ERROR_INVALID_HANDLE);
    return memory;
  }
  head->mark = 0;
  std::free(head);
  local_memory.remove();
  return nullptr;
}

HMODULE GetModuleHandleA(const char* name) {
  if (const auto fault = platform::fault_point("GetModuleHandleA")) {
    SetLastError(fault->win32());
    return nullptr;
  }
  if (name == nullptr) return module_handle(kProgram);
  std::string wanted = name;
  if (wanted.find('.') == std::string::npos) wanted += ".dll";
  for (std::size_t index = 1; index < std::size(kModules); ++index) {
    if (strcasecmp(kModules[index], wanted.c_str()) == 0) return module_handle(index);
  }
  SetLastError(ERROR_MOD_NOT_FOUND);
  return nullptr;
}

DWORD GetModuleFileNameA(HMODULE, char* path, DWORD size) {
  if (const auto fault = platform::fault_point("GetModuleFileNameA")) return fail(fault->win32());
  char program[4096];
  const auto length = readlink("/proc/self/exe", program, sizeof program);
  if (length < 0) return fail(ERROR_GEN_FAILURE);
  if (size == 0) return fail(ERROR_INSUFFICIENT_BUFFER);
  const auto copied = std::min<DWORD>(static_cast<DWORD>(length), size - 1);
  std::memcpy(path, program, copied);
  path[copied] = '\0';
  if (copied == static_cast<DWORD>(length)) return copied;
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  return size;
}
