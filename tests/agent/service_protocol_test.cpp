// The service protocol before a service manager: each state, control and trace.

#include <set>

#include "tests/agent/service_run.h"

namespace {

using testing_support::kFirstStep;
using testing_support::kMinute_ms;
using testing_support::kRunning;
using testing_support::kSecondStep;
using testing_support::kStillStopping;
using testing_support::kStopped;
using testing_support::kStopping;
using testing_support::ServiceRun;
using testing_support::Told;

class ServiceStart : public ServiceRun {};
class ServiceControls : public ServiceRun {};
class ServiceStop : public ServiceRun {};

// Each transition of the service's states.

TEST_F(ServiceStart, EntryReportsTheFirstStep) {
  start_service();
  run_until_running();
  const auto first = manager_->reports().at(0).status;
  EXPECT_EQ(kFirstStep, told().at(0));
  EXPECT_EQ(16u, first.dwServiceType);
  EXPECT_EQ(0u, first.dwControlsAccepted);
  EXPECT_EQ(0u, first.dwServiceSpecificExitCode);
  expect_in_order({"Main: Register with the SCM.", "ServiceMain: Invoked.",
                   "ServiceMain: registered the service control handler",
                   "SendStatusToSCM: Sending [SERVICE_START_PENDING] status to SCM",
                   "ServiceMain: Sent first status. May have to re-register DLL"});
}

TEST_F(ServiceStart, ArgumentsLookedAtReportsTheSecondStep) {
  start_service();
  run_until_running();
  EXPECT_EQ(kSecondStep, told().at(1));
  EXPECT_EQ(0u, manager_->reports().at(1).status.dwControlsAccepted);
  expect_in_order({"ServiceMain: Sent first status. May have to re-register DLL",
                   "SendStatusToSCM: Sending [SERVICE_START_PENDING] status to SCM",
                   "ServiceMain: Sent second status. Calling InitService",
                   "InitService: Attaching a new thread for agent"});
}

TEST_F(ServiceStart, AgentThreadStartedReportsRunning) {
  start_service();
  run_until_running();
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning}), told());
  EXPECT_EQ(SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN,
            manager_->reports().at(2).status.dwControlsAccepted);
  expect_in_order({"InitService: Returned from service thread attach.",
                   "ServiceMain: Returned from InitService",
                   "SendStatusToSCM: Sending [SERVICE_RUNNING] status to SCM",
                   "ServiceMain: Marked service as running. Now waiting for terminate event"});
  EXPECT_FALSE(process_->wait_for_exit(60 * kMinute_ms));
  EXPECT_EQ(3u, told().size());
}

TEST_F(ServiceStop, ControlReportsStopPendingTwice) {
  start_service_that_stops_slowly();
  run_until_running();
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kStopping, kStillStopping}),
            told());
  EXPECT_EQ(0u, manager_->reports().at(3).status.dwControlsAccepted);
  EXPECT_EQ(0u, manager_->reports().at(4).status.dwControlsAccepted);
  expect_in_order({"ServiceCtrlHandler: Invoked.",
                   "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_STOP",
                   "SendStatusToSCM: Sending [SERVICE_STOP_PENDING] status to SCM",
                   "LaunchServiceTerminationThread: Service termination requested.",
                   "SendStatusToSCM: Sending [SERVICE_STOP_PENDING] status to SCM",
                   "ServiceCtrlHandler: Returning control to SCM."});
}

TEST_F(ServiceStop, TerminateEventReportsStopped) {
  start_service_that_stops_slowly();
  run_until_running();
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ(
      (std::vector<Told>{kFirstStep, kSecondStep, kRunning, kStopping, kStillStopping, kStopped}),
      told());
  EXPECT_EQ(SERVICE_STOPPED, manager_->status().dwCurrentState);
  expect_in_order({"ServiceTerminationThread: Attached.",
                   "ServiceTerminationThread: Stopping service.",
                   "StopService: Attempting shutdown", "StopService: Terminating MW",
                   "StopService: Triggering termination event",
                   "ServiceMain: Returned from termination event wait",
                   "terminate: Terminate request received.", "Termination code: 0(hex)",
                   "Closing hTerminateEvent", "Sending SERVICE_STOPPED status to SCM",
                   "SendStatusToSCM: Sending [SERVICE_STOPPED] status to SCM",
                   "Closing hThreadHandle", "Main: StartServiceCtrlDispatcher returns TRUE",
                   "Main: CriticalSection deleted", "Main: TERMINATION"});
}

