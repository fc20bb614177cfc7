// Writing the environment. getenv takes no lock, so a reader may hold a text or walk the array
// while another thread writes: nothing that was ever in place is freed or moved, and every step is
// the store of one pointer. What that keeps is bounded by the number of changes, and an assignment
// of the value that stands already changes nothing.

#include "platform/environment.h"

#include <strings.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/kernel/fault_point.h"

namespace {

std::mutex lock;
// Guarded by lock; never freed.
auto& texts = *new std::deque<std::string>;
auto& arrays = *new std::deque<std::unique_ptr<char*[]>>;
std::size_t room = 0;  // slots of the newest array, its null end included

std::atomic_ref<char*> slot(std::size_t index) { return std::atomic_ref<char*>(environ[index]); }

std::size_t count_entries() {
  std::size_t count = 0;
  while (environ != nullptr && environ[count] != nullptr) ++count;
  return count;
}

bool names(const char* entry, std::string_view name) {
  return std::strncmp(entry, name.data(), name.size()) == 0 && entry[name.size()] == '=';
}

std::size_t find_entry(std::string_view name, std::size_t count) {
  std::size_t index = 0;
  while (index < count && !names(environ[index], name)) ++index;
  return index;
}

// A new array with the entries there are, without one of them, and with some room.
void publish_copy(std::size_t count, std::size_t without) {
  room = count + 64;
  auto copy = std::make_unique<char*[]>(room);
  std::size_t used = 0;
  for (std::size_t index = 0; index < count; ++index) {
    if (index != without) copy[used++] = environ[index];
  }
  arrays.push_back(std::move(copy));
  std::atomic_ref<char**>(environ).store(arrays.back().get(), std::memory_order_release);
}

bool is_own_array() { return !arrays.empty() && environ == arrays.back().get(); }

void set_entry(std::string_view name, const char* assignment) {
  const auto count = count_entries();
  const auto index = find_entry(name, count);
  if (index < count && std::strcmp(environ[index], assignment) == 0) return;
  texts.emplace_back(assignment);
  if (index == count && (!is_own_array() || count + 1 >= room)) publish_copy(count, count);
  slot(index).store(texts.back().data(), std::memory_order_release);
}

void remove_entry(std::string_view name) {
  const auto count = count_entries();
  const auto index = find_entry(name, count);
  if (index < count) publish_copy(count, index);
}

// As Windows looks names up: letter case aside, unless the exact name is there.
const char* find_value(const std::string& name) {
  if (const char* exact = std::getenv(name.c_str()); exact != nullptr) return exact;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    if (strncasecmp(*entry, name.c_str(), name.size()) == 0 && (*entry)[name.size()] == '=') {
      return *entry + name.size() + 1;
    }
  }
  return nullptr;
}

std::string expand(std::string_view source) {
  std::string result;
  while (!source.empty()) {
    const auto first = source.find('%');
    result.append(source.substr(0, first));
    if (first == std::string_view::npos) break;
    source.remove_prefix(first);
    const auto second = source.find('%', 1);
    const char* value = nullptr;
    if (second != std::string_view::npos && second > 1) {
      value = find_value(std::string(source.substr(1, second - 1)));
    }
    if (value != nullptr) {
      result += value;
      source.remove_prefix(second + 1);
    } else {
      // The second percent sign may begin a name that is set.
      const auto kept = second == std::string_view::npos ? source.size() : second;
      result.append(source.substr(0, kept));
      source.remove_prefix(kept);
    }
  }
  return result;
}

}  // namespace

int _putenv(const char* assignment) {
  if (const auto fault = platform::fault_point("_putenv")) {
    errno = static_cast<int>(fault->code);
    return -1;
  }
  const char* equals = assignment == nullptr ? nullptr : std::strchr(assignment, '=');
  if (equals == nullptr || equals == assignment) {
    errno = EINVAL;
    return -1;
  }
  const std::string_view name(assignment, static_cast<std::size_t>(equals - assignment));
  const std::lock_guard guard(lock);
  if (equals[1] == '\0') {
    remove_entry(name);
  } else {
    set_entry(name, assignment);
  }
  return 0;
}

DWORD ExpandEnvironmentStringsA(const char* source, char* target, DWORD size) {
  if (const auto fault = platform::fault_point("ExpandEnvironmentStringsA")) {
    SetLastError(fault->win32());
    return 0;
  }
  if (source == nullptr) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  const std::string text = expand(source);
  const auto needed = static_cast<DWORD>(text.size() + 1);
  if (target != nullptr && size >= needed) std::memcpy(target, text.c_str(), needed);
  return needed;
}
