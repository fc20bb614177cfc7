#include "cli/commands.h"
#include "cli/service_host.h"

namespace cli {

int service_command(const ServiceOptions& options) {
  const auto done = [&options] {
    if (options.action == "install") return install_service();
    if (options.action == "uninstall") return uninstall_service(options.purge);
    if (options.action == "start") return start_service();
    if (options.action == "stop") return stop_service();
    return show_service_status();
  };
  return done() ? 0 : 1;
}

}  // namespace cli