TEST_F(ServiceStop, GivesBackCountersFilesAndPipes) {
  start_service_that_stops_slowly();
  run_until_running();
  Sleep(90000);
  EXPECT_EQ(1u, platform::accounting::live().count("pdh query"));
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  const auto left = process_->left_alive();
  for (const char* kind : {"pdh query", "pdh counter", "file", "pipe", "registry key", "interface",
                           "bstr", "safe array", "enumerator", "local memory"}) {
    EXPECT_EQ(0u, left.count(kind)) << kind;
  }
}

TEST_F(ServiceStop, FrameworkThatEndsByItselfReportsNothingUntilStopped) {
  one_table(30000);
  start_service();
  ASSERT_TRUE(process_->wait_for_exit(2 * kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kStopped}), told());
  EXPECT_GE(manager_->reports().at(3).at_ms, 30000);
  EXPECT_EQ(0u, trace_.count("StopService: Terminating MW"));
  EXPECT_EQ(1u, trace_.count("StopService: Attempting shutdown"));
  EXPECT_EQ(0u, trace_.count("ServiceCtrlHandler: Invoked."));
}

TEST_F(ServiceStop, FrameworkThatWillNotStartStopsTheService) {
  one_table(0, "NO SUCH TABLE");
  start_service();
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kStopped}), told());
}

// A system shutdown, from whatever state, ends the process at once.

TEST_F(ServiceStop, ShutdownWhileRunningReportsStoppedAndEndsWithoutTheStop) {
  start_service_that_stops_slowly();
  run_until_running();
  const std::int64_t before_ms = time_->elapsed_ms();
  manager_->send(SERVICE_CONTROL_SHUTDOWN);
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(before_ms, time_->elapsed_ms());
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kStopped}), told());
  expect_in_order({"ServiceCtrlHandler: Control Code - SERVICE_CONTROL_SHUTDOWN",
                   "SendStatusToSCM: Sending [SERVICE_STOPPED] status to SCM",
                   "LaunchServiceShutdown: TERMINATION"});
  EXPECT_EQ(0u, trace_.count("StopService: Attempting shutdown"));
  EXPECT_EQ(0u, trace_.count("Deleting Sysvol Related Files"));
  EXPECT_EQ(0u, trace_.count("terminate: Terminate request received."));
  EXPECT_EQ(0u, trace_.count("ServiceCtrlHandler: Returning control to SCM."));
}

TEST_F(ServiceStop, ShutdownDuringTheStartEndsTheProcess) {
  platform::faults::at_call("SetServiceStatus", 2,
                            [this] { manager_->send(SERVICE_CONTROL_SHUTDOWN); });
  start_service();
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ(kFirstStep, told().front());
  EXPECT_EQ(SERVICE_STOPPED, manager_->status().dwCurrentState);
  EXPECT_EQ(1u, trace_.count("LaunchServiceShutdown: TERMINATION"));
}

TEST_F(ServiceStop, ShutdownDuringTheStopEndsTheProcessBeforeTheStopIsDone) {
  start_service_that_stops_slowly();
  run_until_running();
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  manager_->send(SERVICE_CONTROL_SHUTDOWN);
  ASSERT_TRUE(process_->wait_for_exit(1));
  EXPECT_EQ(kStopped, told().back());
  EXPECT_EQ(0u, trace_.count("StopService: Triggering termination event"));
}

// A service manager sends it only to a service that accepts it.
TEST_F(ServiceStop, ShutdownIsAcceptedWhileRunning) {
  start_service();
  run_until_running();
  EXPECT_EQ(ERROR_PROCESS_ABORTED, manager_->control(SERVICE_CONTROL_SHUTDOWN));
  EXPECT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(1u, trace_.count("LaunchServiceShutdown: TERMINATION"));
}

