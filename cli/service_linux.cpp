#include <filesystem>

#include "cli/service_host.h"
#include "cli/systemd_service.h"

namespace cli {
namespace {

const SystemdService& service() {
  static const SystemdService instance = [] {
    std::error_code ignored;
    return SystemdService(
        "", std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path().string());
  }();
  return instance;
}

}  // namespace

bool install_service() { return service().install(); }
bool uninstall_service(bool purge) { return service().uninstall(purge); }
bool start_service() { return service().start(); }
bool stop_service() { return service().stop(); }
bool show_service_status() { return service().show_status(); }

}  // namespace cli
