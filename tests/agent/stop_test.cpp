// The watch on the framework and the orderly stop.

#include "agent/agent_thread.h"
#include "agent/framework_binding.h"
#include "agent/identity.h"
#include "agent/service.h"
#include "include/platform/threads.h"
#include "include/xaf.h"
#include "tables/classes.h"
#include "tests/agent/agent_run.h"

namespace {

using testing_support::AgentRun;

// Keeps the number of rows of each table.
class Counting : public xaf::Sink {
 public:
  void deliver(const xaf::Delivery& delivery) override { rows[delivery.table] += delivery.count; }
  std::map<std::string, std::uint64_t> rows;
};

class Stop : public AgentRun {
 protected:
  void only(std::vector<std::string> tables, std::uint32_t stop_after_ms = 0) {
    xaf::Configuration configuration;
    configuration.node_name = "NODE1";
    configuration.sink = "none";
    configuration.trace_flags = 1 | 128;
    configuration.only_tables = std::move(tables);
    configuration.stop_after_ms = stop_after_ms;
    configure(configuration);
  }
};

TEST_F(Stop, ARunDeliversRowsAndStopsInOrder) {
  only({"DCWNTDSRDS", "DCWNTDSCNT"});
  const auto sink = std::make_shared<Counting>();
  xaf::add_sink(sink);
  start({"TEST"});
  EXPECT_FALSE(process_->wait_for_exit(35000));
  EXPECT_EQ(1u, sink->rows["DCWNTDSRDS"]);
  EXPECT_EQ(2u, sink->rows["DCWNTDSCNT"]);
  XAF_Shutdown(1);
  // A console run's main thread ends at the first background thread of its walk, and the process
  // lives on.
  EXPECT_FALSE(process_->wait_for_exit(60000));
  expect_in_order({"ServiceThread: Attached.", "ServiceThread: Calling MwMain", "MwMain: Entry",
                   "MwMain: Environment Set", "MwMain: framework thread started.",
                   "MwMain: XAFMAIN thread handle posted", "MwMain: EXITING",
                   "ServiceThread: MwMain returned. Calling StopService",
                   "StopService: Attempting shutdown", "Deleting Sysvol Related Files",
                   "Sysvol ClearEvent is not initilized",
                   "StopService: Triggering termination event", "Main: Returned from main wait"});
  // The framework had ended by itself.
  EXPECT_EQ(0u, trace_.count("StopService: Terminating MW"));
  EXPECT_EQ(1u, trace_.count("ServiceThread: EXITING"));
  EXPECT_EQ(0u, trace_.count("terminate: Terminate request received."));
}

TEST_F(Stop, AFrameworkThatEndsAtOnceEndsTheAgentAtTheNextWait) {
  only({"NO SUCH TABLE"});
  start({"TEST"});
  process_->wait_for_exit(1000);
  EXPECT_EQ(1u, trace_.count("MwMain: XAFMAIN thread handle posted"));
  EXPECT_EQ(0u, trace_.count("StopService: Terminating MW"));
  EXPECT_EQ(1u, trace_.count("StopService: Triggering termination event"));
}

TEST_F(Stop, TheWatchGoesOnAfterEachOfItsPeriods) {
  only({"DCWNTDSRDS"});
  start({"TEST"});
  EXPECT_FALSE(process_->wait_for_exit(3600000));
  EXPECT_EQ(1, g_frameworkRunning);
  EXPECT_EQ(0u, trace_.count("MwMain: EXITING"));
}

TEST_F(Stop, FromOutsideTerminatesTheFrameworkAndRunsTwice) {
  only({"DCWNTDSRDS"});
  start_entry([] {
    char program[] = "DirWatcher";
    char mode[] = "TEST";
    char* arguments[] = {program, mode, nullptr};
    _beginthreadex(
        nullptr, 0,
        [](void*) -> unsigned {
          Sleep(90000);
          LaunchServiceTerminationThread();
          return 0;
        },
        nullptr, 0, nullptr);
    Main(2, arguments);
  });
  EXPECT_FALSE(process_->wait_for_exit(300000));
  expect_in_order({"LaunchServiceTerminationThread: Service termination requested.",
                   "ServiceTerminationThread: Attached.",
                   "ServiceTerminationThread: Stopping service.",
                   "StopService: Attempting shutdown", "StopService: Terminating MW",
                   "StopService: Triggering termination event"});
  EXPECT_EQ(2u, trace_.count("StopService: Attempting shutdown"));
  EXPECT_EQ(1u, trace_.count("StopService: Terminating MW"));
  EXPECT_EQ(1u, trace_.count("ServiceTerminationThread: Exiting."));
  EXPECT_EQ(0, g_frameworkRunning);
}

// Five seconds to end the test, and five for its files.
TEST_F(Stop, WaitsAtMostTwiceFiveSecondsForASysvolTestThatKeepsItsFiles) {
  std::int64_t waited = 0;
  start_entry([&] {
    g_sysvolClearEvent = CreateEventA(nullptr, TRUE, FALSE, "SYSCLRRPL");
    hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const std::int64_t before = time_->elapsed_ms();
    StopService();
    waited = time_->elapsed_ms() - before;
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hTerminateEvent, 0));
    ExitProcess(0);
  });
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(10000, waited);
  EXPECT_EQ(2u, trace_.count("ClearData Timeout..No file has been created."));
  EXPECT_EQ(1u, lines_of("ClearData"));
}

