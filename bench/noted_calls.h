#pragma once
// What a piece of work asks of its controller, noted once, so that the same questions can then be
// asked bare: the rest is what the work itself costs.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/commands/command_source.h"
#include "platform/controller.h"
#include "platform/directory_services/services.h"

namespace bench {

// The questions of a piece of work, each with a copy of what it was asked with.
struct Notes {
  using Call = std::function<void(platform::Controller&)>;
  bool noting = false;
  std::vector<Call> calls;

  void add(Call call) {
    if (noting) calls.push_back(std::move(call));
  }
  // Nothing is done with the answers.
  void ask_again(platform::Controller& controller) const {
    for (const Call& call : calls) call(controller);
  }
};

class NotingCursor : public platform::EntryCursor {
 public:
  NotingCursor(std::unique_ptr<platform::EntryCursor> children,
               std::shared_ptr<std::uint32_t> asked)
      : children_(std::move(children)), asked_(std::move(asked)) {}
  platform::DirectoryResult next(platform::Entry& entry) override {
    ++*asked_;
    return children_->next(entry);
  }

 private:
  const std::unique_ptr<platform::EntryCursor> children_;
  const std::shared_ptr<std::uint32_t> asked_;
};

class NotingDirectory : public platform::Directory {
 public:
  NotingDirectory(platform::Directory& answers, Notes& notes) : answers_(answers), notes_(notes) {}
  platform::DirectoryResult read_root(std::string_view server, platform::Entry& entry) override {
    notes_.add([server = std::string(server)](platform::Controller& controller) {
      platform::Entry again;
      controller.directory()->read_root(server, again);
    });
    return answers_.read_root(server, entry);
  }
  platform::DirectoryResult read(std::string_view server, std::string_view dn,
                                 const std::vector<std::string>& names,
                                 platform::Entry& entry) override {
    notes_.add([server = std::string(server), dn = std::string(dn),
                names](platform::Controller& controller) {
      platform::Entry again;
      controller.directory()->read(server, dn, names, again);
    });
    return answers_.read(server, dn, names, entry);
  }
  platform::DirectoryResult search(std::string_view server, std::string_view base,
                                   platform::SearchScope scope, std::string_view filter,
                                   const std::vector<std::string>& names,
                                   std::unique_ptr<platform::EntryCursor>& cursor) override {
    const auto asked = std::make_shared<std::uint32_t>(0);
    notes_.add([server = std::string(server), base = std::string(base), scope,
                filter = std::string(filter), names, asked](platform::Controller& controller) {
      std::unique_ptr<platform::EntryCursor> again;
      controller.directory()->search(server, base, scope, filter, names, again);
      platform::Entry entry;
      for (std::uint32_t i = 0; again != nullptr && i < *asked; ++i) again->next(entry);
    });
    const platform::DirectoryResult result =
        answers_.search(server, base, scope, filter, names, cursor);
    if (notes_.noting && cursor != nullptr) {
      cursor = std::make_unique<NotingCursor>(std::move(cursor), asked);
    }
    return result;
  }
  // Writes are not asked again.
  platform::DirectoryResult add(std::string_view server, const platform::Entry& entry) override {
    return answers_.add(server, entry);
  }
  platform::DirectoryResult modify(std::string_view server, std::string_view dn,
                                   const std::vector<platform::Attribute>& attributes) override {
    return answers_.modify(server, dn, attributes);
  }
  platform::DirectoryResult remove(std::string_view server, std::string_view dn) override {
    return answers_.remove(server, dn);
  }

 private:
  platform::Directory& answers_;
  Notes& notes_;
};

class NotingCounters : public platform::CounterSource {
 public:
  NotingCounters(platform::CounterSource& answers, Notes& notes)
      : answers_(answers), notes_(notes) {}
  platform::CounterStatus validate(const platform::CounterPath& path) override {
    return answers_.validate(path);
  }
  platform::CounterStatus find(const platform::CounterPath& path,
                               platform::CounterReference& reference) override {
    return answers_.find(path, reference);
  }
  std::uint64_t snapshot() override {
    notes_.add([](platform::Controller& controller) { controller.counters()->snapshot(); });
    return answers_.snapshot();
  }
  platform::CounterStatus value(std::uint64_t number, std::uint64_t snapshot,
                                double& value) override {
    notes_.add([number, snapshot](platform::Controller& controller) {
      double again = 0;
      controller.counters()->value(number, snapshot, again);
    });
    return answers_.value(number, snapshot, value);
  }
  std::vector<std::string> objects() override { return answers_.objects(); }
  platform::CounterStatus items(std::string_view object, std::vector<std::string>& counters,
                                std::vector<std::string>& instances) override {
    return answers_.items(object, counters, instances);
  }
  std::vector<std::pair<std::uint32_t, std::string>> english_names() override {
    return answers_.english_names();
  }
  std::vector<std::pair<std::uint32_t, std::string>> local_names() override {
    return answers_.local_names();
  }