// The controls that change nothing.

TEST_F(ServiceControls, PauseIsNotAcceptedByTheRunningService) {
  start_service();
  run_until_running();
  EXPECT_EQ(ERROR_INVALID_SERVICE_CONTROL, manager_->control(SERVICE_CONTROL_PAUSE));
  EXPECT_EQ(ERROR_INVALID_SERVICE_CONTROL, manager_->control(SERVICE_CONTROL_CONTINUE));
  EXPECT_EQ(0u, trace_.count("ServiceCtrlHandler: Invoked."));
}

TEST_F(ServiceControls, PauseThatComesAllTheSameRepeatsTheState) {
  start_service();
  run_until_running();
  manager_->send(SERVICE_CONTROL_PAUSE);
  Sleep(1);
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kRunning}), told());
  expect_in_order({"ServiceCtrlHandler: Invoked.",
                   "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_PAUSE is not supported.  "
                   "Ignored.",
                   "SendStatusToSCM: Sending [SERVICE_RUNNING] status to SCM",
                   "ServiceCtrlHandler: Returning control to SCM."});
}

TEST_F(ServiceControls, ContinueThatComesAllTheSameRepeatsTheState) {
  start_service();
  run_until_running();
  manager_->send(SERVICE_CONTROL_CONTINUE);
  Sleep(1);
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kRunning}), told());
  expect_in_order({"ServiceCtrlHandler: Invoked.",
                   "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_CONTINUE is not "
                   "supported.  Ignored.",
                   "SendStatusToSCM: Sending [SERVICE_RUNNING] status to SCM",
                   "ServiceCtrlHandler: Returning control to SCM."});
}

TEST_F(ServiceControls, InterrogateRepeatsTheState) {
  start_service();
  run_until_running();
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_INTERROGATE));
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kRunning}), told());
  EXPECT_EQ(SERVICE_ACCEPT_STOP | SERVICE_ACCEPT_SHUTDOWN,
            manager_->reports().back().status.dwControlsAccepted);
  expect_in_order({"ServiceCtrlHandler: Invoked.",
                   "ServiceCtrlHandler: Control Code - SERVICE_CONTROL_INTERROGATE",
                   "SendStatusToSCM: Sending [SERVICE_RUNNING] status to SCM",
                   "ServiceCtrlHandler: Returning control to SCM."});
}

TEST_F(ServiceControls, UndefinedOneIsTracedInThreeLinesAndRepeatsTheState) {
  start_service();
  run_until_running();
  EXPECT_EQ(0u, manager_->control(0x80));
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kRunning}), told());
  const auto texts =
      among({"ServiceCtrlHandler: Invoked.", "ServiceCtrlHandler: Control Code - 0x", "80",
             " undefined.  Ignored.", "ServiceCtrlHandler: Returning control to SCM."});
  EXPECT_EQ((std::vector<std::string>{
                "ServiceCtrlHandler: Invoked.", "ServiceCtrlHandler: Control Code - 0x", "80",
                " undefined.  Ignored.", "ServiceCtrlHandler: Returning control to SCM."}),
            texts);
}

TEST_F(ServiceControls, DuringTheStopRepeatStopPendingWithCheckPointZero) {
  start_service_that_stops_slowly();
  run_until_running();
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  for (const DWORD code :
       {SERVICE_CONTROL_PAUSE, SERVICE_CONTROL_CONTINUE, SERVICE_CONTROL_INTERROGATE, 0x80}) {
    manager_->send(code);
    Sleep(1);
    EXPECT_EQ(Told{SERVICE_STOP_PENDING}, told().back()) << code;
  }
  EXPECT_EQ(9u, told().size());
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(kStopped, told().back());
}

