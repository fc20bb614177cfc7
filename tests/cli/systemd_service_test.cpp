// `dirwatch service` on Linux: over a file system of the test's own and a systemctl that writes
// down what it is asked and answers as systemd's does.

#include "cli/systemd_service.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr const char* kOwnUnit = "/etc/systemd/system/dirwatcher.service";

class SystemdServiceCommand : public testing::Test {
 protected:
  SystemdServiceCommand() {
    root_ = testing::TempDir() + "/dirwatch_service_" + std::to_string(getpid()) + "_" +
            testing::UnitTest::GetInstance()->current_test_info()->name();
    fs::remove_all(root_);
    fs::create_directories(root_ + "/run/systemd/system");
    fs::create_directories(root_ + "/opt/dirwatcher");
    write("/opt/dirwatcher/DirWatcher", "");
    program("systemctl", "exit 0");
    program("systemd-sysusers", "exit 0");
    setenv("PATH", (root_ + "/tools:/usr/bin:/bin").c_str(), 1);
  }
  ~SystemdServiceCommand() override { fs::remove_all(root_); }

  void write(const std::string& path, const std::string& text) {
    fs::create_directories(fs::path(root_ + path).parent_path());
    std::ofstream(root_ + path) << text;
  }
  std::string read(const std::string& path) const {
    std::ostringstream text;
    text << std::ifstream(root_ + path).rdbuf();
    return text.str();
  }
  bool exists(const std::string& path) const { return fs::exists(root_ + path); }

  // A program of the system that notes its words in /asked and goes on with the script.
  void program(const std::string& name, const std::string& script) {
    write("/tools/" + name,
          "#!/bin/sh\necho \"" + name + " $*\" >>'" + root_ + "/asked'\n" + script + "\n");
    fs::permissions(root_ + "/tools/" + name, fs::perms::owner_all);
  }

  // Runs one of the operations and keeps what it says.
  template <typename Operation>
  bool run(Operation operation) {
    const cli::SystemdService service(root_, root_ + "/opt/dirwatcher");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const bool done = operation(service);
    said_ = testing::internal::GetCapturedStdout();
    complained_ = testing::internal::GetCapturedStderr();
    return done;
  }
  bool install() {
    return run([](const cli::SystemdService& service) { return service.install(); });
  }
  bool uninstall(bool purge) {
    return run([purge](const cli::SystemdService& service) { return service.uninstall(purge); });
  }
  bool start() {
    return run([](const cli::SystemdService& service) { return service.start(); });
  }
  bool stop() {
    return run([](const cli::SystemdService& service) { return service.stop(); });
  }
  bool status() {
    return run([](const cli::SystemdService& service) { return service.show_status(); });
  }

  std::string root_;
  std::string said_;
  std::string complained_;
};

TEST_F(SystemdServiceCommand, InstallWritesUnitAndSettingsAndEnablesTheService) {
  ASSERT_TRUE(install()) << complained_;
  const std::string unit = read(kOwnUnit);
  EXPECT_THAT(unit, StartsWith("# Written by `dirwatch service install`.\n"));
  EXPECT_THAT(unit, HasSubstr("ExecStart=" + root_ + "/opt/dirwatcher/DirWatcher\n"));
  EXPECT_THAT(unit, Not(HasSubstr("=/usr/bin/DirWatcher")));
  EXPECT_THAT(read("/etc/dirwatcher/dirwatch.toml"), HasSubstr("[sink]"));
  EXPECT_THAT(read("/etc/dirwatcher/environment"), HasSubstr("DIRWATCH_CONTROLLER"));
  EXPECT_THAT(read("/asked"), HasSubstr("systemd-sysusers --inline u dirwatcher"));
  EXPECT_THAT(read("/asked"), HasSubstr("systemctl --no-ask-password daemon-reload\n"
                                        "systemctl --no-ask-password enable dirwatcher.service\n"));
  EXPECT_THAT(said_, HasSubstr("next: dirwatch service start"));
}

