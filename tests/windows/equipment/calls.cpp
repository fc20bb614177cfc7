// Calls of Windows that are partly the controller's machine's: its commands, its message texts, its
// names and its libraries. What is not of it goes to the system.

#include <winsock2.h>
// Windows sockets first.
#include <io.h>
#include <windns.h>
#include <ws2tcpip.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/adsi/wide_text.h"
#include "platform/commands/command_source.h"
#include "platform/control.h"
#include "platform/kernel/command_line.h"
#include "platform/kernel/local_machine.h"
#include "platform/kernel/message_texts.h"
#include "tests/windows/equipment/redirect.h"

void DnsRecordListFree(PDNS_RECORD records, DNS_FREE_TYPE kind);

namespace {

std::mutex lock;
// Exit codes of the commands that the recording answered, by their streams; guarded by lock. Never
// destroyed: threads may outlive main.
auto& answered = *new std::map<FILE*, int>;

bool is_recorded(const char* command) {
  return command != nullptr && !platform::kernel::system_command(command).empty();
}

platform::CommandAnswer run_recorded(const char* command) {
  return platform::controller()->commands()->run(command);
}

// A stream over the text, from a file that goes when the stream is closed.
FILE* stream_of(const std::string& text, bool is_binary) {
  char folder[MAX_PATH], path[MAX_PATH];
  if (GetTempPathA(sizeof folder, folder) == 0) return nullptr;
  if (GetTempFileNameA(folder, "cmd", 0, path) == 0) return nullptr;
  FILE* file = std::fopen(path, "wb");
  if (file == nullptr) return nullptr;
  const bool written = std::fwrite(text.data(), 1, text.size(), file) == text.size();
  if (std::fclose(file) != 0 || !written) return nullptr;
  return std::fopen(path, is_binary ? "rbD" : "rtD");
}

const char* message_of(DWORD flags, LPCVOID source, DWORD code) {
  const char* text = nullptr;
  if ((flags & FORMAT_MESSAGE_FROM_HMODULE) != 0 && source == equipment::own_library()) {
    text = platform::kernel::counter_message(code);
    if (text == nullptr) text = platform::kernel::network_message(code);
  }
  if (text == nullptr && (flags & FORMAT_MESSAGE_FROM_SYSTEM) != 0) {
    text = platform::kernel::system_message(code);
  }
  return text;
}

template <typename Text>
DWORD hand_out_message(DWORD flags, LPCVOID source, DWORD code, typename Text::value_type* buffer,
                       DWORD size, Text (*convert)(std::string_view)) {
  using Character = typename Text::value_type;
  const bool allocates = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
  if (allocates) *reinterpret_cast<Character**>(buffer) = nullptr;
  const char* found = message_of(flags, source, code);
  if (found == nullptr) {
    SetLastError(ERROR_MR_MID_NOT_FOUND);
    return 0;
  }
  const bool one_line = (flags & FORMAT_MESSAGE_MAX_WIDTH_MASK) == FORMAT_MESSAGE_MAX_WIDTH_MASK;
  const Text text = convert(std::string(found) + (one_line ? " " : "\r\n"));
  if (!allocates && size <= text.size()) {
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return 0;
  }
  const std::size_t bytes = (text.size() + 1) * sizeof(Character);
  if (allocates) {
    auto* made = static_cast<Character*>(LocalAlloc(LMEM_FIXED, bytes));
    if (made == nullptr) return 0;
    *reinterpret_cast<Character**>(buffer) = made;
    buffer = made;
  }
  std::memcpy(buffer, text.c_str(), bytes);
  return static_cast<DWORD>(text.size());
}

std::string as_it_is(std::string_view text) { return std::string(text); }

struct FoundName {
  ADDRINFOA info{};
  std::string name;
};

bool has_name(const char* path, const char* name) {
  const char* last = path + std::strlen(path);
  while (last != path && std::strchr("\\/:", last[-1]) == nullptr) --last;
  return _stricmp(last, name) == 0;
}

}  // namespace

