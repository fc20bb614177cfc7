// The thread that counts the domain's objects and leaves the number in a file.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "collectors/background.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tests/collectors/sampling.h"
#include "tests/directory/forest.h"

namespace {

namespace fs = std::filesystem;

using directory_test::kDomain;
using directory_test::object;
using testing_support::Sampling;

constexpr std::int32_t kInterval_ms = 1800 * 1000;

std::string forest_of_three() {
  std::string text = directory_test::forest();
  for (const char* name : {"A", "B", "C"}) {
    text += object(std::string("CN=") + name + ",CN=Users," + kDomain, "user",
                   "objectCategory: CN=Person,CN=Schema,CN=Configuration," + kDomain + "\n");
  }
  return text;
}

class ObjectCountThread : public Sampling {
 protected:
  ObjectCountThread() : Sampling(forest_of_three()), home_(fs::path(recording_.folder()) / "home") {
    fs::create_directories(file().parent_path());
    setenv("MARLOW_HOME", home_.c_str(), 1);
    g_numberOfObjectsInterval = kInterval_ms;
    hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  }
  void TearDown() override {
    platform::faults::clear();
    close_now(hTerminateEvent.exchange(nullptr));
    // The thread notices the end only after its pause.
    if (thread_) WaitForSingleObject(thread_.get(), INFINITE);
    thread_.reset();
    unsetenv("MARLOW_HOME");
  }
  void start() {
    thread_ = UniqueHandle(
        _beginthreadex(nullptr, 0, collectNumberOfObjectsInDomain, nullptr, 0, nullptr));
  }
  fs::path file() const { return home_ / "WATCHD6_x64" / "logs" / "NumberOfObjects.txt"; }
  std::string content() const {
    std::ostringstream text;
    text << std::ifstream(file(), std::ios::binary).rdbuf();
    return text.str();
  }
  void write(const std::string& text) const { std::ofstream(file(), std::ios::binary) << text; }

  const fs::path home_;
  UniqueHandle thread_;
};

TEST_F(ObjectCountThread, StartsWithAFirstCountAtOnce) {
  start();
  Sleep(1);
  EXPECT_EQ("3", content());
  EXPECT_TRUE(trace_.contains("Path for NumberOfObjects file :"));
}

TEST_F(ObjectCountThread, CountsAgainAfterItsInterval) {
  start();
  Sleep(1);
  write("old");
  Sleep(kInterval_ms - 2);
  EXPECT_EQ("old", content());
  Sleep(2);
  EXPECT_EQ("3", content());
}

TEST_F(ObjectCountThread, KeepsTheOldFileWhenACountFails) {
  write("77");
  platform::faults::fail("ADsGetObject", 1);
  start();
  Sleep(1);
  EXPECT_EQ("77", content());
  EXPECT_EQ(1u, trace_.count("Error: DNSUtils::GetNumberOfObjectsInDomain() failed"));
}

TEST_F(ObjectCountThread, LivesOnWhenTheQueryLayerRaisesAFailure) {
  write("77");
  platform::faults::fail("Command::Execute", 1);
  start();
  Sleep(1);
  EXPECT_EQ("77", content());
  EXPECT_EQ(1u, trace_.count("Error: DNSUtils::GetNumberOfObjectsInDomain() failed"));
  Sleep(kInterval_ms);
  EXPECT_EQ("3", content());
}

TEST_F(ObjectCountThread, TellsAFileThatCannotBeOpened) {
  platform::faults::fail("CreateFileA", 1);
  start();
  Sleep(1);
  EXPECT_EQ(1u, trace_.count("Error: Number Of Objects file open failed: NumberOfObjects.txt"));
  Sleep(kInterval_ms);
  EXPECT_EQ("3", content());
}

TEST_F(ObjectCountThread, WaitsForTheLockOfCollectionsAndGivesItUpForItsPause) {
  SYS1_GetLock(&g_collectLock);
  start();
  Sleep(5000);
  EXPECT_FALSE(fs::exists(file()));
  SYS1_ReleaseLock(&g_collectLock);
  Sleep(1);
  EXPECT_EQ("3", content());
  // Free during the pause.
  SYS1_GetLock(&g_collectLock);
  SYS1_ReleaseLock(&g_collectLock);
}

TEST_F(ObjectCountThread, GivesTheLockUpAfterAFailure) {
  platform::faults::fail("Connection::Open", 1);
  start();
  Sleep(1);
  const std::int64_t before = time_->elapsed_ms();
  SYS1_GetLock(&g_collectLock);
  SYS1_ReleaseLock(&g_collectLock);
  EXPECT_EQ(before, time_->elapsed_ms());
}

TEST_F(ObjectCountThread, EndsAfterThePauseInWhichTheAgentEnded) {
  start();
  Sleep(1);
  close_now(hTerminateEvent.exchange(nullptr));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread_.get(), INFINITE));
  EXPECT_EQ(kInterval_ms, time_->elapsed_ms());
}

}  // namespace
