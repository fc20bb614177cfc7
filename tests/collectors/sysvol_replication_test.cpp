// The live test of file replication, from its file's first byte to its last, in virtual time.

#include <gtest/gtest.h>

#include "collectors/caches.h"
#include "collectors/sysvol_test_files.h"
#include "tests/collectors/sysvol_machine.h"

namespace {

using namespace sysvol_test;

TEST_F(Sysvol, TestGivesARowForEachPartnerByteForByte) {
  start();
  at(60000);
  write(path_on("DC2", kStamp), kStamp);
  at(200000);
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(180u, rows[0].size());
  // The sample's own time, then the forcing at 15 s and the verification at 135 s.
  EXPECT_EQ(row("DC2", 1, "1110102030725000", "1110102030420000", "1110102030620000"), rows[0]);
  EXPECT_EQ(row("DC3", 0, "1110102030725000", "1110102030420000", "1110102030620000"), rows[1]);
}

TEST_F(Sysvol, TestWritesItsFileAndDeletesItEverywhere) {
  start();
  at(1);
  ASSERT_TRUE(exists(path_on("DC1", kStamp)));
  std::string content;
  EXPECT_EQ(0u, GetFileContent(path_on("DC1", kStamp), content));
  EXPECT_EQ(kStamp, content);
  write(path_on("DC2", kStamp), kStamp);
  write(path_on("DC3", kStamp), kStamp);
  at(134999);
  EXPECT_TRUE(exists(path_on("DC1", kStamp)));
  at(135001);
  expect_no_file_of(kStamp);
  EXPECT_FALSE(trace_.contains("DeleteFile failed"));
}

TEST_F(Sysvol, TestKeepsItsTimes) {
  start();
  at(1300000);
  using Moments = std::vector<std::int64_t>;
  EXPECT_EQ((Moments{0}), moments_of("Temp. File Name: " + path_on("DC1", kStamp)));
  EXPECT_EQ((Moments{15000, 630000, 1245000}),
            moments_of("ntfrsutl Command: " + forcing_of("DC2")));
  EXPECT_EQ((Moments{15000, 630000, 1245000}),
            moments_of("ntfrsutl Command: " + forcing_of("DC3")));
  EXPECT_EQ((Moments{135000}),
            moments_of("File Name on replication partner: " + path_on("DC3", kStamp)));
  // The pause is the interval less the verification: gap and run times come on top.
  EXPECT_EQ((Moments{135000, 750000}), moments_of("RPL Transfer to global buffer complete"));
  EXPECT_EQ((Moments{615000}),
            moments_of("Temp. File Name: " + path_on("DC1", "2011_01_02_03_14_20_000")));
}

TEST_F(Sysvol, TestTellsItsStepsInOrder) {
  start();
  at(200000);
  const std::vector<std::string> wanted = {
      "Copying replication partner info and timestamp in Temp Vector",
      "Temp. File Name: " + path_on("DC1", kStamp),
      "Creating Sysvol ClearEvent",
      "Host Name: DC1",
      "Server Name: DC1.corp.example",
      std::string("Temp. File Content: ") + kStamp,
      "Domain Name: corp.example",
      "ntfrsutl Command: " + forcing_of("DC2"),
      "NTFRSUTL : LocalComputerName = DC1",
      "NTFRSUTL : done",
      "WaitForSingleObject Returned error: 0",
      "ntfrsutl Command: " + forcing_of("DC3"),
      "NTFRSUTL : done",
      "WaitForSingleObject Returned error: 0",
      "File Name on replication partner: " + path_on("DC2", kStamp),
      "Can not access file '" + path_on("DC2", kStamp) + "'",
      "File Name on replication partner: " + path_on("DC3", kStamp),
      "Can not access file '" + path_on("DC3", kStamp) + "'",
      "Creaeting Event",
      "Sysvol Replication partner Count: 2",
      "RPL Transfer to global buffer complete"};
  std::vector<std::string> told;
  for (const trc::Line& line : trace_.lines()) {
    if (line.kind == trc::Kind::kText && line.function == "CollectData") told.push_back(line.text);
  }
  EXPECT_EQ(wanted, told);
}

TEST_F(Sysvol, TestOfALaterPeriodReplacesTheRows) {
  start();
  at(60000);
  write(path_on("DC2", kStamp), kStamp);
  at(614000);
  EXPECT_EQ(1, arrived(sample().at(0)));
  at(800000);
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row("DC2", 0, "1110102031725000", "1110102031435000", "1110102031635000"), rows[0]);
}

