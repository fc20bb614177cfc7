#pragma once
// The agent as a service of systemd: what `dirwatch service` does on Linux, through systemctl.

#include <string>
#include <vector>

namespace cli {

class SystemdService {
 public:
  // root: what stands before every path of the system, empty for the machine itself.
  // program_folder: where the agent's program lies.
  SystemdService(std::string root, std::string program_folder);

  // Each as in cli/service_host.h.
  bool install() const;
  bool uninstall(bool purge) const;
  bool start() const;
  bool stop() const;
  bool show_status() const;

 private:
  bool runs_here() const;
  bool is_packaged() const;
  bool write_unit() const;
  bool write_missing_settings() const;
  bool remove_unit() const;
  bool remove_settings() const;

  const std::string root_;
  const std::string program_folder_;
};

}  // namespace cli
