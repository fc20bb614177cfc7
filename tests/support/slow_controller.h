#pragma once
// A controller whose answers are another's and come late: the time passes on the platform's clock.

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/commands/command_source.h"
#include "platform/controller.h"
#include "platform/threads.h"

namespace testing_support {

// What takes its time, and how long. Set while the agent runs.
struct Slowness {
  std::atomic<std::uint32_t> command_ms{0};
  std::string command;  // commands that begin so
  std::atomic<std::uint32_t> root_ms{0};
  std::string server;  // whose root object
  std::atomic<std::uint32_t> service_list_ms{0};
};

class SlowController : public platform::Controller {
 public:
  SlowController(std::shared_ptr<platform::Controller> answers, const Slowness& slowness)
      : answers_(std::move(answers)),
        commands_(*answers_, slowness),
        directory_(*answers_, slowness),
        services_(*answers_, slowness) {}

  std::string description() const override { return answers_->description(); }
  const platform::MachineFacts& machine() const override { return answers_->machine(); }
  platform::Directory* directory() override { return &directory_; }
  platform::CounterSource* counters() override { return answers_->counters(); }
  platform::RegistryHive* registry() override { return answers_->registry(); }
  platform::ServiceManager* services() override { return &services_; }
  platform::Shares* shares() override { return answers_->shares(); }
  platform::DnsSource* dns() override { return answers_->dns(); }
  platform::DirectoryServices* directory_services() override {
    return answers_->directory_services();
  }
  platform::CommandSource* commands() override { return &commands_; }

 private:
  class Commands : public platform::CommandSource {
   public:
    Commands(platform::Controller& answers, const Slowness& slowness)
        : answers_(answers), slowness_(slowness) {}
    platform::CommandAnswer run(std::string_view command_line) override {
      if (command_line.starts_with(slowness_.command)) Sleep(slowness_.command_ms);
      return answers_.commands()->run(command_line);
    }

   private:
    platform::Controller& answers_;
    const Slowness& slowness_;
  };

  class Directory : public platform::Directory {
   public:
    Directory(platform::Controller& answers, const Slowness& slowness)
        : answers_(answers), slowness_(slowness) {}
    platform::DirectoryResult read_root(std::string_view server, platform::Entry& entry) override {
      if (server == slowness_.server) Sleep(slowness_.root_ms);
      return answers_.directory()->read_root(server, entry);
    }
    platform::DirectoryResult read(std::string_view server, std::string_view dn,
                                   const std::vector<std::string>& names,
                                   platform::Entry& entry) override {
      return answers_.directory()->read(server, dn, names, entry);
    }
    platform::DirectoryResult search(std::string_view server, std::string_view base,
                                     platform::SearchScope scope, std::string_view filter,
                                     const std::vector<std::string>& names,
                                     std::unique_ptr<platform::EntryCursor>& cursor) override {
      return answers_.directory()->search(server, base, scope, filter, names, cursor);
    }
    platform::DirectoryResult add(std::string_view server, const platform::Entry& entry) override {
      return answers_.directory()->add(server, entry);
    }
    platform::DirectoryResult modify(std::string_view server, std::string_view dn,
                                     const std::vector<platform::Attribute>& changes) override {
      return answers_.directory()->modify(server, dn, changes);
    }
    platform::DirectoryResult remove(std::string_view server, std::string_view dn) override {
      return answers_.directory()->remove(server, dn);
    }

   private:
    platform::Controller& answers_;
    const Slowness& slowness_;
  };

  class Services : public platform::ServiceManager {
   public:
    Services(platform::Controller& answers, const Slowness& slowness)
        : answers_(answers), slowness_(slowness) {}
    platform::ServiceError connect() override { return answers_.services()->connect(); }
    platform::ServiceError list(std::vector<platform::ServiceListing>& services) override {
      Sleep(slowness_.service_list_ms);
      return answers_.services()->list(services);
    }
    platform::ServiceError open(std::string_view name) override {
      return answers_.services()->open(name);
    }
    platform::ServiceError state(std::string_view name, platform::ServiceState& state) override {
      return answers_.services()->state(name, state);
    }
    platform::ServiceError setup(std::string_view name, platform::ServiceSetup& setup) override {
      return answers_.services()->setup(name, setup);
    }

   private:
    platform::Controller& answers_;
    const Slowness& slowness_;
  };

  const std::shared_ptr<platform::Controller> answers_;
  Commands commands_;
  Directory directory_;
  Services services_;
};

}  // namespace testing_support
