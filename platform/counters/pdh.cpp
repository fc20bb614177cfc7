// The calls of the Performance Data Helper library over the controller's counters.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/control.h"
#include "platform/counters.h"
#include "platform/counters/counter_names.h"
#include "platform/counters/counter_path.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"
#include "platform/recorded/utf8.h"

namespace {

using platform::CounterPath;
using platform::fault_point;

constexpr PDH_STATUS status_of(DWORD code) { return static_cast<PDH_STATUS>(code); }

platform::accounting::Counter live_queries{"pdh query"};
platform::accounting::Counter live_counters{"pdh counter"};

struct Query;

struct Counter {
  std::weak_ptr<Query> query;
  std::size_t place = 0;  // in its query
  std::uintptr_t handle = 0;
  CounterPath path;
  platform::CounterReference reference;
  bool known = false;  // by the source; an instance that is still to come is not
  // What the last collection came to, and how many in a row have found a value, up to two.
  PDH_STATUS status = status_of(PDH_CSTATUS_INVALID_DATA);
  double value = 0;
  int collections = 0;
};

struct Query {
  std::mutex mutex;
  // guarded by mutex
  std::shared_ptr<platform::Controller> controller;
  std::vector<std::shared_ptr<Counter>> counters;
};

// Handles are numbers that never come again, so that a stale or unset one is found out.
class Handles {
 public:
  PDH_HQUERY add(std::shared_ptr<Query> query) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const std::uintptr_t handle = next_++ * 8;
    queries_.emplace(handle, std::move(query));
    live_queries.add();
    return reinterpret_cast<PDH_HQUERY>(handle);
  }
  PDH_HCOUNTER add(const std::shared_ptr<Counter>& counter) {
    const std::lock_guard<std::mutex> lock(mutex_);
    counter->handle = next_++ * 8;
    counters_.emplace(counter->handle, counter);
    live_counters.add();
    return reinterpret_cast<PDH_HCOUNTER>(counter->handle);
  }
  std::shared_ptr<Query> query(PDH_HQUERY handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = queries_.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == queries_.end() ? nullptr : found->second;
  }
  std::shared_ptr<Counter> counter(PDH_HCOUNTER handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = counters_.find(reinterpret_cast<std::uintptr_t>(handle));
    return found == counters_.end() ? nullptr : found->second;
  }
  void remove_counter(std::uintptr_t handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (counters_.erase(handle) != 0) live_counters.remove();
  }
  // The query of a handle that is none from now on; null when it was none before.
  std::shared_ptr<Query> take_query(PDH_HQUERY handle) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = queries_.find(reinterpret_cast<std::uintptr_t>(handle));
    if (found == queries_.end()) return nullptr;
    std::shared_ptr<Query> query = std::move(found->second);
    queries_.erase(found);
    live_queries.remove();
    return query;
  }

 private:
  std::mutex mutex_;
  // guarded by mutex_
  std::uintptr_t next_ = 0x1000;
  std::unordered_map<std::uintptr_t, std::shared_ptr<Query>> queries_;
  std::unordered_map<std::uintptr_t, std::shared_ptr<Counter>> counters_;
};

// Never destroyed: threads may still close queries while the process ends.
Handles& handles() {
  static Handles& instance = *new Handles;
  return instance;
}

platform::CounterSource* source_of(const std::shared_ptr<platform::Controller>& controller) {
  return controller == nullptr ? nullptr : controller->counters();
}

// Takes off the name of the machine that this is, short or full.
void make_local(const platform::Controller* controller, std::string& machine) {
  machine.erase(0, std::min(machine.find_first_not_of('\\'), machine.size()));
  if (controller == nullptr || machine.empty()) return;
  const platform::MachineFacts& facts = controller->machine();
  if (platform::equal_without_case(machine, facts.host_name) ||
      platform::equal_without_case(machine, facts.host_name + "." + facts.dns_suffix)) {
    machine.clear();
  }
}

// The source of a machine's counters; a status other than 0 when there is none.
PDH_STATUS source_of_machine(const std::shared_ptr<platform::Controller>& controller,
                             const char* machine, platform::CounterSource*& source) {
  std::string name = machine == nullptr ? "" : machine;
  make_local(controller.get(), name);
  if (!name.empty()) return status_of(PDH_CSTATUS_NO_MACHINE);
  source = source_of(controller);
  return 0;
}

