#include "directory/reachability.h"

#include <cstdio>
#include <string>

#include "directory/command_output.h"
#include "directory/dns_utils.h"
#include "directory/patterns.h"
#include "directory/service_binding.h"
#include "include/command_pipe.h"
#include "include/settings.h"

using directory::copy_out;
using directory::view;

namespace {

constexpr std::size_t kCommandSize = 112;
constexpr std::size_t kLineSize = 128;

std::string ping_command(const trace::Scope& trace, const char* full_name) {
  char command[kCommandSize];
  const int length =
      std::snprintf(command, sizeof command, "ping -n %d -w %d -l %d %s", int{g_pingCount},
                    int{g_pingTimeout}, int{g_pingSize}, full_name);
  if (length >= static_cast<int>(sizeof command)) {
    trace.error()("Command of %d characters cut to %zu", length, sizeof command - 1);
  }
  trace.detail()("%s", command);
  return command;
}

std::int32_t run_ping(const trace::Scope& trace, const char* full_name) {
  CommandPipe pipe(ping_command(trace, full_name));
  directory::PingOutput output;
  char line[kLineSize];
  bool is_last = false;
  while (!is_last && pipe.read_line(line)) {
    const auto taken = output.take(line);
    for (int i = 0; i < taken.marks; ++i) trace.always()("-%s", line);
    is_last = taken.is_last;
  }
  if (output.was_cut()) trace.error()("Number cut in: %s", line);
  if (output.has_time()) trace.always()("pingTime=%d", output.result());
  trace.detail()("system(ping) return code = %d", pipe.close());
  return output.result();
}

void trace_outcome(const trace::Scope& trace, std::int32_t result) {
  if (result == directory::kPingNothing) {
    trace.detail()("ping failed, check results above.");
  } else if (result == directory::kPingLost) {
    trace.detail()("ping timeout: slow connection.");
    trace.detail()("increase DWA_PING_TIMEOUT(%d) if necessary.", int{g_pingTimeout});
  } else {
    trace.detail()("ping result: %dms", result);
  }
}

void bind_server(const trace::Scope& trace, const char* full_name, unsigned char* bind_status) {
  trace.error()("Performing bind to server: %s", full_name);
  directory::ServiceBinding binding;
  if (binding.bind(full_name, nullptr) != ERROR_SUCCESS) {
    // Deliberately the last error, though the call's own status says more.
    trace.error()("Error while performing bind, Error Code: %ld",
                  static_cast<long>(GetLastError()));
    return;
  }
  trace.error()("Sucessfully bound to server: %s", full_name);
  if (bind_status == nullptr) {
    trace.error()("Bind Status pointer is null");
  } else {
    *bind_status = 1;
  }
}

}  // namespace

std::int32_t ping(const char* name, const char* configurationNamingContext,
                  unsigned char isFullName, unsigned char doBind, unsigned char* bindStatus) {
  DCW_TRACE("ping");
  if (bindStatus != nullptr) *bindStatus = 0;
  char full_name[255] = {};
  if (isFullName != 0) {
    copy_out(trace, full_name, view(name));
  } else {
    const std::string short_name(view(name));
    trace.error()("Finding DNSHost name for: <%s>.", short_name.c_str());
    if (DNSUtils::GetDNSHostName(short_name.c_str(), configurationNamingContext, full_name,
                                 false) != 0) {
      trace.error()("GetDNSHostName Failed for <%s>\n.", short_name.c_str());
      return trace.returns(directory::kPingNothing);
    }
  }
  trace.always()("DNSHostName: <%s>\n", full_name);
  const std::int32_t result = run_ping(trace, full_name);
  trace_outcome(trace, result);
  if (doBind != 0) {
    trace.error()("Checking Availibility of server");
    if (result >= 0) bind_server(trace, full_name, bindStatus);
  }
  return trace.returns(result);
}
