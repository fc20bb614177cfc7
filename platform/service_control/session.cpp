#include "platform/service_control/session.h"

#include <algorithm>
#include <exception>
#include <functional>
#include <utility>

namespace platform::service_control {

namespace {

constexpr DWORD kFirstUserControl = 128;
constexpr DWORD kLastUserControl = 255;

DWORD bit_of(DWORD code) {
  switch (code) {
    case SERVICE_CONTROL_STOP:
      return SERVICE_ACCEPT_STOP;
    case SERVICE_CONTROL_PAUSE:
    case SERVICE_CONTROL_CONTINUE:
      return SERVICE_ACCEPT_PAUSE_CONTINUE;
    case SERVICE_CONTROL_SHUTDOWN:
      return SERVICE_ACCEPT_SHUTDOWN;
    default:
      return 0;
  }
}

bool needs_no_acceptance(DWORD code) {
  return code == SERVICE_CONTROL_INTERROGATE ||
         (code >= kFirstUserControl && code <= kLastUserControl);
}

// Tells whether the handler returned, or was unwound because its process ended in it.
class EndOfHandler {
 public:
  explicit EndOfHandler(std::function<void(bool returned)> tell)
      : tell_(std::move(tell)), unwinding_(std::uncaught_exceptions()) {}
  ~EndOfHandler() { tell_(std::uncaught_exceptions() == unwinding_); }
  EndOfHandler(const EndOfHandler&) = delete;
  EndOfHandler& operator=(const EndOfHandler&) = delete;

 private:
  const std::function<void(bool returned)> tell_;
  const int unwinding_;
};

SERVICE_STATUS starting() {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = SERVICE_START_PENDING;
  return status;
}

}  // namespace

Session::Session(std::shared_ptr<Manager> manager, const SERVICE_TABLE_ENTRYA& entry)
    : manager_(std::move(manager)),
      name_(entry.lpServiceName != nullptr ? entry.lpServiceName : ""),
      main_(entry.lpServiceProc),
      status_(starting()) {}

bool Session::run() {
  std::vector<std::string> words = manager_->arguments();
  words.insert(words.begin(), name_);
  const auto body = [words = std::move(words), entry = main_]() mutable -> DWORD {
    std::vector<char*> pointers;
    for (std::string& word : words) pointers.push_back(word.data());
    pointers.push_back(nullptr);
    entry(static_cast<DWORD>(words.size()), pointers.data());
    return 0;
  };
  std::shared_ptr<kernel::Process> process;
  {
    kernel::Lock lock = kernel::lock_scheduler();
    process = kernel::current_thread(lock).process;
  }
  int error = 0;
  const auto service = kernel::start_thread(std::move(process), 0, body, error);
  if (service == nullptr) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return false;
  }
  kernel::Lock lock = kernel::lock_scheduler();
  while (!service->signalled) {
    kernel::Waiter waiter;
    waiter.call = "StartServiceCtrlDispatcherA";
    waiter.objects = {service, wake_};
    if (!wake_->signalled) kernel::block(waiter, lock);
    if (!service->signalled) handle_next(lock);
  }
  // The main function has not returned when it was the process that ended.
  kernel::may_wait(kernel::current_thread(lock));
  return true;
}

void Session::handle_next(kernel::Lock& lock) {
  const auto due = std::find_if(controls_.begin(), controls_.end(),
                                [this](const Control& one) { return is_due(one); });
  if (due == controls_.end()) return;
  const Control control = *due;
  controls_.erase(due);
  set_wake(lock);
  if (const DWORD error = refusal(control); error != 0) return answer(control, error, lock);
  const LPHANDLER_FUNCTION handler = handler_;
  lock.unlock();
  {
    const EndOfHandler end([this, &control](bool returned) {
      kernel::Lock own = kernel::lock_scheduler();
      answer(control, returned ? 0 : ERROR_PROCESS_ABORTED, own);
    });
    handler(control.code);
  }
  lock.lock();
}

bool Session::is_due(const Control& control) const {
  // Not before the first report: no manager sends anything to a service that has said nothing.
  if (handler_ == nullptr || !reported_) return control.delivery == Delivery::kIfAccepted;
  if (control.delivery != Delivery::kOnceAccepted) return true;
  return status_.dwCurrentState != SERVICE_START_PENDING;
}

// As ControlService tells them.
DWORD Session::refusal(const Control& control) const {
  if (control.delivery == Delivery::kRegardless) return 0;
  switch (status_.dwCurrentState) {
    case SERVICE_STOPPED:
      return ERROR_SERVICE_NOT_ACTIVE;
    case SERVICE_START_PENDING:
    case SERVICE_STOP_PENDING:
      return ERROR_SERVICE_CANNOT_ACCEPT_CTRL;
    default:
      break;
  }
  if (needs_no_acceptance(control.code)) return 0;
  const DWORD bit = bit_of(control.code);
  if (bit == 0) return ERROR_INVALID_PARAMETER;
  return (status_.dwControlsAccepted & bit) != 0 ? 0 : ERROR_INVALID_SERVICE_CONTROL;
}

void Session::answer(const Control& control, DWORD error, kernel::Lock& lock) {
  if (control.answered == nullptr) return;
  *control.answer = error;
  control.answered->signalled = true;
  kernel::let_go(lock);
}

void Session::end() {
  kernel::Lock lock = kernel::lock_scheduler();
  ended_ = true;
  for (const Control& control : std::exchange(controls_, {})) {
    answer(control, ERROR_SERVICE_NOT_ACTIVE, lock);
  }
}

void Session::set_wake(kernel::Lock& lock) {
  wake_->signalled = std::any_of(controls_.begin(), controls_.end(),
                                 [this](const Control& one) { return is_due(one); });
  if (wake_->signalled) kernel::let_go(lock);
}

SERVICE_STATUS_HANDLE Session::set_handler(LPHANDLER_FUNCTION handler) {
  kernel::Lock lock = kernel::lock_scheduler();
  handler_ = handler;
  set_wake(lock);
  return this;
}

DWORD Session::report(const SERVICE_STATUS& status) {
  bool late = false;
  {
    const kernel::Lock lock = kernel::lock_scheduler();
    late = status_.dwCurrentState == SERVICE_STOPPED;
  }
  if (const DWORD error = manager_->report(status, late); error != 0) return error;
  if (late) return 0;
  kernel::Lock lock = kernel::lock_scheduler();
  status_ = status;
  reported_ = true;
  set_wake(lock);
  return 0;
}

void Session::post(Control control) {
  kernel::Lock lock = kernel::lock_scheduler();
  if (ended_) return answer(control, ERROR_SERVICE_NOT_ACTIVE, lock);
  controls_.push_back(std::move(control));
  set_wake(lock);
}

SERVICE_STATUS Session::status() const {
  const kernel::Lock lock = kernel::lock_scheduler();
  return status_;
}

}  // namespace platform::service_control