 private:
  platform::CounterSource& answers_;
  Notes& notes_;
};

class NotingServices : public platform::DirectoryServices {
 public:
  NotingServices(platform::DirectoryServices& answers, Notes& notes)
      : answers_(answers), notes_(notes) {}
  platform::Win32Status site_of(std::string_view computer, std::string& site) override {
    notes_.add([computer = std::string(computer)](platform::Controller& controller) {
      std::string again;
      controller.directory_services()->site_of(computer, again);
    });
    return answers_.site_of(computer, site);
  }
  platform::Win32Status find_controller(const platform::LocatorQuestion& question,
                                        platform::LocatedController& found,
                                        std::string& client_site) override {
    notes_.add([computer = std::string(question.computer), domain = std::string(question.domain),
                site = std::string(question.site),
                flags = question.flags](platform::Controller& controller) {
      platform::LocatedController again;
      std::string again_site;
      controller.directory_services()->find_controller({computer, domain, site, flags}, again,
                                                       again_site);
    });
    return answers_.find_controller(question, found, client_site);
  }
  // Asked by the recorder alone.
  std::vector<platform::LocatedController> controllers() override { return answers_.controllers(); }
  platform::Win32Status bind(std::string_view controller, std::string_view domain,
                             std::string& full_name) override {
    notes_.add([name = std::string(controller),
                domain = std::string(domain)](platform::Controller& answering) {
      std::string again;
      answering.directory_services()->bind(name, domain, again);
    });
    return answers_.bind(controller, domain, full_name);
  }
  platform::Win32Status neighbours(std::string_view server,
                                   std::vector<platform::ReplicaNeighbour>& found) override {
    notes_.add([server = std::string(server)](platform::Controller& controller) {
      std::vector<platform::ReplicaNeighbour> again;
      controller.directory_services()->neighbours(server, again);
    });
    return answers_.neighbours(server, found);
  }
  platform::Win32Status trusts(std::string_view server,
                               std::vector<platform::DomainTrust>& found) override {
    notes_.add([server = std::string(server)](platform::Controller& controller) {
      std::vector<platform::DomainTrust> again;
      controller.directory_services()->trusts(server, again);
    });
    return answers_.trusts(server, found);
  }

 private:
  platform::DirectoryServices& answers_;
  Notes& notes_;
};

// Names and commands, which have one question each.
class NotingNamesAndCommands : public platform::DnsSource, public platform::CommandSource {
 public:
  NotingNamesAndCommands(platform::Controller& answers, Notes& notes)
      : answers_(answers), notes_(notes) {}
  platform::DnsStatus query(std::string_view name, std::uint16_t type,
                            std::vector<platform::DnsRecord>& records) override {
    notes_.add([name = std::string(name), type](platform::Controller& controller) {
      std::vector<platform::DnsRecord> again;
      controller.dns()->query(name, type, again);
    });
    return answers_.dns()->query(name, type, records);
  }
  platform::CommandAnswer run(std::string_view line) override {
    notes_.add([line = std::string(line)](platform::Controller& controller) {
      controller.commands()->run(line);
    });
    return answers_.commands()->run(line);
  }

 private:
  platform::Controller& answers_;
  Notes& notes_;
};

// Answers as another does, and notes the questions. One thread at a time.
class NotingController : public platform::Controller {
 public:
  explicit NotingController(std::shared_ptr<platform::Controller> answers)
      : answers_(std::move(answers)) {}

  Notes notes;
  void ask_again() { notes.ask_again(*answers_); }

  std::string description() const override { return answers_->description(); }
  const platform::MachineFacts& machine() const override { return answers_->machine(); }
  platform::Directory* directory() override { return &directory_; }
  platform::CounterSource* counters() override { return &counters_; }
  platform::RegistryHive* registry() override { return answers_->registry(); }
  platform::ServiceManager* services() override { return answers_->services(); }
  platform::Shares* shares() override { return answers_->shares(); }
  platform::DnsSource* dns() override { return &names_and_commands_; }
  platform::DirectoryServices* directory_services() override { return &services_; }
  platform::CommandSource* commands() override { return &names_and_commands_; }

 private:
  const std::shared_ptr<platform::Controller> answers_;
  NotingDirectory directory_{*answers_->directory(), notes};
  NotingCounters counters_{*answers_->counters(), notes};
  NotingServices services_{*answers_->directory_services(), notes};
  NotingNamesAndCommands names_and_commands_{*answers_, notes};
};

}  // namespace bench