TEST_F(Stop, EndsTheSysvolThreadUnderItsClearEventAndGivesTheEventBack) {
  start_entry([] {
    g_sysvolClearEvent = CreateEventA(nullptr, TRUE, TRUE, "SYSCLRRPL");
    g_sysvolThreadHandle = reinterpret_cast<HANDLE>(_beginthreadex(
        nullptr, 0,
        [](void*) -> unsigned {
          Sleep(INFINITE);
          return 0;
        },
        nullptr, 0, nullptr));
    Sleep(10);
    StopService();
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(g_sysvolThreadHandle, 1000));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(g_sysvolClearEvent, 0));
    ExitProcess(0);
  });
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(1u, lines_of("ClearData"));
  EXPECT_FALSE(trace_.contains("Terminate Thread failed"));
}

TEST_F(Stop, TracesASysvolThreadThatCannotBeEnded) {
  start_entry([] {
    g_sysvolClearEvent = CreateEventA(nullptr, TRUE, TRUE, "SYSCLRRPL");
    g_sysvolThreadHandle = nullptr;
    StopService();
    ExitProcess(0);
  });
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(1u, trace_.count("Terminate Thread failed: 6"));
}

TEST_F(Stop, LeavesTheSysvolThreadWhenItsClearEventCannotBeTaken) {
  start_entry([] {
    g_sysvolClearEvent = CreateEventA(nullptr, TRUE, TRUE, "SYSCLRRPL");
    g_sysvolThreadHandle = nullptr;  // ending it would be traced as a failure
    platform::faults::fail("ResetEvent", 1);
    StopService();
    ExitProcess(0);
  });
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_FALSE(trace_.contains("Terminate Thread failed"));
  EXPECT_EQ(1u, lines_of("ClearData"));
}

TEST_F(Stop, TracesAClearEventThatCannotBeGivenBack) {
  start_entry([] {
    g_sysvolClearEvent = CreateEventA(nullptr, TRUE, TRUE, "SYSCLRRPL");
    g_sysvolThreadHandle = nullptr;
    platform::faults::fail("SetEvent", 1, ERROR_ACCESS_DENIED);
    StopService();
    ExitProcess(0);
  });
  ASSERT_TRUE(process_->wait_for_exit(60000));
  expect_in_order({"Terminate Thread failed: 6", "Release cache lock failed: 5",
                   "StopService: Triggering termination event"});
}

TEST_F(Stop, GoesStraightOnWithoutASysvolTest) {
  std::int64_t waited = -1;
  start_entry([&] {
    hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const std::int64_t before = time_->elapsed_ms();
    StopService();
    waited = time_->elapsed_ms() - before;
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(hTerminateEvent, 0));
    ExitProcess(0);
  });
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(0, waited);
  EXPECT_EQ(1u, trace_.count("Sysvol ClearEvent is not initilized"));
  EXPECT_EQ(0u, lines_of("ClearData"));
}

TEST_F(Stop, TerminateWithoutAServiceReportsNothingAndEndsTheLoops) {
  start_entry([] {
    hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    terminate(0x2a);
    EXPECT_EQ(nullptr, hTerminateEvent);
    ExitProcess(0);
  });
  ASSERT_TRUE(process_->wait_for_exit(60000));
  expect_in_order({"terminate: Terminate request received.", "Termination code: 2a(hex)",
                   "Closing hTerminateEvent"});
  EXPECT_EQ(0u, trace_.count("Sending SERVICE_STOPPED status to SCM"));
  EXPECT_EQ(0u, trace_.count("Closing hThreadHandle"));
}

TEST_F(Stop, ErrorHandlerEndsTheProcessWithTheError) {
  start_entry([] { ErrorHandler(0x5b); });
  ASSERT_TRUE(process_->wait_for_exit(60000));
  EXPECT_EQ(0x5bu, process_->exit_code());
  expect_in_order({"ErrorHandler: Error code: [0x5b]", "ErrorHandler: TERMINATION"});
  EXPECT_EQ(2u, lines_of("Thread_and_ProcessID_Info"));
}

TEST_F(Stop, IdentityIsTracedInDecimalAndHexadecimal) {
  Thread_and_ProcessID_Info();
  const unsigned process = GetCurrentProcessId();
  const unsigned thread = GetCurrentThreadId();
  char text[100];
  std::snprintf(text, sizeof text, "Process ID = [%u,%x] and Thread ID = [%u,%x]", process, process,
                thread, thread);
  EXPECT_EQ(1u, trace_.count(text));
}

TEST_F(Stop, TheLoaderRegistersEveryTableInItsOrder) {
  EXPECT_EQ(0, LoadAgents());
#define DCW_NAME(lower, definition) #definition,
  EXPECT_EQ((std::vector<std::string>{DCW_FOR_EACH_TABLE(DCW_NAME)}), xaf::registered_tables());
#undef DCW_NAME
  EXPECT_EQ(33u, xaf::registered_tables().size());
}

}  // namespace
