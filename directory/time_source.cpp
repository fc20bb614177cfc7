#include "directory/time_source.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "directory/command_output.h"
#include "directory/patterns.h"
#include "include/command_pipe.h"
#include "include/platform/directory_services.h"
#include "include/platform/text.h"

using directory::copy_out;
using directory::view;

namespace {

struct FreeBuffer {
  void operator()(DOMAIN_CONTROLLER_INFOA* info) const { NetApiBufferFree(info); }
};
using ControllerInfo = std::unique_ptr<DOMAIN_CONTROLLER_INFOA, FreeBuffer>;

DWORD locate(const char* computer, const char* domain, ControllerInfo& info) {
  DOMAIN_CONTROLLER_INFOA* found = nullptr;
  const DWORD status =
      DsGetDcNameA(computer, domain, nullptr, nullptr, DS_GOOD_TIMESERV_PREFERRED, &found);
  info.reset(status == ERROR_SUCCESS ? found : nullptr);
  return status;
}

// Without the two backslashes before it.
std::string_view name_of(const DOMAIN_CONTROLLER_INFOA& info) {
  std::string_view name = view(info.DomainControllerName);
  name.remove_prefix(name.size() < 2 ? name.size() : 2);
  return name;
}

bool has_flag(const ControllerInfo& info, ULONG flag) {
  return info != nullptr && (info->Flags & flag) != 0;
}

constexpr std::size_t kTextSize = 1024;

std::string monitor_command(const trace::Scope& trace, const char* computer, const char* server) {
  char command[kTextSize] = {};
  const int length =
      std::snprintf(command, sizeof command, "w32tm /monitor /computers:%s,*%s", computer, server);
  if (length >= static_cast<int>(sizeof command)) {
    trace.error()("Command of %d characters cut to %zu", length, sizeof command - 1);
  }
  trace.detail()("Command: %s", command);
  return command;
}

bool take_offset(const trace::Scope& trace, const char* line, double& offset) {
  trace.detail()("NTP found");
  const directory::TimeOffset told = directory::read_time_offset(line);
  if (told.is_error) trace.error()("Time_Error: %s", line);
  if (!told.text) return false;
  offset = std::atof(told.text->c_str());
  trace.detail()("Time Offset: %s", told.text->c_str());
  return true;
}

}  // namespace

bool GetTimeServer(const char* forest, const char* computer, std::span<char> timeServer,
                   std::int32_t& isGoodTimeServer) {
  DCW_TRACE("GetTimeServer");
  ControllerInfo info;
  DWORD status = locate(computer, nullptr, info);
  if (status == ERROR_SUCCESS && has_flag(info, DS_GOOD_TIMESERV_FLAG)) {
    isGoodTimeServer = 1;
    copy_out(trace, timeServer, name_of(*info));
    trace.detail()("Good Time Server flag is set on server: %s", timeServer.data());
    return trace.returns(true);
  }
  if (status != ERROR_SUCCESS) {
    trace.error()("DsGetDcName failed for computer:%s, Error code: %d", view(computer).data(),
                  static_cast<int>(GetLastError()));
  }
  const std::string forest_name(view(forest));
  trace.error()("Getting Time Server from forest: %s", forest_name.c_str());
  status = locate(nullptr, forest, info);
  if (status != ERROR_SUCCESS) {
    trace.error()("DsGetDcName failed for forest: %s, Error code: %d", forest_name.c_str(),
                  static_cast<int>(status));
    return trace.returns(false);
  }
  const std::string name(name_of(*info));
  if (has_flag(info, DS_GOOD_TIMESERV_FLAG)) {
    trace.error()("Good Time Server flag is set on server: %s", name.c_str());
    isGoodTimeServer = 1;
  } else if (has_flag(info, DS_PDC_FLAG)) {
    trace.error()("PDC flag is set on server: %s", name.c_str());
    isGoodTimeServer = 0;
  } else {
    return trace.returns(false);
  }
  copy_out(trace, timeServer, name);
  return trace.returns(true);
}

bool GetTimeDiffernece(const char* computer, const char* timeServer, double& offset) {
  DCW_TRACE("GetTimeDiffernece");
  const std::string own(view(computer));
  const std::string server(view(timeServer));
  if (_stricmp(own.c_str(), server.c_str()) == 0) {
    trace.detail()("Good time server name and local machine name are same");
    offset = 0;
    return trace.returns(true);
  }
  CommandPipe pipe(monitor_command(trace, own.c_str(), server.c_str()));
  if (!pipe.is_open()) {
    trace.error()("Error while opening the pipe");
    return trace.returns(false);
  }
  trace.detail()("Starting W32TM command execution, Data:");
  char line[kTextSize];
  bool seen_offset = false;
  bool result = false;
  while (pipe.read_line(line)) {
    trace.detail()("%s", line);
    if (seen_offset ||
        std::string_view(line).find(directory::kOffsetMark) == std::string_view::npos)
      continue;
    seen_offset = true;
    result = take_offset(trace, line, offset);
  }
  return trace.returns(result);
}