PDH_STATUS parse_path(const char* text, const platform::Controller* controller, CounterPath& path) {
  if (text == nullptr || *text == '\0') return status_of(PDH_INVALID_ARGUMENT);
  if (!platform::parse_counter_path(text, path)) return status_of(PDH_CSTATUS_BAD_COUNTERNAME);
  make_local(controller, path.machine);
  return 0;
}

// Reads one counter for a collection; true when it has a value.
bool collect(Counter& counter, platform::CounterSource& source, std::uint64_t snapshot) {
  if (!counter.known) {
    counter.status = source.find(counter.path, counter.reference);
    counter.known = counter.status == 0;
  }
  if (counter.known) {
    counter.status = source.value(counter.reference.number, snapshot, counter.value);
  }
  counter.collections = counter.status == 0 ? std::min(counter.collections + 1, 2) : 0;
  return counter.status == 0;
}

template <typename Integer>
Integer saturated(double value) {
  constexpr Integer kLowest = std::numeric_limits<Integer>::min();
  constexpr Integer kHighest = std::numeric_limits<Integer>::max();
  if (std::isnan(value)) return 0;
  if (value <= static_cast<double>(kLowest)) return kLowest;
  if (value >= static_cast<double>(kHighest)) return kHighest;
  return static_cast<Integer>(value);
}

std::string joined(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) (list += name) += '\0';
  if (names.empty()) list += '\0';
  return list + '\0';
}

// Hands a list out when it fits; sets the size that it needs either way.
bool hand_out(const std::string& list, char* buffer, DWORD& size) {
  const bool fits = buffer != nullptr && size >= list.size();
  if (fits) std::memcpy(buffer, list.data(), list.size());
  size = static_cast<DWORD>(list.size());
  return fits;
}

}  // namespace

PDH_STATUS PdhOpenQueryA(const char* data_source, DWORD_PTR, PDH_HQUERY* query) {
  if (const auto fault = fault_point("PdhOpenQueryA", PDH_MEMORY_ALLOCATION_FAILURE)) {
    return fault->hresult();
  }
  if (query == nullptr) return status_of(PDH_INVALID_ARGUMENT);
  if (data_source != nullptr) return status_of(PDH_LOG_FILE_OPEN_ERROR);
  *query = handles().add(std::make_shared<Query>());
  return 0;
}

PDH_STATUS PdhCloseQuery(PDH_HQUERY handle) {
  if (const auto fault = fault_point("PdhCloseQuery", PDH_INVALID_HANDLE)) return fault->hresult();
  const std::shared_ptr<Query> query = handles().take_query(handle);
  if (query == nullptr) return status_of(PDH_INVALID_HANDLE);
  const std::lock_guard<std::mutex> lock(query->mutex);
  for (const auto& counter : query->counters) handles().remove_counter(counter->handle);
  query->counters.clear();
  return 0;
}

PDH_STATUS PdhAddCounterA(PDH_HQUERY query_handle, const char* text, DWORD_PTR,
                          PDH_HCOUNTER* handle) {
  if (const auto fault = fault_point("PdhAddCounterA", PDH_CSTATUS_NO_COUNTER)) {
    return fault->hresult();
  }
  if (handle == nullptr) return status_of(PDH_INVALID_ARGUMENT);
  const std::shared_ptr<Query> query = handles().query(query_handle);
  if (query == nullptr) return status_of(PDH_INVALID_HANDLE);
  const auto controller = platform::controller();
  auto counter = std::make_shared<Counter>();
  if (const PDH_STATUS status = parse_path(text, controller.get(), counter->path)) return status;
  platform::CounterSource* source = source_of(controller);
  if (source == nullptr) return status_of(PDH_CSTATUS_NO_OBJECT);
  const PDH_STATUS status = source->find(counter->path, counter->reference);
  if (status != 0 && status != status_of(PDH_CSTATUS_NO_INSTANCE)) return status;

  const std::lock_guard<std::mutex> lock(query->mutex);
  if (query->counters.empty()) query->controller = controller;
  // A reference belongs to the controller that gave it.
  counter->known = status == 0 && query->controller == controller;
  counter->query = query;
  counter->place = query->counters.size();
  query->counters.push_back(counter);
  *handle = handles().add(counter);
  return 0;
}

