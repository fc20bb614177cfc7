#include "framework/xaf/manager.h"

#include <algorithm>
#include <mutex>

#include "framework/xaf/access.h"
#include "framework/xaf/control.h"

void XaftableList::add(xaftable* object) {
  const auto gap = std::find(objects_.begin(), objects_.end(), nullptr);
  if (gap != objects_.end()) {
    *gap = object;
  } else {
    objects_.push_back(object);
  }
}

void XaftableList::remove(xaftable* object) {
  std::replace(objects_.begin(), objects_.end(), object, static_cast<xaftable*>(nullptr));
}

XaftableListIter::XaftableListIter(XaftableList* list) : list_(list) {}

XaftableListIter::~XaftableListIter() = default;

xaftable* XaftableListIter::Next() {
  while (list_ != nullptr && next_ < list_->slots()) {
    xaftable* const object = list_->at(next_++);
    if (object != nullptr) return object;
  }
  return nullptr;
}

namespace xaf {
namespace {

struct Registry {
  std::mutex mutex;
  // Guarded by mutex. A manager registered under a name that is taken replaces the one before,
  // which lives on here because objects of it may still be sampled.
  std::vector<Registered> active;
  std::vector<TableManager*> replaced;
};

Registry& registry() {
  static Registry* const instance = new Registry;
  return *instance;
}

}  // namespace

std::vector<Registered> registered_managers() {
  const std::lock_guard hold(registry().mutex);
  return registry().active;
}

Registered registered_manager(std::string_view table) {
  const std::lock_guard hold(registry().mutex);
  for (const Registered& entry : registry().active) {
    if (entry.core->table == table) return entry;
  }
  return {};
}

void delete_managers() {
  std::vector<TableManager*> doomed;
  {
    const std::lock_guard hold(registry().mutex);
    for (const Registered& entry : registry().active) doomed.push_back(entry.manager);
    doomed.insert(doomed.end(), registry().replaced.begin(), registry().replaced.end());
    registry().active.clear();
    registry().replaced.clear();
  }
  for (TableManager* manager : doomed) delete manager;
}

std::vector<std::string> registered_tables() {
  std::vector<std::string> names;
  for (const Registered& entry : registered_managers()) names.push_back(entry.core->table);
  return names;
}

}  // namespace xaf

TableManager::TableManager(const char* application, const char* table)
    : state_(new State{std::make_shared<xaf::ManagerCore>()}) {
  state_->core->application = application == nullptr ? "" : application;
  state_->core->table = table == nullptr ? "" : table;
}

TableManager::~TableManager() {
  {
    xaf::Registry& managers = xaf::registry();
    const std::lock_guard hold(managers.mutex);
    std::erase_if(managers.active,
                  [this](const xaf::Registered& entry) { return entry.manager == this; });
    std::erase(managers.replaced, this);
  }
  delete state_;
}

std::uint32_t TableManager::Shutdown(std::uint32_t /*mode*/) { return 0; }

std::uint32_t TableManager::RegisterWithManager(TableManager* manager) {
  if (manager == nullptr) return xaf::kBadArgument;
  xaf::Registry& managers = xaf::registry();
  const std::lock_guard hold(managers.mutex);
  for (xaf::Registered& entry : managers.active) {
    if (entry.manager == manager) return 0;
    if (entry.core->table != manager->state_->core->table) continue;
    managers.replaced.push_back(entry.manager);
    entry = {manager, manager->state_->core};
    return 0;
  }
  managers.active.push_back({manager, manager->state_->core});
  return 0;
}

void TableManager::lock() { state_->core->lock.lock(); }

void TableManager::unlock() { state_->core->lock.unlock(); }

XaftableList* TableManager::List() const { return &state_->core->objects; }
