// How the process starts, by its arguments and with each thing that may fail.

#include "agent/agent_thread.h"
#include "tests/agent/agent_run.h"

namespace {

using testing_support::AgentRun;

class StartUp : public AgentRun {
 protected:
  // The framework ends after this long.
  void stop_after(std::uint32_t ms) {
    xaf::Configuration configuration;
    configuration.node_name = "NODE1";
    configuration.sink = "none";
    configuration.trace_flags = 1 | 128;
    configuration.only_tables = {"DCWNTDSRDS"};
    configuration.stop_after_ms = ms;
    configure(configuration);
  }
};

TEST_F(StartUp, FollowsItsOrder) {
  setenv("DWA_CACHE_INTERVAL", "60", 1);
  start_up_only();
  expect_in_order({"Main: Entry", "Main: CriticalSection intialized",
                   "Main: Shutdown event [DCWSHUTDOWN] created",
                   "Main: Caching is turned OFF for Number OF Objects thread, assigning default "
                   "value",
                   "Main: DWA_WAIT_TIME variable not found, enabling sleep",
                   "Main: Caching is turned ON with interval 60 secs",
                   "Main: Sysvol replication feature turned off", "Main: Illegal startup option",
                   "Main: CriticalSection deleted", "Main: ABNORMAL TERMINATION"});
}

TEST_F(StartUp, WithTheLowerCaseWordIsConsoleMode) {
  stop_after(1000);
  start({"test"});
  EXPECT_FALSE(process_->wait_for_exit(60000));
  expect_in_order({"Main: Console Mode", "Main: Going to InitService",
                   "InitService: Attaching a new thread for agent", "Main: Dropping into main wait",
                   "Main: Returned from main wait"});
}

TEST_F(StartUp, WithAnIllegalOptionExitsWithTheThreadsAlreadyStarted) {
  start({"-test"});
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(1u, process_->exit_code());
  EXPECT_EQ(1u, trace_.count("Main: Illegal startup option"));
  EXPECT_EQ(1u, trace_.count("Main: ABNORMAL TERMINATION"));
  EXPECT_TRUE(trace_.contains("Main: Shutdown event [DCWSHUTDOWN] created"));
  EXPECT_NE(nullptr, hTerminateEvent);
}

TEST_F(StartUp, WithTwoArgumentsLooksAtTheFirstAlone) {
  stop_after(1000);
  start({"TEST", "-x"});
  EXPECT_FALSE(process_->wait_for_exit(60000));
  EXPECT_EQ(1u, trace_.count("Main: Console Mode"));
  EXPECT_EQ(0u, trace_.count("Main: Illegal startup option"));
}

TEST_F(StartUp, WithALongArgumentReadsNoFurtherThanItsBuffer) {
  start({std::string(500, 'T')});
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(1u, process_->exit_code());
}

TEST_F(StartUp, WithoutAnArgumentPrintsTheUsageAndAsksTheServiceManager) {
  testing::internal::CaptureStdout();
  start({});
  const bool exited = process_->wait_for_exit(60000);
  const std::string printed = testing::internal::GetCapturedStdout();
  ASSERT_TRUE(exited);
  EXPECT_EQ(
      "use:\n\tDirWatcher TEST - To run as a console application for debugging.'\n\tDirWatcher"
      " - With no arguments to run as a service under the Service Control Manager\n\n"
      "StartServiceCtrlDispatcher being called.\nThis may take several seconds.  Please wait...\n"
      "\n",
      printed);
  // No service manager started this program.
  EXPECT_EQ(1063u, process_->exit_code());
  expect_in_order({"Main: Register with the SCM.", "Service Control Dispatcher ",
                   "Main: Error from StartServiceCtrlDispatcher [1063] EXITING",
                   "Main: CriticalSection deleted", "ErrorHandler: Error code: [0x427]",
                   "ErrorHandler: TERMINATION"});
}

// Nothing but the lock keeps the first cached collection behind the collectors that it reads.
TEST_F(StartUp, StartsNoOtherThreadBeforeTheAllocationHoldsItsLock) {
  setenv("DWA_CACHE_INTERVAL", "60", 1);
  SYS1_GetLock(&g_collectLock);
  start({"-test"});
  EXPECT_FALSE(process_->wait_for_exit(10000));
  EXPECT_EQ(0u, trace_.count("Main: Caching is turned ON with interval 60 secs"));
  EXPECT_EQ(0u, trace_.count("No count of the domain's objects is built yet."));
  SYS1_ReleaseLock(&g_collectLock);
  EXPECT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(1u, trace_.count("Main: Caching is turned ON with interval 60 secs"));
  EXPECT_EQ(nullptr, g_allocationHasLock);
}

TEST_F(StartUp, BuildsTheCollectorsBeforeTheFirstCachedCollection) {
  setenv("DWA_CACHE_INTERVAL", "60", 1);
  stop_after(1000);
  start({"TEST"});
  EXPECT_FALSE(process_->wait_for_exit(30000));
  const auto lines = trace_.lines();
  const auto line_of = [&](auto wanted) {
    return std::find_if(lines.begin(), lines.end(), wanted) - lines.begin();
  };
  const auto built =
      line_of([](const trc::Line& line) { return line.text == "*****CREATED OBJECTS*****"; });
  const auto collected =
      line_of([](const trc::Line& line) { return line.function == "CollectData"; });
  EXPECT_LT(built, collected);
  EXPECT_LT(collected, static_cast<std::ptrdiff_t>(lines.size()));
}

// Each row of what may fail.

TEST_F(StartUp, WaitsForTheAllocationsEndWithoutTheEventThatTellsItsLock) {
  platform::faults::fail("CreateEventA", 3);
  start_up_only();
  expect_in_order({"*****CREATED OBJECTS*****", "Main: Illegal startup option"});
}

TEST_F(StartUp, GoesOnWithoutTheRegistryBranch) {
  start_up_only();
  EXPECT_EQ(1u, trace_.count("Main: Entry"));
}

TEST_F(StartUp, GoesOnWithoutTheWindowClass) {
  platform::faults::fail("RegisterClassA", 1);
  start_up_only();
  EXPECT_EQ(1u, trace_.count("Main: Entry"));
}

TEST_F(StartUp, EndsWithCodeZeroWithoutTheShutdownEvent) {
  platform::faults::fail("CreateEventA", 1, 5);
  start({"TEST"});
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(0u, process_->exit_code());
  expect_in_order({"Main: Shutdown event [DCWSHUTDOWN] creation failed",
                   "terminate: Terminate request received.", "Termination code: 5(hex)",
                   "Main: CriticalSection deleted", "Main: ERROR TERMINATION"});
}

TEST_F(StartUp, GoesOnWithoutTheAllocationEvent) {
  platform::faults::fail("CreateEventA", 2);
  start_up_only();
  EXPECT_EQ(1u, trace_.count("Main: AllocateGlobals event creation failed"));
}

TEST_F(StartUp, GoesOnWithoutAnyBackgroundThread) {
  setenv("DWA_CACHE_INTERVAL", "60", 1);
  setenv("DWA_SYSVOL_REPLICATION_TEST_INTERVAL", "10", 1);
  platform::faults::fail("_beginthreadex", 0);
  start({"-test"});
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ((std::vector<std::string>{"Main: AllocateGlobal() Thread failed ",
                                      "Main: collectNumberOfObjectsInDomain() Thread failed ",
                                      "Main: collectandCacheDCAData() Thread failed ",
                                      "Main: collectandCacheDNSAdData() Thread failed ",
                                      "Main: collectandCacheDRAData() Thread failed ",
                                      "Main: collectandCacheDCPData() Thread failed ",
                                      "Main: collectandCacheRLTData() Thread failed ",
                                      "Main: collectandCacheRPLData() Thread failed ",
                                      "Main: collectandCacheTRSData() Thread failed ",
                                      "Main: collectandCacheTTPData() Thread failed ",
                                      "Main: CollectSysVolRplData() Thread failed "}),
            among({"Main: AllocateGlobal() Thread failed ",
                   "Main: collectNumberOfObjectsInDomain() Thread failed ",
                   "Main: collectandCacheDCAData() Thread failed ",
                   "Main: collectandCacheDNSAdData() Thread failed ",
                   "Main: collectandCacheDRAData() Thread failed ",
                   "Main: collectandCacheDCPData() Thread failed ",
                   "Main: collectandCacheRLTData() Thread failed ",
                   "Main: collectandCacheRPLData() Thread failed ",
                   "Main: collectandCacheTRSData() Thread failed ",
                   "Main: collectandCacheTTPData() Thread failed ",
                   "Main: CollectSysVolRplData() Thread failed "}));
}

TEST_F(StartUp, EndsWithCodeZeroWhenTheAgentThreadCannotStart) {
  platform::faults::fail("_beginthreadex", 3);  // behind the allocation and the object count
  start({"TEST"});
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_TRUE(trace_.contains("InitService: _beginthread failed errno<"));
  expect_in_order({"Main: Going to InitService", "terminate: Terminate request received.",
                   "Closing hTerminateEvent", "Main: InitService returned FAILURE",
                   "Main: ERROR TERMINATION"});
}

TEST_F(StartUp, TracesWhyAThreadDidNotStart) {
  DCW_TRACE("test");
  agent::trace_start_failure(trace, -1, 11, 0);
  agent::trace_start_failure(trace, -1, 22, 0);
  agent::trace_start_failure(trace, -1, 12, 0);
  agent::trace_start_failure(trace, 0, 12, 8);
  EXPECT_EQ((std::vector<std::string>{
                "InitService: _beginthread failed too many threads, cannot start service",
                "InitService: _beginthread failed, invalid arg or stack size, cannot start service",
                "InitService: _beginthread failed RC=-1, cannot start service",
                "InitService: _beginthread failed errno<12> doserrno<8>, cannot start service"}),
            trace_.texts());
}

}  // namespace
