// The service manager that tests talk to.

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "include/platform/threads.h"
#include "platform/control.h"
#include "platform/kernel/scheduler.h"
#include "platform/service_control.h"
#include "platform/service_control/session.h"

namespace platform::service_control {

namespace {
constexpr std::uint32_t kControlPatience_ms = 30000;
}  // namespace

// Guarded by the scheduler's lock, like the sessions that it talks to.
class SimulatedManager : public Manager {
 public:
  explicit SimulatedManager(std::vector<std::string> arguments)
      : arguments_(std::move(arguments)), began_ms_(clock_now_ms()) {
    status_.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status_.dwCurrentState = SERVICE_STOPPED;
  }

  std::vector<std::string> arguments() const override { return arguments_; }

  DWORD report(const SERVICE_STATUS& status, bool late) override {
    const std::int64_t at_ms = clock_now_ms() - began_ms_;
    const DWORD thread = GetCurrentThreadId();
    kernel::Lock lock = kernel::lock_scheduler();
    reports_.push_back({status, at_ms, thread});
    if (!late) set_status(status, lock);
    return 0;
  }

  bool connected(const std::shared_ptr<Session>& session) override {
    kernel::Lock lock = kernel::lock_scheduler();
    session_ = session;
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = SERVICE_START_PENDING;
    set_status(status, lock);
    return true;
  }

  void disconnected(const SERVICE_STATUS& last) override {
    kernel::Lock lock = kernel::lock_scheduler();
    session_.reset();
    if (last.dwCurrentState == SERVICE_STOPPED) return;
    SERVICE_STATUS status{};
    status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
    status.dwCurrentState = SERVICE_STOPPED;
    status.dwWin32ExitCode = ERROR_PROCESS_ABORTED;
    set_status(status, lock);
  }

  std::shared_ptr<Session> session() const {
    const kernel::Lock lock = kernel::lock_scheduler();
    return session_;
  }
  SERVICE_STATUS status() const {
    const kernel::Lock lock = kernel::lock_scheduler();
    return status_;
  }
  std::vector<SimulatedServiceManager::Report> reports() const {
    const kernel::Lock lock = kernel::lock_scheduler();
    return reports_;
  }

  bool wait_for_state(DWORD state, DWORD timeout_ms) {
    kernel::Lock lock = kernel::lock_scheduler();
    const std::int64_t deadline_ns = kernel::scheduler().deadline(timeout_ms);
    while (status_.dwCurrentState != state) {
      kernel::Waiter waiter;
      waiter.call = "SimulatedServiceManager::wait_for_state";
      waiter.objects.push_back(changed_);
      waiter.deadline_ns = deadline_ns;
      if (kernel::block(waiter, lock) == WAIT_TIMEOUT) return status_.dwCurrentState == state;
    }
    return true;
  }

 private:
  void set_status(const SERVICE_STATUS& status, kernel::Lock& lock) {
    status_ = status;
    // Whoever waits is let go by this one and waits for the next with a new one.
    std::exchange(changed_, std::make_shared<kernel::Event>())->signalled = true;
    kernel::let_go(lock);
  }

  const std::vector<std::string> arguments_;
  const std::int64_t began_ms_;
  std::shared_ptr<Session> session_;
  SERVICE_STATUS status_{};
  std::vector<SimulatedServiceManager::Report> reports_;
  std::shared_ptr<kernel::Event> changed_ = std::make_shared<kernel::Event>();
};

namespace {
std::mutex current_lock;
std::weak_ptr<SimulatedManager>& current_manager() {  // guarded by current_lock
  static auto& current = *new std::weak_ptr<SimulatedManager>;
  return current;
}
}  // namespace

std::shared_ptr<Manager> simulated_manager() {
  const std::lock_guard guard(current_lock);
  return current_manager().lock();
}

}  // namespace platform::service_control

namespace platform {

using service_control::Control;
using service_control::Delivery;
using service_control::SimulatedManager;

SimulatedServiceManager::SimulatedServiceManager(std::vector<std::string> arguments)
    : manager_(std::make_shared<SimulatedManager>(std::move(arguments))) {
  const std::lock_guard guard(service_control::current_lock);
  service_control::current_manager() = manager_;
}
SimulatedServiceManager::~SimulatedServiceManager() = default;

std::uint32_t SimulatedServiceManager::control(std::uint32_t code) {
  const auto session = manager_->session();
  if (session == nullptr) return ERROR_SERVICE_NOT_ACTIVE;
  const auto answered = std::make_shared<kernel::Event>();
  const auto answer = std::make_shared<DWORD>(0);
  session->post({code, Delivery::kIfAccepted, answered, answer});
  kernel::Lock lock = kernel::lock_scheduler();
  if (answered->signalled) return *answer;
  kernel::Waiter waiter;
  waiter.call = "SimulatedServiceManager::control";
  waiter.objects.push_back(answered);
  waiter.deadline_ns = kernel::scheduler().deadline(service_control::kControlPatience_ms);
  if (kernel::block(waiter, lock) == WAIT_TIMEOUT) return ERROR_SERVICE_REQUEST_TIMEOUT;
  return *answer;
}

void SimulatedServiceManager::send(std::uint32_t code) {
  const auto session = manager_->session();
  if (session != nullptr) session->post({code, Delivery::kRegardless, nullptr, nullptr});
}

SERVICE_STATUS SimulatedServiceManager::status() const { return manager_->status(); }

bool SimulatedServiceManager::wait_for_state(std::uint32_t state, std::uint32_t timeout_ms) {
  return manager_->wait_for_state(state, timeout_ms);
}

std::vector<SimulatedServiceManager::Report> SimulatedServiceManager::reports() const {
  return manager_->reports();
}

}  // namespace platform
