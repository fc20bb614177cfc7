#include <cstring>
#include <memory>
#include <new>

#include "include/platform/system.h"
#include "include/settings.h"
#include "include/trace.h"
#include "tables/ckutil.h"

namespace {

constexpr std::int32_t kNoMemory = 4;

// The default language of the process, in the form that FormatMessage takes.
constexpr DWORD kProcessDefaultLanguage = 1024;

std::unique_ptr<char[]> origin_node_text;
std::int32_t origin_node_size = 0;

// What 32-bit signed arithmetic gives when it wraps.
std::int32_t wrapped(std::uint32_t value) { return static_cast<std::int32_t>(value); }

}  // namespace

CKUtil::~CKUtil() {
  DCW_TRACE("~CKUtil");
  origin_node_text.reset();
  origin_node_size = 0;
  g_osMajorVersion = 0;
  g_osMinorVersion = 0;
}

std::int32_t CKUtil::setOriginNode(const char* name, std::int32_t size) {
  DCW_TRACE("setOriginNode");
  origin_node_text.reset();
  origin_node_size = 0;
  if (name != nullptr && size >= 0) {
    origin_node_text.reset(new (std::nothrow) char[static_cast<std::size_t>(size)]);
  }
  if (origin_node_text == nullptr) {
    trace.error()("Unable to allocate memory for NodeName");
    return trace.returns(kNoMemory);
  }
  std::memcpy(origin_node_text.get(), name, static_cast<std::size_t>(size));
  origin_node_size = size;
  trace.detail()("Resulting Origin node name: %.*s, Size: %d", size, origin_node_text.get(), size);
  return trace.returns(0);
}

std::string_view CKUtil::originNode() {
  return {origin_node_text.get(), static_cast<std::size_t>(origin_node_size)};
}

void CKUtil::setOSVersion() {
  DCW_TRACE("setOSVersion");
  std::int32_t version = 0;
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::int32_t build = 0;
  GetOSVersionInfo(&version, &major, &minor, &build);
  g_osMajorVersion = major;
  g_osMinorVersion = minor;
}

std::int32_t CKUtil::GetOSVersionInfo(std::int32_t* version, std::int32_t* major,
                                      std::int32_t* minor, std::int32_t* build) {
  DCW_TRACE("GetOSVersionInfo");
  *version = wrapped(GetVersion());
  OSVERSIONINFOA info = {};
  info.dwOSVersionInfoSize = sizeof info;
  GetVersionExA(&info);
  *major = wrapped(info.dwMajorVersion);
  *minor = wrapped(info.dwMinorVersion);
  switch (info.dwPlatformId) {
    case VER_PLATFORM_WIN32s:
    case VER_PLATFORM_WIN32_WINDOWS:
      *build = wrapped(info.dwBuildNumber & 0xFFFF);
      return trace.returns(0);
    case VER_PLATFORM_WIN32_NT:
      *build = wrapped(info.dwBuildNumber);
      return trace.returns(1);
    default:
      return trace.returns(0);
  }
}

void CKUtil::DisplayPDHError(std::int32_t status) {
  DCW_TRACE("DisplayPDHError");
  char* text = nullptr;
  FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE,
                 GetModuleHandleA("PDH.DLL"), static_cast<DWORD>(status), kProcessDefaultLanguage,
                 reinterpret_cast<char*>(&text), 0, nullptr);
  trace.always()("PDH error message text <%s>", text != nullptr ? text : "(null)");
  if (LocalFree(text) != nullptr) {
    trace.always()("Error, cannot free local memory, rc = <%d>", static_cast<int>(GetLastError()));
  }
}

std::int32_t CKUtil::calculatePdhPercent(std::int32_t value, std::int32_t total) {
  DCW_TRACE("calculatePdhPercent");
  if (total == 0) return trace.returns(0);
  const std::uint32_t product = static_cast<std::uint32_t>(value) * 100u;
  const std::uint32_t sum = product + static_cast<std::uint32_t>(total / 2);
  // The one quotient that 32 bits cannot hold is that of the least number and -1.
  if (total == -1) return trace.returns(wrapped(0u - sum));
  return trace.returns(wrapped(sum) / total);
}