TEST_F(Sysvol, TestNamesItsFileInUniversalTimeAndShowsLocalTimes) {
  setenv("TZ", "EST5", 1);
  tzset();
  start();
  at(200000);
  EXPECT_EQ(1u, trace_.count("Temp. File Name: " + path_on("DC1", kStamp)));
  EXPECT_EQ(row("DC2", 0, "1110101220725000", "1110101220420000", "1110101220620000"),
            sample().at(0));
}

TEST_F(Sysvol, TestWithoutAVerificationIntervalVerifiesRightAfterTheGap) {
  g_sysvolVerificationInterval = 0;
  start();
  at(10000);
  write(path_on("DC3", kStamp), kStamp);
  at(15001);
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(row("DC3", 1, "1110102030420000", "1110102030420000", "1110102030420000"), rows[1]);
  at(650000);
  // 15 s and 10 minutes.
  EXPECT_EQ((std::vector<std::int64_t>{15000, 630000}),
            moments_of("RPL Transfer to global buffer complete"));
}

class SysvolWithoutPartners : public Sysvol {
 protected:
  SysvolWithoutPartners() : Sysvol(files({})) {}
};
TEST_F(SysvolWithoutPartners, TestWritesAndDeletesItsOwnFileAndGivesNoRows) {
  start();
  at(1);
  EXPECT_TRUE(exists(path_on("DC1", kStamp)));
  at(200000);
  expect_no_file_of(kStamp);
  EXPECT_EQ(1u, trace_.count("Error No Data in global vector1"));
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(2u, trace_.count("Sysvol Replication partner Count: 0"));
}

TEST_F(Sysvol, TestWithoutForcingRunsNoCommandAndStillTellsItsStart) {
  g_forceReplication = 0;
  platform::faults::reset_counts();
  start();
  at(200000);
  EXPECT_EQ(0u, testing_support::times_reached("_popen"));
  EXPECT_FALSE(trace_.contains("WaitForSingleObject Returned error"));
  for (const std::string& one : sample()) EXPECT_EQ("1110102030420000", one.substr(148, 16));
}

TEST_F(Sysvol, TestDoesNotTakeAFileOfOtherContentForItsOwn) {
  start();
  at(60000);
  write(path_on("DC2", kStamp), std::string(kStamp) + " ");
  write(path_on("DC3", kStamp), "2011");
  at(200000);
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(0, arrived(rows[0]));
  EXPECT_EQ(0, arrived(rows[1]));
}

TEST_F(Sysvol, TestThatCannotReadItsOwnFileFindsNoneOnThePartners) {
  start();
  at(60000);
  write(path_on("DC2", kStamp), kStamp);
  ASSERT_TRUE(DeleteFileA(path_on("DC1", kStamp).c_str()));
  at(200000);
  EXPECT_EQ(0, arrived(sample().at(0)));
  EXPECT_EQ(1u, trace_.count("GetFileContent failed for " + path_on("DC1", kStamp)));
  EXPECT_EQ(1u, trace_.count("Error opening file " + path_on("DC1", kStamp) + "\nError: 2"));
}

// An empty text must not stand for a file that could not be read.
TEST_F(Sysvol, TestDoesNotTakeTwoFilesThatCannotBeReadForEqual) {
  start();
  at(60000);
  write(path_on("DC2", kStamp), "");
  ASSERT_TRUE(DeleteFileA(path_on("DC1", kStamp).c_str()));
  at(200000);
  EXPECT_EQ(0, arrived(sample().at(0)));
}

TEST_F(Sysvol, SampleBeforeTheFirstTestHasNoRows) {
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(1u, trace_.count("Event is not initilized"));
  start();
  at(60000);
  EXPECT_TRUE(sample().empty());
  EXPECT_EQ(2u, trace_.count("Event is not initilized"));
}

TEST_F(Sysvol, SampleLooksFreshWheneverItIsTaken) {
  start();
  at(200000);
  EXPECT_EQ("1110102030725000", sample().at(0).substr(64, 16));
  at(260000);
  const auto rows = sample();
  EXPECT_EQ(row("DC2", 0, "1110102030825000", "1110102030420000", "1110102030620000"), rows.at(0));
  EXPECT_TRUE(trace_.contains("TIMER: 21 : ReplicationPartner : TakeSample"));
}

TEST_F(Sysvol, TestWhoseFileCannotBeCreatedKeepsTheRows) {
  start();
  at(60000);
  write(path_on("DC2", kStamp), kStamp);
  at(600000);
  platform::faults::fail("CreateFileA", 1, ERROR_ACCESS_DENIED);
  at(700000);
  EXPECT_TRUE(platform::faults::struck());
  EXPECT_EQ(1u, trace_.count("CreateFile() failed: 5"));
  EXPECT_EQ(1, arrived(sample().at(0)));
  // No gap and no verification: the pause follows at once.
  at(1096000);
  EXPECT_EQ(1u, trace_.count("Temp. File Name: " + path_on("DC1", "2011_01_02_03_22_20_000")));
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(g_sysvolClearEvent, 0));
}

