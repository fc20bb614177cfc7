#pragma once
// One process's connection to whoever manages services: the dispatcher's loop, the controls on
// their way to the handler, and the last status. Who stands at the other end is a Manager: the
// simulated one of tests, or systemd.

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "include/platform/service_manager.h"
#include "platform/kernel/process.h"
#include "platform/kernel/scheduler.h"

namespace platform::service_control {

class Session;

// The other end. Called without the scheduler's lock, by whichever thread reports.
class Manager {
 public:
  virtual ~Manager() = default;
  // A process has become the service; false when this end cannot be had.
  virtual bool connected(const std::shared_ptr<Session>& session) = 0;
  virtual std::vector<std::string> arguments() const = 0;
  // 0, or the error that SetServiceStatus gives. late: behind the report of the end.
  virtual DWORD report(const SERVICE_STATUS& status, bool late) = 0;
  // The service's process is no service any longer; last is what it reported last.
  virtual void disconnected(const SERVICE_STATUS& last) = 0;
};

enum class Delivery {
  kRegardless,    // as soon as the service has reported a status
  kIfAccepted,    // in its turn, or refused
  kOnceAccepted,  // stays at hand until the service accepts it; dropped when it is on its way down
};

struct Control {
  DWORD code;
  Delivery delivery;
  std::shared_ptr<kernel::Event> answered;  // null: nobody waits for the answer
  std::shared_ptr<DWORD> answer;            // 0 or an error
};

class Session {
 public:
  Session(std::shared_ptr<Manager> manager, const SERVICE_TABLE_ENTRYA& entry);

  // The dispatcher's life: starts the service's main function on a thread of its own and hands
  // controls to the handler until that function has returned. False with the last error set when
  // the thread cannot be had.
  bool run();
  // Refuses what is left of the controls and all that come. The process is no service any longer.
  void end();

  // Everything below is for any thread.
  SERVICE_STATUS_HANDLE set_handler(LPHANDLER_FUNCTION handler);
  DWORD report(const SERVICE_STATUS& status);
  void post(Control control);
  SERVICE_STATUS status() const;

 private:
  // All with the scheduler's lock held.
  void set_wake(kernel::Lock& lock);
  bool is_due(const Control& control) const;
  DWORD refusal(const Control& control) const;
  static void answer(const Control& control, DWORD error, kernel::Lock& lock);
  // Gives the lock up while the handler runs.
  void handle_next(kernel::Lock& lock);

  const std::shared_ptr<Manager> manager_;
  const std::string name_;
  const LPSERVICE_MAIN_FUNCTIONA main_;
  // Guarded by the scheduler's lock.
  LPHANDLER_FUNCTION handler_ = nullptr;
  std::deque<Control> controls_;
  std::shared_ptr<kernel::Event> wake_ = std::make_shared<kernel::Event>();
  SERVICE_STATUS status_{};
  bool reported_ = false;
  bool ended_ = false;
};

// Null when the calling thread's process is no service.
std::shared_ptr<Session> current_session();

// The manager that the calling process can be a service of, or null: for a simulated process the
// one of the test, for the hosting program systemd when that started it.
std::shared_ptr<Manager> simulated_manager();
std::shared_ptr<Manager> systemd_manager();

}  // namespace platform::service_control
