#pragma once
// Who waits for a change in the registry: one event a watch, signalled once.
//
// Not guarded: the registry's calls hold their one lock over all of this. That lock is taken before
// the scheduler's, never after it.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "include/platform/registry.h"
#include "platform/registry/change_event.h"

namespace platform {

class RegistryWatches {
 public:
  struct Watch {
    std::uintptr_t handle;  // whose close ends the watch
    std::string path;       // of the key, from the root's long name on
    bool sub_tree;          // also what happens beneath the key
    DWORD filter;           // REG_NOTIFY_CHANGE_*
    std::shared_ptr<ChangeEvent> event;
  };

  // False when that is not the handle of an event.
  bool add(Watch watch, HANDLE event);

  // Something changed at that key: its values (REG_NOTIFY_CHANGE_LAST_SET) or the list of its
  // sub-keys (REG_NOTIFY_CHANGE_NAME).
  void changed(std::string_view path, DWORD what);
  // The key is no more.
  void removed(std::string_view path);
  void closed(std::uintptr_t handle);
  void clear() { watches_.clear(); }

 private:
  template <typename Condition>
  void signal_if(Condition condition);

  std::vector<Watch> watches_;
};

}  // namespace platform
