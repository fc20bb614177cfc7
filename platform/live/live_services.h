#pragma once
// The services of the machine that the program runs on, as its system manager (systemd) tells them
// over the system bus. docs/services.md has what becomes of a unit's states.

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/controller.h"

struct sd_bus;
struct sd_bus_message;

namespace platform::live {

// Connects when first asked, and anew when the bus has gone away. Any thread; one question at a
// time.
class LiveServices : public ServiceManager {
 public:
  LiveServices();
  ~LiveServices() override;

  // RPC_S_SERVER_UNAVAILABLE where no bus or no system manager answers on it.
  ServiceError connect() override;
  // Every installed or loaded service unit, by name without ".service", sorted. Templates and
  // further names of a unit are left out.
  ServiceError list(std::vector<ServiceListing>& services) override;
  ServiceError open(std::string_view name) override;
  ServiceError state(std::string_view name, ServiceState& state) override;
  ServiceError setup(std::string_view name, ServiceSetup& setup) override;

 private:
  struct BusCloser {
    void operator()(sd_bus* bus) const;
  };
  struct MessageReleaser {
    void operator()(sd_bus_message* message) const;
  };
  using Message = std::unique_ptr<sd_bus_message, MessageReleaser>;

  // A unit's properties by name: texts as they are, numbers in decimal, the first command of
  // ExecStart as one line, texts of an array with a zero between them.
  using Properties = std::map<std::string, std::string, std::less<>>;

  // All below with lock_ held.
  ServiceError ask(const std::string& path, const char* interface, const char* member,
                   const char* argument, Message& answer);
  ServiceError read_unit(std::string_view name, Properties& properties);
  static int read_units(sd_bus_message* answer, std::map<std::string, ServiceListing>& found);
  static int read_unit_files(sd_bus_message* answer, std::map<std::string, ServiceListing>& found);
  static int read_properties(sd_bus_message* answer, Properties& properties);

  std::mutex lock_;
  std::unique_ptr<sd_bus, BusCloser> bus_;  // guarded by lock_; null when there is none
};

}  // namespace platform::live