extern "C" {

FILE* recorded_popen(const char* command, const char* mode) {
  if (!is_recorded(command) || mode == nullptr || mode[0] != 'r') return _popen(command, mode);
  const platform::CommandAnswer answer = run_recorded(command);
  FILE* stream = stream_of(answer.output, std::strchr(mode, 'b') != nullptr);
  if (stream == nullptr) return nullptr;
  const std::lock_guard guard(lock);
  answered[stream] = answer.exit_code;
  return stream;
}

int recorded_pclose(FILE* stream) {
  std::unique_lock guard(lock);
  const auto known = answered.find(stream);
  if (known == answered.end()) {
    guard.unlock();
    return _pclose(stream);
  }
  const int exit_code = known->second;
  answered.erase(known);
  std::fclose(stream);
  return exit_code;
}

int recorded_system(const char* command) {
  if (!is_recorded(command)) return std::system(command);
  const platform::CommandAnswer answer = run_recorded(command);
  std::fwrite(answer.output.data(), 1, answer.output.size(), stdout);
  std::fflush(stdout);
  return answer.exit_code;
}

DWORD WINAPI recorded_FormatMessageA(DWORD flags, LPCVOID source, DWORD code, DWORD, LPSTR buffer,
                                     DWORD size, va_list*) {
  return hand_out_message<std::string>(flags, source, code, buffer, size, as_it_is);
}

DWORD WINAPI recorded_FormatMessageW(DWORD flags, LPCVOID source, DWORD code, DWORD, LPWSTR buffer,
                                     DWORD size, va_list*) {
  return hand_out_message<std::wstring>(flags, source, code, buffer, size, platform::wide_text);
}

int WSAAPI recorded_gethostname(char* name, int size) {
  const std::string& host = platform::controller()->machine().host_name;
  if (name == nullptr || size <= 0 || host.size() >= static_cast<std::size_t>(size)) {
    WSASetLastError(WSAEFAULT);
    return SOCKET_ERROR;
  }
  std::memcpy(name, host.c_str(), host.size() + 1);
  return 0;
}

int WSAAPI recorded_getaddrinfo(PCSTR node, PCSTR, const ADDRINFOA* hints, ADDRINFOA** result) {
  if (node == nullptr || result == nullptr) return WSAHOST_NOT_FOUND;
  auto found = std::make_unique<FoundName>();
  found->name = platform::full_name(*platform::controller(), node);
  if (found->name.empty()) return WSAHOST_NOT_FOUND;
  if (hints != nullptr && (hints->ai_flags & AI_CANONNAME) != 0) {
    found->info.ai_flags = AI_CANONNAME;
    found->info.ai_canonname = found->name.data();
  }
  *result = &found.release()->info;
  return 0;
}

void WSAAPI recorded_freeaddrinfo(ADDRINFOA* result) {
  // The record is the found name's first member.
  delete reinterpret_cast<FoundName*>(result);
}

void WINAPI recorded_DnsFree(PVOID data, DNS_FREE_TYPE kind) {
  DnsRecordListFree(static_cast<PDNS_RECORD>(data), kind);
}

// A library that the program loads while it runs asks the recording, too.
HMODULE WINAPI recorded_LoadLibraryA(LPCSTR path) {
  const HMODULE library = LoadLibraryA(path);
  if (library != nullptr && has_name(path, "DWATrust.dll")) equipment::redirect_imports(library);
  return library;
}

// The library of the network's message texts, which Wine lacks, is this one.
HMODULE WINAPI recorded_LoadLibraryExA(LPCSTR path, HANDLE file, DWORD flags) {
  if (path == nullptr || !has_name(path, "netmsg.dll")) return LoadLibraryExA(path, file, flags);
  HMODULE library = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                     reinterpret_cast<LPCSTR>(&recorded_LoadLibraryExA), &library);
  return library;
}

FARPROC WINAPI recorded_GetProcAddress(HMODULE library, LPCSTR name) {
  const FARPROC found = GetProcAddress(library, name);
  if (found == nullptr || IS_INTRESOURCE(name)) return found;
  const FARPROC redirected = GetProcAddress(equipment::own_library(), name);
  return redirected == nullptr ? found : redirected;
}
}
