#pragma once
// What stands behind a TableManager: its names, its lock, the list of its live objects; and the
// registry of all managers.

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "framework/xaf/waiting.h"
#include "xaf.h"

// The live objects of a manager. Guarded by the manager's lock. An object that goes leaves its slot
// empty, so that a walk that is under way stays in step.
class XaftableList {
 public:
  void add(xaftable* object);
  void remove(xaftable* object);
  std::size_t slots() const { return objects_.size(); }
  xaftable* at(std::size_t slot) const { return objects_[slot]; }

 private:
  std::vector<xaftable*> objects_;
};

namespace xaf {

// Shared by the manager and its objects, so that either may go first.
struct ManagerCore {
  std::string application;
  std::string table;
  CriticalSection lock;  // held for the whole of a sample, and of an event's walk
  XaftableList objects;  // guarded by lock
};

struct Registered {
  TableManager* manager = nullptr;
  std::shared_ptr<ManagerCore> core;
};

// In the order of registration.
std::vector<Registered> registered_managers();
// The latest registered of that name; a null manager when there is none.
Registered registered_manager(std::string_view table);
// Deletes every manager that was handed over.
void delete_managers();

}  // namespace xaf

struct TableManager::State {
  std::shared_ptr<xaf::ManagerCore> core;
};
