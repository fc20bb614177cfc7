// The service protocol where no service manager answers.

#include "agent/service.h"

#include "include/platform/threads.h"
#include "tests/agent/agent_run.h"

namespace {

using testing_support::AgentRun;

class Service : public AgentRun {
 protected:
  void run(void (*entry)()) {
    start_entry([entry] {
      InitializeCriticalSection(&g_statusLock);
      entry();
      ExitProcess(77);
    });
    ASSERT_TRUE(process_->wait_for_exit(60000));
  }
};

TEST_F(Service, StatusReportThatFailsEndsTheProcessWithItsError) {
  run([] { SendStatusToSCM(SERVICE_RUNNING, 0, 0, 0, 0); });
  EXPECT_EQ(6u, process_->exit_code());
  expect_in_order({"SendStatusToSCM: Sending [SERVICE_RUNNING] status to SCM",
                   "ErrorHandler: Error code: [0x6]"});
  EXPECT_EQ(4u, g_serviceStatus.dwCurrentState);
  EXPECT_EQ(5u, g_serviceStatus.dwControlsAccepted);
  EXPECT_EQ(16u, g_serviceStatus.dwServiceType);
}

TEST_F(Service, StatusNamesWhatItDoesNotKnowByNumber) {
  run([] { SendStatusToSCM(9, 3, 12, 4, 500); });
  EXPECT_EQ(1u, trace_.count("SendStatusToSCM: Sending [0x00000009 (Unrecognized)] status to SCM"));
  EXPECT_EQ(0u, g_serviceStatus.dwControlsAccepted);
  EXPECT_EQ(1066u, g_serviceStatus.dwWin32ExitCode);
  EXPECT_EQ(12u, g_serviceStatus.dwServiceSpecificExitCode);
  EXPECT_EQ(4u, g_serviceStatus.dwCheckPoint);
  EXPECT_EQ(500u, g_serviceStatus.dwWaitHint);
}

TEST_F(Service, WithoutAControlHandlerItTerminatesWithTheError) {
  run([] {
    char name[] = "DirWatcher";
    char* arguments[] = {name};
    ServiceMain(1, arguments);
  });
  EXPECT_EQ(77u, process_->exit_code());
  expect_in_order({"ServiceMain: Invoked.", "terminate: Terminate request received.",
                   "Termination code: 43b(hex)"});
  EXPECT_EQ(0u, trace_.count("ServiceMain: registered the service control handler"));
}

TEST_F(Service, UnknownControlIsTracedInThreeLines) {
  run([] { ServiceCtrlHandler(0x80); });
  expect_in_order({"ServiceCtrlHandler: Invoked.", "ServiceCtrlHandler: Control Code - 0x", "80",
                   " undefined.  Ignored."});
}

TEST_F(Service, SystemShutdownReportsStoppedFirst) {
  run([] { ServiceCtrlHandler(SERVICE_CONTROL_SHUTDOWN); });
  expect_in_order({"ServiceCtrlHandler: Control Code - SERVICE_CONTROL_SHUTDOWN",
                   "SendStatusToSCM: Sending [SERVICE_STOPPED] status to SCM"});
}

}  // namespace
