#include "platform/registry/watches.h"

#include <utility>

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

bool is_below(std::string_view path, std::string_view top) {
  return path.size() > top.size() && path[top.size()] == '\\' &&
         equal_without_case(path.substr(0, top.size()), top);
}

}  // namespace

bool RegistryWatches::add(Watch watch, HANDLE event) {
  watch.event = change_event(event);
  if (watch.event == nullptr) return false;
  watches_.push_back(std::move(watch));
  return true;
}

template <typename Condition>
void RegistryWatches::signal_if(Condition condition) {
  std::vector<Watch> left;
  left.reserve(watches_.size());
  std::vector<Watch> gone;
  for (Watch& watch : watches_) (condition(watch) ? gone : left).push_back(std::move(watch));
  watches_ = std::move(left);
  for (const Watch& watch : gone) watch.event->signal();
}

void RegistryWatches::changed(std::string_view path, DWORD what) {
  signal_if([path, what](const Watch& watch) {
    if ((watch.filter & what) == 0) return false;
    return equal_without_case(path, watch.path) || (watch.sub_tree && is_below(path, watch.path));
  });
}

void RegistryWatches::removed(std::string_view path) {
  signal_if([path](const Watch& watch) { return equal_without_case(path, watch.path); });
}

void RegistryWatches::closed(std::uintptr_t handle) {
  signal_if([handle](const Watch& watch) { return watch.handle == handle; });
}

}  // namespace platform