PDH_STATUS PdhRemoveCounter(PDH_HCOUNTER handle) {
  if (const auto fault = fault_point("PdhRemoveCounter", PDH_INVALID_HANDLE)) {
    return fault->hresult();
  }
  const std::shared_ptr<Counter> counter = handles().counter(handle);
  const std::shared_ptr<Query> query = counter == nullptr ? nullptr : counter->query.lock();
  if (query == nullptr) return status_of(PDH_INVALID_HANDLE);
  const std::lock_guard<std::mutex> lock(query->mutex);
  auto& counters = query->counters;
  if (counter->place >= counters.size() || counters[counter->place] != counter) {
    return status_of(PDH_INVALID_HANDLE);  // removed meanwhile
  }
  std::swap(counters[counter->place], counters.back());
  counters[counter->place]->place = counter->place;
  counters.pop_back();
  handles().remove_counter(counter->handle);
  return 0;
}

PDH_STATUS PdhCollectQueryData(PDH_HQUERY handle) {
  if (const auto fault = fault_point("PdhCollectQueryData", PDH_NO_DATA)) return fault->hresult();
  const std::shared_ptr<Query> query = handles().query(handle);
  if (query == nullptr) return status_of(PDH_INVALID_HANDLE);
  auto controller = platform::controller();
  platform::CounterSource* source = source_of(controller);
  const std::lock_guard<std::mutex> lock(query->mutex);
  if (query->controller != controller) {
    query->controller = std::move(controller);
    for (const auto& counter : query->counters) {
      counter->known = false;
      counter->collections = 0;
    }
  }
  if (source == nullptr) {
    for (const auto& counter : query->counters) {
      counter->status = status_of(PDH_CSTATUS_NO_OBJECT);
      counter->collections = 0;
    }
    return status_of(PDH_NO_DATA);
  }
  const std::uint64_t snapshot = source->snapshot();
  bool any = false;
  for (const auto& counter : query->counters) any = collect(*counter, *source, snapshot) || any;
  return any ? 0 : status_of(PDH_NO_DATA);
}

PDH_STATUS PdhGetFormattedCounterValue(PDH_HCOUNTER handle, DWORD format, DWORD* type,
                                       PDH_FMT_COUNTERVALUE* value) {
  if (const auto fault = fault_point("PdhGetFormattedCounterValue", PDH_INVALID_DATA)) {
    return fault->hresult();
  }
  const DWORD kind = format & (PDH_FMT_LONG | PDH_FMT_DOUBLE | PDH_FMT_LARGE);
  if (value == nullptr || kind == 0 || (kind & (kind - 1)) != 0) {
    return status_of(PDH_INVALID_ARGUMENT);
  }
  const std::shared_ptr<Counter> counter = handles().counter(handle);
  const std::shared_ptr<Query> query = counter == nullptr ? nullptr : counter->query.lock();
  if (query == nullptr) return status_of(PDH_INVALID_HANDLE);
  const std::lock_guard<std::mutex> lock(query->mutex);
  const bool rate = counter->known && counter->reference.rate;
  if (type != nullptr) *type = rate ? PERF_COUNTER_COUNTER : PERF_COUNTER_LARGE_RAWCOUNT;
  value->CStatus = static_cast<DWORD>(counter->status);
  value->largeValue = 0;
  if (counter->status == status_of(PDH_CSTATUS_INVALID_DATA)) return status_of(PDH_INVALID_DATA);
  if (counter->status != 0) return counter->status;
  if (rate && counter->collections < 2) {
    value->CStatus = PDH_CSTATUS_INVALID_DATA;
    return status_of(PDH_INVALID_DATA);
  }
  const double scaled = (format & PDH_FMT_1000) != 0 ? counter->value * 1000 : counter->value;
  if (kind == PDH_FMT_DOUBLE) value->doubleValue = scaled;
  if (kind == PDH_FMT_LONG) value->longValue = saturated<LONG>(scaled);
  if (kind == PDH_FMT_LARGE) value->largeValue = saturated<LONGLONG>(scaled);
  return 0;
}

