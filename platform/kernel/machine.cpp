// What kind of machine this is and how it is called, as the controller has it.

#include <algorithm>
#include <cctype>
#include <cstring>
#include <string>

#include "include/platform/system.h"
#include "platform/control.h"
#include "platform/kernel/fault_point.h"

namespace {

DWORD fail(DWORD error) {
  SetLastError(error);
  return 0;
}

DWORD copy_name(const std::string& name, char* target, DWORD* size, DWORD too_small) {
  if (target == nullptr || *size <= name.size()) {
    *size = static_cast<DWORD>(name.size() + 1);
    return fail(too_small);
  }
  std::memcpy(target, name.c_str(), name.size() + 1);
  *size = static_cast<DWORD>(name.size());
  return TRUE;
}

// A NetBIOS name has at most 15 characters, in capitals.
std::string netbios_name(const std::string& host) {
  std::string name = host.substr(0, 15);
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char one) { return static_cast<char>(std::toupper(one)); });
  return name;
}

}  // namespace

DWORD GetVersion() {
  const auto holder = platform::controller();
  const auto& machine = holder->machine();
  return (machine.os_major & 0xFF) | (machine.os_minor & 0xFF) << 8 | machine.os_build << 16;
}

BOOL GetVersionExA(OSVERSIONINFOA* version) {
  if (const auto fault = platform::fault_point("GetVersionExA")) return fail(fault->win32()) != 0;
  if (version->dwOSVersionInfoSize != sizeof(OSVERSIONINFOA)) {
    return fail(ERROR_INSUFFICIENT_BUFFER) != 0;
  }
  const auto holder = platform::controller();
  const auto& machine = holder->machine();
  version->dwMajorVersion = machine.os_major;
  version->dwMinorVersion = machine.os_minor;
  version->dwBuildNumber = machine.os_build;
  version->dwPlatformId = VER_PLATFORM_WIN32_NT;
  std::memset(version->szCSDVersion, 0, sizeof version->szCSDVersion);
  return TRUE;
}

LANGID GetSystemDefaultLangID() { return platform::controller()->machine().language; }

BOOL GetComputerNameA(char* name, DWORD* size) {
  if (const auto fault = platform::fault_point("GetComputerNameA"))
    return fail(fault->win32()) != 0;
  return copy_name(netbios_name(platform::controller()->machine().host_name), name, size,
                   ERROR_BUFFER_OVERFLOW) != 0;
}

BOOL GetComputerNameExA(COMPUTER_NAME_FORMAT format, char* name, DWORD* size) {
  if (const auto fault = platform::fault_point("GetComputerNameExA")) {
    return fail(fault->win32()) != 0;
  }
  const auto holder = platform::controller();
  const auto& machine = holder->machine();
  std::string full = machine.host_name;
  if (!machine.dns_suffix.empty()) full += "." + machine.dns_suffix;
  switch (format) {
    case ComputerNameNetBIOS:
    case ComputerNamePhysicalNetBIOS:
      return copy_name(netbios_name(machine.host_name), name, size, ERROR_MORE_DATA) != 0;
    case ComputerNameDnsHostname:
    case ComputerNamePhysicalDnsHostname:
      return copy_name(machine.host_name, name, size, ERROR_MORE_DATA) != 0;
    case ComputerNameDnsDomain:
    case ComputerNamePhysicalDnsDomain:
      return copy_name(machine.dns_suffix, name, size, ERROR_MORE_DATA) != 0;
    case ComputerNameDnsFullyQualified:
    case ComputerNamePhysicalDnsFullyQualified:
      return copy_name(full, name, size, ERROR_MORE_DATA) != 0;
    default:
      return fail(ERROR_INVALID_PARAMETER) != 0;
  }
}