TEST_F(Sysvol, TestWhoseHostIsUnknownKeepsTheRows) {
  start();
  at(600000);
  platform::faults::fail("getaddrinfo", 1);
  at(700000);
  EXPECT_EQ(1u, trace_.count("getaddrinfo failed: error#:11001"));
  EXPECT_EQ(2u, sample().size());
}

TEST_F(Sysvol, TestGoesOnWithoutTheForcingCommand) {
  platform::faults::fail("_popen", 0);
  start();
  at(60000);
  write(path_on("DC2", kStamp), kStamp);
  at(200000);
  EXPECT_EQ(1, arrived(sample().at(0)));
  EXPECT_FALSE(trace_.contains("NTFRSUTL : "));
  EXPECT_EQ(2u, trace_.count("WaitForSingleObject Returned error: 0"));
}

TEST_F(Sysvol, TestForcesNoPartnerWhileItsFilesAreBusyForASecond) {
  start();
  at(10000);
  ASSERT_TRUE(ResetEvent(g_sysvolClearEvent));
  at(16500);
  // The first partner's second is over, the other's runs.
  ASSERT_TRUE(SetEvent(g_sysvolClearEvent));
  at(200000);
  EXPECT_EQ(1u, trace_.count("WaitForSingleObject Returned error: 258"));
  EXPECT_EQ((std::vector<std::int64_t>{16500}),
            moments_of("ntfrsutl Command: " + forcing_of("DC3")));
  EXPECT_TRUE(moments_of("ntfrsutl Command: " + forcing_of("DC2")).empty());
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ("1110102030421000", rows[1].substr(148, 16));
}

TEST_F(Sysvol, TestForcesNoPartnerWhenTheLockCannotBeTaken) {
  start();
  at(10000);
  platform::faults::fail("ResetEvent", 1);
  at(60000);
  EXPECT_TRUE(trace_.contains("Reset Event failed: "));
  EXPECT_TRUE(moments_of("ntfrsutl Command: " + forcing_of("DC2")).empty());
  EXPECT_EQ(1u, moments_of("ntfrsutl Command: " + forcing_of("DC3")).size());
}

class SysvolWithoutAShare : public Sysvol {
 protected:
  SysvolWithoutAShare()
      : Sysvol(files({settings_dn("Hub", "DC2"), settings_dn("Branch", "DC3")}, {"DC1", "DC2"})) {}
};
TEST_F(SysvolWithoutAShare, TestFindsNothingThereAndGoesOn) {
  start();
  at(60000);
  write(path_on("DC2", kStamp), kStamp);
  at(200000);
  const auto rows = sample();
  ASSERT_EQ(2u, rows.size());
  EXPECT_EQ(1, arrived(rows[0]));
  EXPECT_EQ(0, arrived(rows[1]));
  EXPECT_EQ(1u, trace_.count("Can not access file '" + path_on("DC3", kStamp) + "'"));
  EXPECT_EQ(1u, trace_.count("DeleteFile failed: 53, \nFile Name: " + path_on("DC3", kStamp)));
}

// One whole test with each platform call failing once; then a right one.
TEST_F(Sysvol, TestSurvivesEachPlatformCallFailingOnce) {
  const auto test_and_sample = [] {
    collectors::CollectData<tables::DCWSYSRPL>();
    return sample();
  };
  // All but the times.
  const auto fixed = [](std::vector<std::string> rows) {
    for (std::string& one : rows) one = one.replace(148, 32, "").replace(64, 16, "");
    return rows;
  };
  const auto right = fixed(test_and_sample());
  ASSERT_EQ(2u, right.size());
  const auto before = platform::accounting::live();
  platform::faults::reset_counts();
  test_and_sample();
  const auto reached = platform::faults::reached();
  for (const char* call : {"CreateFileA", "WriteFile", "ReadFile", "DeleteFileA", "_access",
                           "_popen", "_pclose", "SetEvent", "ResetEvent"}) {
    EXPECT_NE(0u, testing_support::times_reached(call)) << call;
  }
  for (const auto& [call, times] : reached) {
    for (std::uint32_t nth = 1; nth <= times; ++nth) {
      SCOPED_TRACE(call + " " + std::to_string(nth));
      platform::faults::fail(call, nth);
      test_and_sample();
      EXPECT_TRUE(platform::faults::struck());
      platform::faults::clear();
      // A clear event that was not given up stays taken: as after any holder that was lost.
      SetEvent(g_sysvolClearEvent);
      EXPECT_EQ(before, platform::accounting::live());
      EXPECT_EQ(right, fixed(test_and_sample()));
    }
  }
}

}  // namespace
