#pragma once
// The whole agent as a process of its own in virtual time, on a recording of a few lines.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "agent/main.h"
#include "framework/trc/control.h"
#include "framework/xaf/control.h"
#include "include/platform/registry.h"
#include "include/settings.h"
#include "platform/control.h"
#include "tests/support/small_recording.h"

namespace testing_support {

class AgentRun : public ::testing::Test {
 protected:
  static constexpr const char* kVariables[] = {"DWA_PING_COUNT",
                                               "DWA_PING_SIZE",
                                               "DWA_PING_TIMEOUT",
                                               "DWA_NUMBEROFOBJECTS_TIMEOUT",
                                               "DWA_ENABLE_WAIT_TIME",
                                               "DWA_CACHE_INTERVAL",
                                               "DWA_SYSVOL_REPLICATION_TEST_INTERVAL",
                                               "DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL",
                                               "DWA_SYSVOL_FORCE_REPLICATION_FLAG",
                                               "FILE_CREATION_AND_REPLICATION_START_GAP"};

  explicit AgentRun(const std::string& registry = "") : recording_(kSmallForest, registry) {
    for (const char* variable : kVariables) unsetenv(variable);
    trc::set_flags(1 | 128);
    xaf::Configuration configuration;
    configuration.node_name = "NODE1";
    configuration.sink = "none";
    configuration.trace_flags = 1 | 128;
    configure(configuration);
  }
  ~AgentRun() override {
    process_.reset();
    platform::faults::clear();
    time_.reset();
    xaf::reset();
  }

  static void configure(const xaf::Configuration& configuration) { xaf::configure(configuration); }

  // In the branch that the agent imports at its start, which wins over the environment.
  static void set_in_registry(const char* name, const std::string& value) {
    HKEY key = nullptr;
    ASSERT_EQ(ERROR_SUCCESS, RegCreateKeyExA(HKEY_LOCAL_MACHINE,
                                             "SOFTWARE\\Marlow\\DCW\\Ver610\\Primary\\Environment",
                                             0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr));
    EXPECT_EQ(ERROR_SUCCESS,
              RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                             static_cast<DWORD>(value.size() + 1)));
    RegCloseKey(key);
  }

  // Starts Main with these arguments behind the program's name.
  void start(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "DirWatcher");
    start_entry([arguments]() mutable {
      std::vector<char*> pointers;
      for (std::string& argument : arguments) pointers.push_back(argument.data());
      pointers.push_back(nullptr);
      Main(static_cast<int>(arguments.size()), pointers.data());
    });
  }
  void start_entry(std::function<void()> entry) {
    process_ = std::make_unique<platform::SimulatedProcess>(std::move(entry));
  }
  // Goes through all of start-up and leaves at the argument, with the threads running.
  void start_up_only() {
    start({"-test"});
    ASSERT_TRUE(process_->wait_for_exit(60000));
    ASSERT_EQ(1u, process_->exit_code());
  }

  // The lines of the trace that are among these, in the order of the trace.
  std::vector<std::string> among(std::initializer_list<const char*> wanted) const {
    std::vector<std::string> found;
    for (const std::string& text : trace_.texts()) {
      if (std::find(wanted.begin(), wanted.end(), text) != wanted.end()) found.push_back(text);
    }
    return found;
  }
  // That the trace has these lines in this order, with others between them.
  void expect_in_order(std::initializer_list<const char*> wanted) const {
    const std::vector<std::string> texts = trace_.texts();
    auto at = texts.begin();
    for (const char* text : wanted) {
      const auto found = std::find(at, texts.end(), text);
      ASSERT_NE(texts.end(), found) << "missing, or too early: " << text;
      at = found + 1;
    }
  }
  std::size_t lines_of(const std::string& function) const {
    std::size_t count = 0;
    for (const trc::Line& line : trace_.lines()) count += line.function == function ? 1 : 0;
    return count;
  }

  SmallRecording recording_;
  std::unique_ptr<platform::VirtualTime> time_ = std::make_unique<platform::VirtualTime>();
  trc::Capture trace_;
  std::unique_ptr<platform::SimulatedProcess> process_;
};

}  // namespace testing_support
