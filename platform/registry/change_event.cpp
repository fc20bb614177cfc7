#include "platform/registry/change_event.h"

#include <utility>

#include "platform/kernel/scheduler.h"

namespace platform {
namespace {

class KernelEvent : public ChangeEvent {
 public:
  explicit KernelEvent(std::shared_ptr<kernel::Event> event) : event_(std::move(event)) {}
  void signal() override {
    kernel::Lock lock = kernel::lock_scheduler();
    kernel::current_thread(lock);
    event_->signalled = true;
    kernel::let_go(lock);
  }

 private:
  const std::shared_ptr<kernel::Event> event_;
};

}  // namespace

std::shared_ptr<ChangeEvent> change_event(HANDLE handle) {
  kernel::Lock lock = kernel::lock_scheduler();
  auto found = kernel::find_object<kernel::Event>(handle, kernel::Kind::kEvent, lock);
  return found == nullptr ? nullptr : std::make_shared<KernelEvent>(std::move(found));
}

}  // namespace platform
