// The C library's system: a command of the controller's machine, whose output is ours.

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <string>

#include "platform/control.h"
#include "tests/support/small_recording.h"

namespace {

using testing_support::kSmallForest;
using testing_support::SmallRecording;

class SystemCommand : public ::testing::Test {
 protected:
  ~SystemCommand() override { platform::faults::clear(); }

  // What the command ended with, and what it printed on our standard output.
  int run(const char* command) {
    testing::internal::CaptureStdout();
    const int result = std::system(command);
    printed_ = testing::internal::GetCapturedStdout();
    return result;
  }

  std::string printed_;
  SmallRecording recording_{kSmallForest, "", {{"commands.json", R"({"commands": [
      {"command": "net time", "output": ["It is late."], "exit_code": 2}]})"}}};
};

TEST_F(SystemCommand, OfTheControllersMachineIsAnsweredFromTheRecording) {
  EXPECT_EQ(2, run("net time"));
  EXPECT_EQ("It is late.\r\n", printed_);
}

TEST_F(SystemCommand, ThatIsNotRecordedPrintsNothingAndEndsWithOne) {
  EXPECT_EQ(1, run("net view"));
  EXPECT_EQ("", printed_);
}

TEST_F(SystemCommand, OfAnotherKindRunsHereAndEndsWithItsOwnCode) {
  EXPECT_EQ(3, run("echo hello; exit 3"));
  EXPECT_EQ("hello\n", printed_);
}

TEST_F(SystemCommand, LeavesNoPipeBehind) {
  const auto before = platform::accounting::live();
  run("net time");
  run("exit 0");
  EXPECT_EQ(before, platform::accounting::live());
}

TEST_F(SystemCommand, FailsOnPurposeWithAnErrno) {
  platform::faults::fail("system", 1);
  EXPECT_EQ(-1, run("net time"));
  EXPECT_EQ(ENOMEM, errno);
  EXPECT_EQ("", printed_);
}

TEST_F(SystemCommand, ThatIsNoneAsksWhetherThereIsAnInterpreter) { EXPECT_NE(0, run(nullptr)); }

}  // namespace