PDH_STATUS PdhMakeCounterPathA(PDH_COUNTER_PATH_ELEMENTS_A* elements, char* buffer, DWORD* size,
                               DWORD flags) {
  if (const auto fault = fault_point("PdhMakeCounterPathA", PDH_INVALID_ARGUMENT)) {
    return fault->hresult();
  }
  if (elements == nullptr || size == nullptr || flags != 0 || (buffer == nullptr && *size != 0)) {
    return status_of(PDH_INVALID_ARGUMENT);
  }
  const auto text = [](const char* name) { return std::string(name == nullptr ? "" : name); };
  const CounterPath path{text(elements->szMachineName),    text(elements->szObjectName),
                         text(elements->szParentInstance), text(elements->szInstanceName),
                         elements->dwInstanceIndex,        text(elements->szCounterName)};
  if (path.object.empty() || path.counter.empty()) return status_of(PDH_INVALID_ARGUMENT);
  const std::string whole = platform::counter_path_text(path) + '\0';
  return hand_out(whole, buffer, *size) ? 0 : status_of(PDH_MORE_DATA);
}

PDH_STATUS PdhValidatePathA(const char* text) {
  if (const auto fault = fault_point("PdhValidatePathA", PDH_CSTATUS_NO_COUNTER)) {
    return fault->hresult();
  }
  const auto controller = platform::controller();
  CounterPath path;
  if (const PDH_STATUS status = parse_path(text, controller.get(), path)) return status;
  platform::CounterSource* source = source_of(controller);
  return source == nullptr ? status_of(PDH_CSTATUS_NO_OBJECT) : source->validate(path);
}

PDH_STATUS PdhEnumObjectsA(const char* data_source, const char* machine, char* objects, DWORD* size,
                           DWORD, BOOL) {
  if (const auto fault = fault_point("PdhEnumObjectsA", PDH_CSTATUS_NO_MACHINE)) {
    return fault->hresult();
  }
  if (size == nullptr) return status_of(PDH_INVALID_ARGUMENT);
  if (data_source != nullptr) return status_of(PDH_LOG_FILE_OPEN_ERROR);
  const auto controller = platform::controller();
  platform::CounterSource* source = nullptr;
  if (const PDH_STATUS status = source_of_machine(controller, machine, source)) return status;
  const std::string list =
      joined(source == nullptr ? std::vector<std::string>() : source->objects());
  return hand_out(list, objects, *size) ? 0 : status_of(PDH_MORE_DATA);
}

PDH_STATUS PdhEnumObjectItemsA(const char* data_source, const char* machine, const char* object,
                               char* counters, DWORD* counters_size, char* instances,
                               DWORD* instances_size, DWORD, DWORD) {
  if (const auto fault = fault_point("PdhEnumObjectItemsA", PDH_CSTATUS_NO_OBJECT)) {
    return fault->hresult();
  }
  if (object == nullptr || counters_size == nullptr || instances_size == nullptr) {
    return status_of(PDH_INVALID_ARGUMENT);
  }
  if (data_source != nullptr) return status_of(PDH_LOG_FILE_OPEN_ERROR);
  const auto controller = platform::controller();
  platform::CounterSource* source = nullptr;
  if (const PDH_STATUS status = source_of_machine(controller, machine, source)) return status;
  if (source == nullptr) return status_of(PDH_CSTATUS_NO_OBJECT);
  std::vector<std::string> counter_names, instance_names;
  if (const PDH_STATUS status = source->items(object, counter_names, instance_names)) return status;
  const bool counters_fit = hand_out(joined(counter_names), counters, *counters_size);
  const bool instances_fit = hand_out(joined(instance_names), instances, *instances_size);
  return counters_fit && instances_fit ? 0 : status_of(PDH_MORE_DATA);
}

PDH_STATUS PdhLookupPerfNameByIndexA(const char* machine, DWORD index, char* name, DWORD* size) {
  if (const auto fault = fault_point("PdhLookupPerfNameByIndexA", PDH_STRING_NOT_FOUND)) {
    return fault->hresult();
  }
  if (size == nullptr || (name == nullptr && *size != 0)) return status_of(PDH_INVALID_ARGUMENT);
  const auto controller = platform::controller();
  platform::CounterSource* source = nullptr;
  if (const PDH_STATUS status = source_of_machine(controller, machine, source)) return status;
  const std::string found = platform::local_counter_name(controller, index);
  if (found.empty()) return status_of(PDH_STRING_NOT_FOUND);
  return hand_out(found + '\0', name, *size) ? 0 : status_of(PDH_MORE_DATA);
}