TEST_F(ServiceControls, RunOnTheDispatchersThreadAndTheServiceOnAnother) {
  start_service();
  run_until_running();
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_INTERROGATE));
  EXPECT_EQ(0u, manager_->control(0x80));
  const auto reports = manager_->reports();
  ASSERT_EQ(5u, reports.size());
  EXPECT_EQ(reports[0].thread_id, reports[2].thread_id);
  EXPECT_NE(reports[0].thread_id, reports[3].thread_id);
  EXPECT_EQ(reports[3].thread_id, reports[4].thread_id);
}

TEST_F(ServiceControls, DuringTheStartIsRefused) {
  std::uint32_t error = 0;
  platform::faults::at_call("SetServiceStatus", 2,
                            [&] { error = manager_->control(SERVICE_CONTROL_STOP); });
  start_service();
  run_until_running();
  EXPECT_EQ(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, error);
  EXPECT_EQ(0u, trace_.count("ServiceCtrlHandler: Invoked."));
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  EXPECT_TRUE(process_->wait_for_exit(kMinute_ms));
}

TEST_F(ServiceControls, BeforeTheHandlerIsRegisteredIsRefused) {
  std::uint32_t error = 0;
  platform::faults::at_call("RegisterServiceCtrlHandlerA", 1,
                            [&] { error = manager_->control(SERVICE_CONTROL_STOP); });
  start_service();
  run_until_running();
  EXPECT_EQ(ERROR_SERVICE_CANNOT_ACCEPT_CTRL, error);
}

TEST_F(ServiceControls, AfterTheEndFindNoService) {
  start_service();
  run_until_running();
  EXPECT_EQ(0u, manager_->control(SERVICE_CONTROL_STOP));
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(ERROR_SERVICE_NOT_ACTIVE, manager_->control(SERVICE_CONTROL_STOP));
}

// Stops that meet something.

TEST_F(ServiceStop, SentDuringTheStartStillEndsTheProcess) {
  platform::faults::at_call("SetServiceStatus", 2,
                            [this] { manager_->send(SERVICE_CONTROL_STOP); });
  start_service();
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ(1u, trace_.count("ServiceTerminationThread: Stopping service."));
  EXPECT_EQ(SERVICE_STOPPED, manager_->status().dwCurrentState);
  EXPECT_EQ(0u, manager_->status().dwWin32ExitCode);
}

TEST_F(ServiceStop, OfTwoAtOnceOneIsCarriedOut) {
  start_service_that_stops_slowly();
  run_until_running();
  struct Caller {
    Manager* manager;
    std::uint32_t error = 77;
    HANDLE thread = nullptr;
  };
  Caller callers[2] = {{manager_.get()}, {manager_.get()}};
  for (Caller& caller : callers) {
    caller.thread = reinterpret_cast<HANDLE>(_beginthreadex(
        nullptr, 0,
        [](void* argument) -> unsigned {
          auto& self = *static_cast<Caller*>(argument);
          self.error = self.manager->control(SERVICE_CONTROL_STOP);
          return 0;
        },
        &caller, 0, nullptr));
    ASSERT_NE(nullptr, caller.thread);
  }
  for (Caller& caller : callers) {
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(caller.thread, kMinute_ms));
    CloseHandle(caller.thread);
  }
  EXPECT_EQ((std::set<std::uint32_t>{0, ERROR_SERVICE_CANNOT_ACCEPT_CTRL}),
            (std::set<std::uint32_t>{callers[0].error, callers[1].error}));
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(1u, trace_.count("ServiceTerminationThread: Stopping service."));
  EXPECT_EQ(6u, told().size());
}

TEST_F(ServiceStop, SentTwiceRunsTwiceAndEndsOnce) {
  start_service_that_stops_slowly();
  run_until_running();
  manager_->send(SERVICE_CONTROL_STOP);
  manager_->send(SERVICE_CONTROL_STOP);
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning, kStopping, kStillStopping,
                               kStopping, kStillStopping, kStopped}),
            told());
  EXPECT_EQ(2u, trace_.count("ServiceTerminationThread: Stopping service."));
  EXPECT_EQ(1u, trace_.count("Sending SERVICE_STOPPED status to SCM"));
}