TEST_F(SystemdServiceCommand, ASecondInstallKeepsTheSettingsAndRenewsTheUnit) {
  ASSERT_TRUE(install()) << complained_;
  write("/etc/dirwatcher/dirwatch.toml", "# mine\n");
  write(kOwnUnit, "# Written by `dirwatch service install`.\nold\n");
  ASSERT_TRUE(install()) << complained_;
  EXPECT_EQ(read("/etc/dirwatcher/dirwatch.toml"), "# mine\n");
  EXPECT_THAT(said_, HasSubstr("kept " + root_ + "/etc/dirwatcher/dirwatch.toml"));
  EXPECT_THAT(read(kOwnUnit), HasSubstr("[Service]"));
}

TEST_F(SystemdServiceCommand, AUnitOfThePackageIsEnabledAndNothingIsWritten) {
  write("/lib/systemd/system/dirwatcher.service", "packaged");
  ASSERT_TRUE(install()) << complained_;
  EXPECT_FALSE(exists(kOwnUnit));
  EXPECT_FALSE(exists("/etc/dirwatcher"));
  EXPECT_EQ(read("/asked"), "systemctl --no-ask-password enable dirwatcher.service\n");
}

TEST_F(SystemdServiceCommand, AUnitThatSomebodyElseWroteIsLeftAlone) {
  write(kOwnUnit, "theirs");
  EXPECT_FALSE(install());
  EXPECT_EQ(read(kOwnUnit), "theirs");
  EXPECT_THAT(complained_, HasSubstr("is none of ours"));
  EXPECT_FALSE(uninstall(true));
  EXPECT_EQ(read(kOwnUnit), "theirs");
}

TEST_F(SystemdServiceCommand, InstallWithoutTheAgentBesideItSaysSo) {
  fs::remove(root_ + "/opt/dirwatcher/DirWatcher");
  EXPECT_FALSE(install());
  EXPECT_THAT(complained_, HasSubstr("belong into one folder"));
  EXPECT_FALSE(exists(kOwnUnit));
}

TEST_F(SystemdServiceCommand, WithoutSystemdEachActionSaysWhatToDoInstead) {
  fs::remove_all(root_ + "/run/systemd");
  const auto is_refused = [this](bool done) {
    EXPECT_FALSE(done);
    EXPECT_THAT(complained_, HasSubstr("systemd does not run this machine"));
    EXPECT_THAT(complained_, HasSubstr("dirwatch run --config"));
  };
  is_refused(install());
  is_refused(uninstall(false));
  is_refused(start());
  is_refused(stop());
  is_refused(status());
  EXPECT_FALSE(exists("/asked"));
}

TEST_F(SystemdServiceCommand, WithoutTheRightsSudoIsNamed) {
  program("systemctl", "echo 'Failed to start dirwatcher.service: Access denied' >&2; exit 4");
  EXPECT_FALSE(start());
  EXPECT_THAT(complained_, HasSubstr("Access denied"));
  EXPECT_THAT(complained_, HasSubstr("try again with sudo"));
}

TEST_F(SystemdServiceCommand, StartingWhatIsNotInstalledNamesInstall) {
  program("systemctl", "echo 'Failed to start x: Unit dirwatcher.service not found.' >&2; exit 5");
  EXPECT_FALSE(start());
  EXPECT_THAT(complained_, HasSubstr("'dirwatch service install' does that"));
}

TEST_F(SystemdServiceCommand, AStartThatFailsNamesTheJournal) {
  program("systemctl", "echo 'Job for dirwatcher.service failed.' >&2; exit 1");
  EXPECT_FALSE(start());
  EXPECT_THAT(complained_, HasSubstr("journalctl -u dirwatcher"));
}

TEST_F(SystemdServiceCommand, AStopThatTakesTooLongSaysSo) {
  program("systemctl", "echo 'Job for dirwatcher.service timed out' >&2; exit 1");
  EXPECT_FALSE(stop());
  EXPECT_THAT(complained_, HasSubstr("did not answer in time"));
}

TEST_F(SystemdServiceCommand, AMissingSystemctlIsNamed) {
  fs::remove(root_ + "/tools/systemctl");
  setenv("PATH", (root_ + "/tools").c_str(), 1);
  EXPECT_FALSE(stop());
  EXPECT_THAT(complained_, HasSubstr("systemctl cannot be run"));
}

