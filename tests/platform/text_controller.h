#pragma once
// A controller made of literal texts: the real readers over what a test writes down.

#include <memory>
#include <string>
#include <utility>

#include "platform/controller.h"
#include "platform/counters/recorded_counters.h"
#include "platform/registry/recorded_registry.h"

class TextController : public platform::Controller {
 public:
  // An empty text is a machine without that part.
  TextController(const std::string& counters, const std::string& registry,
                 platform::Clock clock = {}) {
    facts.host_name = "DC1";
    facts.dns_suffix = "corp.example";
    if (!counters.empty()) {
      counters_ = platform::read_counters(counters, "counters.csv", std::move(clock));
    }
    if (!registry.empty()) registry_ = platform::read_registry(registry, "registry.reg");
  }

  std::string description() const override { return "texts of a test"; }
  const platform::MachineFacts& machine() const override { return facts; }
  platform::Directory* directory() override { return nullptr; }
  platform::CounterSource* counters() override { return counters_.get(); }
  platform::RegistryHive* registry() override { return registry_.get(); }

  platform::MachineFacts facts;

 private:
  std::unique_ptr<platform::CounterSource> counters_;
  std::unique_ptr<platform::RegistryHive> registry_;
};
