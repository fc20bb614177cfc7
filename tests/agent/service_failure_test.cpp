// The service protocol with each thing that may fail in it.

#include "tests/agent/service_run.h"

namespace {

using testing_support::kFirstStep;
using testing_support::kMinute_ms;
using testing_support::kSecondStep;
using testing_support::kStillStopping;
using testing_support::kStopped;
using testing_support::ServiceRun;
using testing_support::Told;

class ServiceFailure : public ServiceRun {};

TEST_F(ServiceFailure, DispatcherThatIsRefusedEndsWithItsError) {
  platform::faults::fail("StartServiceCtrlDispatcherA", 1, ERROR_ACCESS_DENIED);
  start_service();
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(ERROR_ACCESS_DENIED, process_->exit_code());
  EXPECT_EQ(1u, trace_.count("Main: Error from StartServiceCtrlDispatcher [5] EXITING"));
}

TEST_F(ServiceFailure, NoControlHandlerTerminatesWithNobodyToTell) {
  platform::faults::fail("RegisterServiceCtrlHandlerA", 1);
  start_service();
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_TRUE(told().empty());
  EXPECT_EQ(ERROR_PROCESS_ABORTED, manager_->status().dwWin32ExitCode);
  expect_in_order({"ServiceMain: Invoked.", "terminate: Terminate request received.",
                   "Termination code: 43b(hex)", "Closing hTerminateEvent",
                   "Main: StartServiceCtrlDispatcher returns TRUE"});
  EXPECT_EQ(0u, trace_.count("ServiceMain: registered the service control handler"));
}

TEST_F(ServiceFailure, AgentThreadThatCannotStartReportsStoppedWithTheError) {
  platform::faults::fail("_beginthreadex", 3);  // behind the collectors' and the object count's
  start_service();
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ((std::vector<Told>{
                kFirstStep, kSecondStep, {SERVICE_STOPPED, 0, 0, ERROR_NOT_ENOUGH_MEMORY}}),
            told());
  EXPECT_EQ(ERROR_NOT_ENOUGH_MEMORY, manager_->status().dwWin32ExitCode);
  EXPECT_EQ(0u, process_->exit_code());
  expect_in_order({"terminate: Terminate request received.", "Termination code: 8(hex)",
                   "Sending SERVICE_STOPPED status to SCM",
                   "Main: StartServiceCtrlDispatcher returns TRUE", "Main: TERMINATION"});
}

TEST_F(ServiceFailure, TerminationThreadThatCannotStartLeavesStopPending) {
  start_service();
  run_until_running();
  platform::faults::fail("_beginthreadex", 1);
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  EXPECT_TRUE(platform::faults::struck());
  EXPECT_EQ(1u, trace_.count("ServiceTerminationThread will run as thread ID:[0] Handle [0x0]"));
  EXPECT_FALSE(process_->wait_for_exit(60 * kMinute_ms));
  EXPECT_EQ(kStillStopping, told().back());
  EXPECT_EQ(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, manager_->control(SERVICE_CONTROL_STOP));
}

// The fourth thread is the framework's.
TEST_F(ServiceFailure, FrameworkThreadThatCannotStartLeavesAServiceThatStops) {
  platform::faults::fail("_beginthreadex", 4);
  start_service();
  run_until_running();
  EXPECT_FALSE(process_->wait_for_exit(60 * kMinute_ms));
  EXPECT_EQ(0u, trace_.count("InvokeFW:  Attached"));
  EXPECT_EQ(1u, trace_.count("MwMain: framework thread started."));
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ(1u, trace_.count("StopService: Terminating MW"));
}

TEST_F(ServiceFailure, WatchThatCannotWaitStopsTheFrameworkAndTheService) {
  platform::faults::fail("MsgWaitForMultipleObjects", 2);
  start_service();
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ(0u, trace_.count("MwMain: XAFMAIN thread handle posted"));
  expect_in_order({"MwMain: EXITING", "ServiceThread: MwMain returned. Calling StopService",
                   "StopService: Terminating MW", "StopService: Triggering termination event"});
  EXPECT_EQ(kStopped, told().back());
}

// A status report that fails, by which one of the protocol's six it is.
struct FailingReport {
  const char* name;
  std::uint32_t nth;
  std::uint32_t reports_before;
};
class ServiceReport : public ServiceRun, public ::testing::WithParamInterface<FailingReport> {};

TEST_P(ServiceReport, ThatFailsEndsTheProcessWithItsError) {
  platform::faults::fail("SetServiceStatus", GetParam().nth, ERROR_INVALID_DATA);
  start_service_that_stops_slowly();
  if (GetParam().nth > 3) {
    run_until_running();
    manager_->send(SERVICE_CONTROL_STOP);
  }
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(ERROR_INVALID_DATA, process_->exit_code());
  EXPECT_EQ(GetParam().reports_before, told().size());
  expect_in_order({"ErrorHandler: Error code: [0xd]", "ErrorHandler: TERMINATION"});
  EXPECT_EQ(0u, trace_.count("Main: StartServiceCtrlDispatcher returns TRUE"));
  EXPECT_EQ(ERROR_PROCESS_ABORTED, manager_->status().dwWin32ExitCode);
}

INSTANTIATE_TEST_SUITE_P(Each, ServiceReport,
                         ::testing::Values(FailingReport{"StartPendingFirst", 1, 0},
                                           FailingReport{"StartPendingSecond", 2, 1},
                                           FailingReport{"Running", 3, 2},
                                           FailingReport{"StopPendingFirst", 4, 3},
                                           FailingReport{"StopPendingSecond", 5, 4},
                                           FailingReport{"Stopped", 6, 5}),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

}  // namespace
