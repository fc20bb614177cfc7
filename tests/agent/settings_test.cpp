// What start-up makes of the environment.

#include "agent/startup_settings.h"
#include "include/setting_list.h"
#include "tests/agent/agent_run.h"

namespace {

using testing_support::AgentRun;

class Settings : public AgentRun {};

TEST_F(Settings, HaveTheirDefaultsWhenNothingIsSet) {
  start_up_only();
  EXPECT_EQ(1, g_pingCount);
  EXPECT_EQ(32, g_pingSize);
  EXPECT_EQ(2000, g_pingTimeout);
  EXPECT_EQ(1800000, g_numberOfObjectsInterval);
  EXPECT_EQ(1, g_sleepWhileIterating);
  EXPECT_EQ(0, g_cacheInterval);
  EXPECT_EQ(0, g_sysvolTestInterval);
  EXPECT_EQ(1, g_forceReplication);
  for (const char* text :
       {"Main: Caching is turned OFF for Number OF Objects thread, assigning default value",
        "Main: DWA_WAIT_TIME variable not found, enabling sleep", "Main: Caching is turned OFF",
        "Main: Sysvol replication feature turned off",
        "Main: Sysvol Replication waiting turned off",
        "Main: Sysvol 'FILE_CREATION_AND_REPLICATION_START_GAP' feature turned off",
        "Main: Sysvol 'DWA_SYSVOL_FORCE_REPLICATION_FLAG' not defined so by default force "
        "replication is ENABLED"}) {
    EXPECT_EQ(1u, trace_.count(text)) << text;
  }
}

TEST_F(Settings, PingCountOfZeroIsAcceptedAndTraced) {
  setenv("DWA_PING_COUNT", "0", 1);
  start_up_only();
  EXPECT_EQ(0, g_pingCount);
  EXPECT_EQ(1u, trace_.count("Main: DWA_PING_COUNT 0."));
}

TEST_F(Settings, NegativePingCountBecomesTheDefaultWithoutATrace) {
  setenv("DWA_PING_COUNT", "-5", 1);
  start_up_only();
  EXPECT_EQ(1, g_pingCount);
  EXPECT_FALSE(trace_.contains("DWA_PING_COUNT"));
}

TEST_F(Settings, PingSizeAndTimeoutAreTakenAndTraced) {
  setenv("DWA_PING_SIZE", "64", 1);
  setenv("DWA_PING_TIMEOUT", "500", 1);
  start_up_only();
  EXPECT_EQ(64, g_pingSize);
  EXPECT_EQ(500, g_pingTimeout);
  EXPECT_EQ(1u, trace_.count("Main: DWA_PING_SIZE is 64."));
  EXPECT_EQ(1u, trace_.count("Main: DWA_PING_TIMEOUT is 500."));
}

struct ObjectCountCase {
  const char* text;
  int period_ms;
};
class ObjectCountPeriod : public AgentRun, public ::testing::WithParamInterface<ObjectCountCase> {};
TEST_P(ObjectCountPeriod, CanOnlyBeLengthened) {
  setenv("DWA_NUMBEROFOBJECTS_TIMEOUT", GetParam().text, 1);
  start_up_only();
  EXPECT_EQ(GetParam().period_ms, g_numberOfObjectsInterval);
  EXPECT_FALSE(trace_.contains("Number OF Objects thread, assigning"));
}
INSTANTIATE_TEST_SUITE_P(Seconds, ObjectCountPeriod,
                         ::testing::Values(ObjectCountCase{"1800", 1800000},
                                           ObjectCountCase{"60", 1800000},
                                           ObjectCountCase{"1801", 1801000}));

TEST_F(Settings, CacheIntervalThatIsNoNumberLeavesCachingOff) {
  setenv("DWA_CACHE_INTERVAL", "abc", 1);
  start_up_only();
  EXPECT_EQ(0, g_cacheInterval);
  EXPECT_EQ(1u,
            trace_.count("Main: Invalid or Zero Caching interval found. Caching is turned OFF"));
}

TEST_F(Settings, CacheIntervalTurnsCachingOn) {
  setenv("DWA_CACHE_INTERVAL", "30", 1);
  start_up_only();
  EXPECT_EQ(30000, g_cacheInterval);
  EXPECT_EQ(1u, trace_.count("Main: Caching is turned ON with interval 30 secs"));
}

TEST_F(Settings, WaitTimeFalseInAnyCaseTurnsSleepingOff) {
  setenv("DWA_ENABLE_WAIT_TIME", "false", 1);
  start_up_only();
  EXPECT_EQ(0, g_sleepWhileIterating);
  EXPECT_EQ(1u, trace_.count("Main:  Do not sleep while Iterating loop"));
}

TEST_F(Settings, WaitTimeOfAnythingElseLeavesSleepingOn) {
  setenv("DWA_ENABLE_WAIT_TIME", "no", 1);
  start_up_only();
  EXPECT_EQ(1, g_sleepWhileIterating);
  EXPECT_EQ(1u, trace_.count("Main: Sleep while Iterating loop"));
}

TEST_F(Settings, SysvolVerificationAsLongAsTheTestStartsNoThreadSilently) {
  setenv("DWA_SYSVOL_REPLICATION_TEST_INTERVAL", "10", 1);
  setenv("DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL", "10", 1);
  start_up_only();
  EXPECT_EQ(nullptr, g_sysvolThreadHandle);
  EXPECT_EQ(600000, g_sysvolTestInterval);
  EXPECT_FALSE(trace_.contains("CollectSysVolRplData"));
}

TEST_F(Settings, SysvolVerificationShorterThanTheTestStartsTheThread) {
  setenv("DWA_SYSVOL_REPLICATION_TEST_INTERVAL", "10", 1);
  setenv("DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL", "9", 1);
  start_up_only();
  EXPECT_NE(nullptr, g_sysvolThreadHandle);
  EXPECT_EQ(540000, g_sysvolVerificationInterval);
  EXPECT_EQ(15000, g_fileCreationGap);
}

TEST_F(Settings, SysvolVerificationUnsetStartsTheThread) {
  setenv("DWA_SYSVOL_REPLICATION_TEST_INTERVAL", "10", 1);
  setenv("FILE_CREATION_AND_REPLICATION_START_GAP", "-3", 1);
  start_up_only();
  EXPECT_NE(nullptr, g_sysvolThreadHandle);
  EXPECT_EQ(15000, g_fileCreationGap);
}

TEST_F(Settings, ForcedReplicationIsSwitchedOffByFalseInAnyCase) {
  setenv("DWA_SYSVOL_FORCE_REPLICATION_FLAG", "FALSE", 1);
  start_up_only();
  EXPECT_EQ(0, g_forceReplication);
  EXPECT_EQ(1u, trace_.count("Main: Sysvol 'DWA_SYSVOL_FORCE_REPLICATION_FLAG'is FALSE so force "
                             "replication is DISABLED"));
}

TEST_F(Settings, ForcedReplicationStaysOnForAnythingElse) {
  setenv("DWA_SYSVOL_FORCE_REPLICATION_FLAG", "0", 1);
  start_up_only();
  EXPECT_EQ(1, g_forceReplication);
  EXPECT_EQ(1u, trace_.count("Main: Sysvol 'DWA_SYSVOL_FORCE_REPLICATION_FLAG' is other than false "
                             "so by default force replication is ENABLED"));
}

TEST(Numbers, OutOfRangeStayAtTheNearestBound) {
  EXPECT_EQ(0, settings::to_number("abc"));
  EXPECT_EQ(12, settings::to_number(" 12x"));
  EXPECT_EQ(2147483647, settings::to_number("99999999999999999999"));
  EXPECT_EQ(-2147483647 - 1, settings::to_number("-99999999999"));
  EXPECT_EQ(2147483647, settings::in_ms(settings::kCacheInterval, 2147484));
  EXPECT_EQ(2000, settings::in_ms(settings::kCacheInterval, 2));
}

}  // namespace
