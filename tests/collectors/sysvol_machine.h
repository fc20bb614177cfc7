#pragma once
// DC1 with its partners DC2 and DC3, a share on each, and the sysvol test's thread in virtual time.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "collectors/background.h"
#include "include/platform/files.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tests/collectors/recorded_commands.h"
#include "tests/directory/forest.h"

namespace sysvol_test {

using directory_test::kConfiguration;
using directory_test::settings_dn;
using testing_support::Command;
using testing_support::commands_json;
using testing_support::MoreFiles;
using testing_support::number;
using testing_support::padded;

inline constexpr const char* kLocator =
    R"({"forest": "corp.example", "controllers": [{"name": "DC1.corp.example", "site": "Hub"}]})";

inline std::string replication_json(const std::vector<std::string>& sources) {
  std::string text;
  for (const std::string& source : sources) {
    text += std::string(text.empty() ? "" : ",") + R"({"naming_context": ")" + kConfiguration +
            R"(", "source_dsa": ")" + source + R"("})";
  }
  return R"({"servers": {"DC1": {"neighbours": [)" + text + "]}}}";
}

inline std::string forcing_of(const std::string& partner) {
  return "ntfrsutl.exe forcerepl " + partner +
         ".corp.example /r \"Domain System Volume (SYSVOL share)\" /p DC1.corp.example";
}
inline const std::vector<Command> kCommands = {
    {forcing_of("DC2"), {"LocalComputerName = DC1", "done"}}, {forcing_of("DC3"), {"done"}}};

// DC1 with its partners DC2 and DC3, each with a share.
inline MoreFiles files(const std::vector<std::string>& partners = {settings_dn("Hub", "DC2"),
                                                                   settings_dn("Branch", "DC3")},
                       const std::vector<std::string>& shares = {"DC1", "DC2", "DC3"}) {
  MoreFiles all = {{"locator.json", kLocator},
                   {"replication.json", replication_json(partners)},
                   {"commands.json", commands_json(kCommands)}};
  for (const std::string& server : shares) {
    all["shares/" + server + "/SYSVOL/corp.example/scripts/logon.cmd"] = "rem";
  }
  return all;
}

inline std::string path_on(const std::string& server, const std::string& stamp) {
  return "\\\\" + server + ".corp.example\\SYSVOL\\corp.example\\" + stamp + "_DC1.txt";
}
inline bool exists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}
inline void write(const std::string& path, const std::string& text) {
  const HANDLE opened = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, opened) << path;
  const UniqueHandle file{opened};
  DWORD written = 0;
  ASSERT_TRUE(
      WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
}

// The first test of a process begins with virtual time.
inline constexpr const char* kStamp = "2011_01_02_03_04_05_000";

class Sysvol : public testing_support::Sampling {
 protected:
  static constexpr int kMinute_ms = 60000;

  explicit Sysvol(const MoreFiles& more = files()) : Sampling(directory_test::forest(), more) {
    g_sysvolTestInterval = 10 * kMinute_ms;
    g_sysvolVerificationInterval = 2 * kMinute_ms;
    g_fileCreationGap = 15000;
    g_forceReplication = 1;
    hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  }
  void TearDown() override {
    close_now(hTerminateEvent.exchange(nullptr));
    if (g_sysvolThreadHandle == nullptr) return;
    TerminateThread(g_sysvolThreadHandle, 0);
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(g_sysvolThreadHandle, INFINITE));
    close_now(g_sysvolThreadHandle.exchange(nullptr));
  }

  static void start() {
    g_sysvolThreadHandle = reinterpret_cast<HANDLE>(
        _beginthreadex(nullptr, 0, &CollectAndCacheSPRLData, nullptr, 0, nullptr));
  }
  // To that moment of virtual time.
  void at(std::int64_t moment_ms) {
    ASSERT_GE(moment_ms, time_->elapsed_ms());
    Sleep(static_cast<DWORD>(moment_ms - time_->elapsed_ms()));
  }
  static std::vector<std::string> sample() { return xaf::DirectSampler("DCWSYSRPL").sample(); }
  // When the trace says that, in virtual time.
  std::vector<std::int64_t> moments_of(const std::string& text) const {
    std::vector<std::int64_t> moments;
    for (const trc::Line& line : trace_.lines()) {
      if (line.text == text) moments.push_back(line.time_ms - 1293937445000);
    }
    return moments;
  }
  static std::string row(const std::string& partner, std::int32_t arrived,
                         const std::string& sampled, const std::string& started,
                         const std::string& verified) {
    return padded("NODE1", 64) + sampled + padded(partner, 64) + number(arrived) + started +
           verified;
  }
  static std::int32_t arrived(const std::string& row) {
    std::int32_t value;
    std::memcpy(&value, row.data() + 144, sizeof value);
    return value;
  }
  void expect_no_file_of(const std::string& stamp) const {
    for (const char* server : {"DC1", "DC2", "DC3"}) {
      EXPECT_FALSE(exists(path_on(server, stamp))) << server;
    }
  }
};

}  // namespace sysvol_test
