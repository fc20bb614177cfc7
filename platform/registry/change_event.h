#pragma once
// The event that a watch of the registry signals. It is held beyond the close of its handle.

#include <memory>

#include "include/platform/base.h"

namespace platform {

class ChangeEvent {
 public:
  virtual ~ChangeEvent() = default;
  virtual void signal() = 0;
};

// Null when that is not the handle of an event.
std::shared_ptr<ChangeEvent> change_event(HANDLE handle);

}  // namespace platform