// The fifth thread is the loader's: behind the collectors', the object count's, the agent's and the
// framework's.
TEST_F(ServiceStop, WhileTheLoaderIsAboutToRunEndsWithoutASample) {
  std::uint32_t error = 77;
  platform::faults::at_call("_beginthreadex", 5, [&] {
    if (manager_->wait_for_state(SERVICE_RUNNING, kMinute_ms)) {
      error = manager_->control(SERVICE_CONTROL_STOP);
    }
  });
  start_service_that_stops_slowly();
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, error);
  EXPECT_EQ(0u, process_->exit_code());
  EXPECT_EQ(kStopped, told().back());
  EXPECT_EQ(1u, trace_.count("ServiceTerminationThread: Stopping service."));
  EXPECT_EQ(0u, lines_of("TakeSample"));
}

// What the service is started with.

TEST_F(ServiceStart, WithReregInCapitalsSetsTheFlagAndStartsAsUsual) {
  start_service({"REREG"});
  run_until_running();
  EXPECT_EQ(1, g_reregisterDll);
  expect_in_order({"ServiceMain: Sent first status. May have to re-register DLL",
                   "ServiceMain: Argument one: REREG", "ServiceMain: comparison yields [0]",
                   "ServiceMain: indicating DLL to be reregistered",
                   "ServiceMain: Sent second status. Calling InitService"});
  EXPECT_EQ((std::vector<Told>{kFirstStep, kSecondStep, kRunning}), told());
}

TEST_F(ServiceStart, WithAnotherWordLeavesTheFlag) {
  start_service({"register", "rereg"});
  run_until_running();
  EXPECT_EQ(0, g_reregisterDll);
  EXPECT_EQ(1u, trace_.count("ServiceMain: Argument one: register"));
  EXPECT_EQ(0u, trace_.count("ServiceMain: comparison yields [0]"));
  EXPECT_EQ(0u, trace_.count("ServiceMain: indicating DLL to be reregistered"));
}

TEST_F(ServiceStart, WithoutAnArgumentComparesNothing) {
  start_service();
  run_until_running();
  EXPECT_FALSE(trace_.contains("ServiceMain: Argument one"));
  EXPECT_FALSE(trace_.contains("ServiceMain: comparison yields"));
}

// Every state, in words and with what it accepts.
TEST_F(ServiceStart, EachStateHasItsWordsAndItsControls) {
  manager_ = std::make_unique<Manager>();
  start_entry([] {
    InitializeCriticalSection(&g_statusLock);
    const SERVICE_TABLE_ENTRYA table[] = {{ServiceName,
                                           [](DWORD, char**) {
                                             g_serviceStatusHandle = RegisterServiceCtrlHandlerA(
                                                 ServiceName, &ServiceCtrlHandler);
                                             for (const DWORD state : {2, 3, 4, 5, 6, 7, 1})
                                               SendStatusToSCM(state, 0, 0, 0, 0);
                                           }},
                                          {nullptr, nullptr}};
    ExitProcess(StartServiceCtrlDispatcherA(table) ? 0 : 1);
  });
  ASSERT_TRUE(process_->wait_for_exit(kMinute_ms));
  EXPECT_EQ(0u, process_->exit_code());
  expect_in_order({"SendStatusToSCM: Sending [SERVICE_START_PENDING] status to SCM",
                   "SendStatusToSCM: Sending [SERVICE_STOP_PENDING] status to SCM",
                   "SendStatusToSCM: Sending [SERVICE_RUNNING] status to SCM",
                   "SendStatusToSCM: Sending [SERVICE_CONTINUE_PENDING] status to SCM",
                   "SendStatusToSCM: Sending [SERVICE_PAUSE_PENDING] status to SCM",
                   "SendStatusToSCM: Sending [SERVICE_PAUSED] status to SCM",
                   "SendStatusToSCM: Sending [SERVICE_STOPPED] status to SCM"});
  std::vector<DWORD> accepted;
  for (const auto& report : manager_->reports()) {
    accepted.push_back(report.status.dwControlsAccepted);
  }
  EXPECT_EQ((std::vector<DWORD>{0, 0, 5, 0, 0, 7, 0}), accepted);
}

}  // namespace
