// The service protocol's calls of a program. A simulated process is a service of the simulated
// manager, when a test has one; a real one of systemd, when that started it; all others are told
// that no service manager started them.

#include <map>
#include <mutex>
#include <utility>

#include "platform/kernel/fault_point.h"
#include "platform/service_control/session.h"

namespace platform::service_control {

namespace {

std::mutex lock;
// By process, null being the hosting program; guarded by lock. Never destroyed: threads may outlive
// main.
auto& sessions = *new std::map<const kernel::Process*, std::shared_ptr<Session>>;

// Holds the process's place for as long as the dispatcher runs, also when its thread is unwound.
class Connection {
 public:
  explicit Connection(std::shared_ptr<Session> session, std::shared_ptr<Manager> manager)
      : session_(std::move(session)),
        manager_(std::move(manager)),
        process_(kernel::current_process()) {
    const std::lock_guard guard(lock);
    sessions.emplace(process_, session_);
  }
  ~Connection() {
    {
      const std::lock_guard guard(lock);
      sessions.erase(process_);
    }
    session_->end();
    manager_->disconnected(session_->status());
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

 private:
  const std::shared_ptr<Session> session_;
  const std::shared_ptr<Manager> manager_;
  const kernel::Process* const process_;
};

BOOL fail(DWORD error) {
  SetLastError(error);
  return FALSE;
}

bool is_a_state(DWORD state) { return state >= SERVICE_STOPPED && state <= SERVICE_PAUSED; }

}  // namespace

std::shared_ptr<Session> current_session() {
  const std::lock_guard guard(lock);
  const auto found = sessions.find(kernel::current_process());
  return found == sessions.end() ? nullptr : found->second;
}

}  // namespace platform::service_control

using platform::service_control::current_session;

BOOL StartServiceCtrlDispatcherA(const SERVICE_TABLE_ENTRYA* table) {
  using namespace platform::service_control;
  if (const auto fault = platform::fault_point("StartServiceCtrlDispatcherA")) {
    return fail(fault->win32());
  }
  if (table == nullptr || table->lpServiceProc == nullptr) return fail(ERROR_INVALID_DATA);
  if (current_session() != nullptr) return fail(ERROR_SERVICE_ALREADY_RUNNING);
  const bool simulated = platform::kernel::current_process() != nullptr;
  const std::shared_ptr<Manager> manager = simulated ? simulated_manager() : systemd_manager();
  if (manager == nullptr) return fail(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
  const auto session = std::make_shared<Session>(manager, *table);
  const Connection connection(session, manager);
  if (!manager->connected(session)) return fail(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT);
  return session->run() ? TRUE : FALSE;
}

SERVICE_STATUS_HANDLE RegisterServiceCtrlHandlerA(const char*, LPHANDLER_FUNCTION handler) {
  const auto fault = platform::fault_point("RegisterServiceCtrlHandlerA");
  const auto session = current_session();
  if (!fault && session != nullptr && handler != nullptr) return session->set_handler(handler);
  SetLastError(fault ? fault->win32() : ERROR_SERVICE_NOT_IN_EXE);
  return nullptr;
}

BOOL SetServiceStatus(SERVICE_STATUS_HANDLE service, SERVICE_STATUS* status) {
  using namespace platform::service_control;
  if (const auto fault = platform::fault_point("SetServiceStatus")) return fail(fault->win32());
  const auto session = current_session();
  if (session == nullptr || service != session.get()) return fail(ERROR_INVALID_HANDLE);
  if (!is_a_state(status->dwCurrentState)) return fail(ERROR_INVALID_DATA);
  const DWORD error = session->report(*status);
  return error == 0 ? TRUE : fail(error);
}