TEST_F(SystemdServiceCommand, StartAndStopAskForTheUnit) {
  EXPECT_TRUE(start());
  EXPECT_TRUE(stop());
  EXPECT_EQ(read("/asked"),
            "systemctl --no-ask-password start dirwatcher.service\n"
            "systemctl --no-ask-password stop dirwatcher.service\n");
}

TEST_F(SystemdServiceCommand, UninstallTakesTheUnitAndLeavesTheSettings) {
  ASSERT_TRUE(install()) << complained_;
  ASSERT_TRUE(uninstall(false)) << complained_;
  EXPECT_THAT(read("/asked"), HasSubstr("disable --now dirwatcher.service"));
  EXPECT_FALSE(exists(kOwnUnit));
  EXPECT_TRUE(exists("/etc/dirwatcher/dirwatch.toml"));
  EXPECT_THAT(said_, HasSubstr("--purge removes them"));
}

TEST_F(SystemdServiceCommand, UninstallWithPurgeLeavesNothing) {
  ASSERT_TRUE(install()) << complained_;
  write("/var/lib/dirwatcher/WATCHD6_x64/logs/NumberOfObjects.txt", "7");
  write("/var/log/dirwatcher/rows.json", "{}");
  ASSERT_TRUE(uninstall(true)) << complained_;
  for (const char* path :
       {kOwnUnit, "/etc/dirwatcher", "/var/lib/dirwatcher", "/var/log/dirwatcher"}) {
    EXPECT_FALSE(exists(path)) << path;
  }
}

TEST_F(SystemdServiceCommand, UninstallOfAPackagesUnitNamesApt) {
  write("/lib/systemd/system/dirwatcher.service", "packaged");
  write("/etc/dirwatcher/dirwatch.toml", "");
  ASSERT_TRUE(uninstall(true)) << complained_;
  EXPECT_THAT(said_, HasSubstr("'apt purge dirwatcher'"));
  EXPECT_TRUE(exists("/etc/dirwatcher/dirwatch.toml"));
}

TEST_F(SystemdServiceCommand, UninstallOfWhatIsNotInstalledIsNoFailure) {
  EXPECT_TRUE(uninstall(false)) << complained_;
  EXPECT_THAT(said_, HasSubstr("dirwatcher.service is not installed"));
  EXPECT_FALSE(exists("/asked"));
}

TEST_F(SystemdServiceCommand, AStopThatFailsLeavesTheUnitInPlace) {
  ASSERT_TRUE(install()) << complained_;
  program("systemctl", "echo 'Failed to disable unit: Access denied' >&2; exit 1");
  EXPECT_FALSE(uninstall(true));
  EXPECT_TRUE(exists(kOwnUnit));
  EXPECT_TRUE(exists("/etc/dirwatcher/dirwatch.toml"));
}

TEST_F(SystemdServiceCommand, StatusTellsStateStartAndTheServicesOwnWords) {
  program(
      "systemctl",
      "printf 'LoadState=loaded\\nActiveState=active\\nSubState=running\\nUnitFileState=enabled\\n"
      "Result=success\\nStatusText=33 tables\\n'");
  EXPECT_TRUE(status());
  EXPECT_EQ(said_, "dirwatcher.service is active (running), enabled\nit says: 33 tables\n");
}

TEST_F(SystemdServiceCommand, StatusOfAFailedServiceIsNoSuccessAndSaysWhy) {
  program(
      "systemctl",
      "printf 'LoadState=loaded\\nActiveState=failed\\nSubState=failed\\nUnitFileState=disabled\\n"
      "Result=exit-code\\nStatusText=\\n'");
  EXPECT_FALSE(status());
  EXPECT_THAT(said_, HasSubstr("it failed (exit-code)"));
}

TEST_F(SystemdServiceCommand, StatusOfWhatIsNotInstalledNamesInstall) {
  program("systemctl", "printf 'LoadState=not-found\\nActiveState=inactive\\n'");
  EXPECT_FALSE(status());
  EXPECT_THAT(complained_, HasSubstr("'dirwatch service install' does that"));
}

}  // namespace
