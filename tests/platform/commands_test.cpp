// Commands through a pipe: recorded ones, our own programs, and all others.

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "include/platform/files.h"
#include "platform/commands/recorded_commands.h"
#include "platform/control.h"
#include "platform/controller.h"
#include "platform/kernel/command_line.h"
#include "tests/support/small_recording.h"

namespace {

using platform::kernel::command_words;
using platform::kernel::shell_line;
using platform::kernel::system_command;
using testing_support::SmallRecording;

struct Ran {
  std::string output;
  int status = -99;
};
Ran run(const char* command, const char* mode = "rt") {
  Ran ran;
  FILE* stream = _popen(command, mode);
  if (stream == nullptr) return ran;
  for (int c = std::fgetc(stream); c != EOF; c = std::fgetc(stream)) {
    ran.output += static_cast<char>(c);
  }
  EXPECT_TRUE(std::feof(stream));
  ran.status = _pclose(stream);
  return ran;
}

constexpr const char* kCommands = R"({"commands": [
  {"command": "ping * DC2", "output": ["one", "two"]},
  {"command": "ping *", "output": "gone", "exit_code": 1},
  {"command": "netdom verify *", "output_file": "german.txt"},
  {"command": "w32tm /monitor", "exit_code": 7}]})";

class RecordedCommands : public ::testing::Test {
 protected:
  RecordedCommands()
      : before_(platform::accounting::live()),
        recording_(testing_support::kSmallForest, "",
                   {{"commands.json", kCommands},
                    {"commands/german.txt", "f\x81r\r\nalle\rEnde\x1Amehr"}}) {}
  ~RecordedCommands() override {
    platform::faults::clear();
    EXPECT_EQ(before_, platform::accounting::live());
  }
  std::map<std::string, std::int64_t> before_;
  SmallRecording recording_;
};

TEST_F(RecordedCommands, AnswerWithTheFirstThatFits) {
  EXPECT_EQ("one\ntwo\n", run("ping -n 1 DC2").output);
  EXPECT_EQ("gone", run("ping DC3").output);
  EXPECT_EQ(1, run("ping DC3").status);
  EXPECT_EQ("", run("w32tm /monitor").output);
  EXPECT_EQ(7, run("w32tm /monitor").status);
}

TEST_F(RecordedCommands, ThatAreNotThereSayNothingAndEndWith1) {
  EXPECT_EQ("", run("w32tm /resync").output);
  EXPECT_EQ(1, run("ntfrsutl.exe forcerepl").status);
}

TEST_F(RecordedCommands, KeepTheBytesOfAnyCodePageAndEndAsTextDoes) {
  EXPECT_EQ("f\x81r\nalle\rEnde", run("netdom verify x").output);
  EXPECT_EQ("f\x81r\r\nalle\rEnde\x1Amehr", run("netdom verify x", "rb").output);
}

TEST_F(RecordedCommands, LeaveOtherProgramsToTheMachine) {
  EXPECT_EQ("pinged\n", run("echo pinged").output);
  EXPECT_EQ(3, run("exit 3").status);
}

TEST_F(RecordedCommands, CountAsPipesUntilTheyAreClosed) {
  FILE* stream = _popen("ping DC2", "rt");
  ASSERT_NE(nullptr, stream);
  EXPECT_EQ(1, platform::accounting::live()["pipe"]);
  EXPECT_EQ(1, _pclose(stream));
}

TEST_F(RecordedCommands, FailOnPurpose) {
  platform::faults::fail("_popen", 1);
  EXPECT_EQ(-99, run("ping DC2").status);
  platform::faults::fail("_pclose", 1);
  EXPECT_EQ(-1, run("ping DC2").status);
}

// The program's own folder of commands is not there beside a test, and this system's ping is not
// taken in its place.
TEST(LiveCommands, AreNotTakenFromTheRestOfTheSystem) {
  class Bare : public platform::Controller {
    std::string description() const override { return "bare"; }
    const platform::MachineFacts& machine() const override { return facts_; }
    platform::Directory* directory() override { return nullptr; }
    platform::CounterSource* counters() override { return nullptr; }
    platform::RegistryHive* registry() override { return nullptr; }
    platform::MachineFacts facts_;
  };
  platform::install(std::make_shared<Bare>());
  const Ran ran = run("net nonsense 2>/dev/null");
  EXPECT_EQ(std::string::npos, ran.output.find("Usage"));
  EXPECT_NE(0, ran.status);
}

std::string fault_of(const std::string& text) {
  try {
    platform::read_commands(&text, {});
  } catch (const platform::ControllerError& error) {
    return error.what();
  }
  return "(none)";
}

TEST(RecordedCommandFile, NamesTheKeyAtFault) {
  EXPECT_EQ(fault_of(R"({"command": []})"), "commands.json: command: is not known");
  EXPECT_EQ(fault_of(R"({"commands": [{"command": ""}]})"),
            "commands.json: commands[0].command: is empty");
  EXPECT_EQ(fault_of(R"({"commands": [{"command": "a", "exit_code": 256}]})"),
            "commands.json: commands[0].exit_code: is over 255");
  EXPECT_EQ(fault_of(R"({"commands": [{"command": "a", "output_file": "x"}]})"),
            "commands.json: commands[0].output_file: is no file of the folder commands");
  EXPECT_EQ(fault_of(R"({"commands": [{"command": "a", "output": "", "output_file": "x"}]})"),
            "commands.json: commands[0].output_file: stands beside an output");
  EXPECT_EQ(fault_of(R"({"commands": [{"command": "a", "output": [1]}]})"),
            "commands.json: commands[0].output[0]: is not a text");
}

TEST(Pattern, LetsAStarStandForAnyRun) {
  EXPECT_TRUE(platform::matches_pattern("ping * DC2", "ping -n 1 DC2"));
  EXPECT_TRUE(platform::matches_pattern("*", ""));
  EXPECT_TRUE(platform::matches_pattern("a*b*c", "aXbXbXc"));
  EXPECT_TRUE(platform::matches_pattern("w32tm /monitor /computers:DC1,*DC2",
                                        "w32tm /monitor /computers:DC1,*DC2"));
  EXPECT_FALSE(platform::matches_pattern("ping * DC2", "ping DC2"));
  EXPECT_FALSE(platform::matches_pattern("a", "ab"));
  EXPECT_FALSE(platform::matches_pattern("", "a"));
  EXPECT_FALSE(platform::matches_pattern("A", "a"));
}

TEST(CommandLine, IsCutAtBlanksOutsideQuotes) {
  EXPECT_EQ(command_words("ntfrsutl.exe forcerepl DC2 /r \"Domain System Volume\" /p x"),
            (std::vector<std::string>{"ntfrsutl.exe", "forcerepl", "DC2", "/r",
                                      "Domain System Volume", "/p", "x"}));
  EXPECT_EQ(command_words("  a\t\"\"b\" c"), (std::vector<std::string>{"a", "b c"}));
  EXPECT_TRUE(command_words(" ").empty());
}

TEST(CommandLine, KnowsTheSystemsOwnCommands) {
  EXPECT_EQ(system_command("ping x"), "ping");
  EXPECT_EQ(system_command("NTFRSUTL.EXE x"), "ntfrsutl");
  EXPECT_EQ(system_command("net time"), "net");
  EXPECT_EQ(system_command("netstat"), "");
  EXPECT_EQ(system_command(""), "");
}

TEST(CommandLine, MeansNothingToTheShell) {
  EXPECT_EQ(shell_line({"a b", "$(c)", "d'e"}), "'a b' '$(c)' 'd'\\''e'");
}

}  // namespace
