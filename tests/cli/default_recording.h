#pragma once
// The recording that the program carries inside, with a command that takes its time.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <sstream>
#include <string>

#include "framework/trc/control.h"
#include "framework/xaf/control.h"
#include "platform/control.h"

namespace cli_test {

// How long "netdom verify" of the first trust runs.
inline constexpr std::int64_t kHang_s = 1000;
inline constexpr const char* kHangingStep = "runs netdom verify DC1 /DOMAIN:PARTNER";

class DefaultRecording : public ::testing::Test {
 protected:
  DefaultRecording() {
    for (const char* variable : {"DWA_CACHE_INTERVAL", "DWA_SYSVOL_REPLICATION_TEST_INTERVAL"}) {
      unsetenv(variable);
    }
    trc::set_flags(0);
    xaf::Configuration configuration;
    configuration.sink = "none";
    configuration.trace_flags = 0;
    xaf::configure(configuration);
  }
  ~DefaultRecording() override {
    platform::faults::clear();
    platform::install(nullptr);
    std::filesystem::remove_all(folder_);
  }

  static void answer_from_the_embedded_one() {
    platform::install(platform::open_embedded_recording(&platform::clock_now_ms));
  }
  void answer_with_a_hanging_command() {
    std::filesystem::remove_all(folder_);
    std::filesystem::copy(DIRWATCH_SOURCE "/recordings/default", folder_,
                          std::filesystem::copy_options::recursive);
    std::stringstream text;
    text << std::ifstream(folder_ / "commands.json").rdbuf();
    std::string commands = text.str();
    const std::string command = R"({"command": "netdom verify * /DOMAIN:PARTNER", )";
    const std::size_t at = commands.find(command);
    ASSERT_NE(at, commands.npos);
    commands.insert(at + command.size(), "\"takes_s\": " + std::to_string(kHang_s) + ", ");
    std::ofstream(folder_ / "commands.json") << commands;
    platform::install(platform::open_recording(folder_, &platform::clock_now_ms));
  }

 private:
  const std::filesystem::path folder_ =
      std::filesystem::temp_directory_path() / ("dirwatch_cli_test_" + std::to_string(getpid()));
};

}  // namespace cli_test
