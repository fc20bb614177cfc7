#include "platform/counters/recorded_counters.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "platform/counters/counter_path.h"
#include "platform/counters/pdh_csv.h"
#include "platform/counters/pdh_status.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);

// Joins names to a key in which no two different lists of names are equal: a path holds no zero.
template <typename... Names>
std::string key_of(const Names&... names) {
  std::string key;
  ((key += names, key += '\0'), ...);
  return fold_case(key);
}

std::int64_t system_clock_ms() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(
             std::chrono::system_clock::now().time_since_epoch())
      .count();
}

class RecordedCounters : public CounterSource {
 public:
  RecordedCounters(CounterSeries series, Clock clock)
      : series_(std::move(series)), clock_(clock ? std::move(clock) : Clock(system_clock_ms)) {
    for (const CounterPath& path : series_.paths) {
      if (!path.machine.empty()) {
        own_machine_ = fold_case(path.machine);
        break;
      }
    }
    for (std::size_t column = 0; column < series_.paths.size(); ++column) add_column(column);
    find_rates();
    note_presence();
    opened_ms_.store(clock_());
  }

  CounterStatus validate(const CounterPath& path) override {
    std::size_t column = kNone;
    if (const CounterStatus status = locate(path, column)) return status;
    return status_at(column, snapshot());
  }

  CounterStatus find(const CounterPath& path, CounterReference& reference) override {
    std::size_t column = kNone;
    if (const CounterStatus status = locate(path, column)) return status;
    reference = {column, columns_[column].rate};
    return 0;
  }

  std::uint64_t snapshot() override {
    const std::int64_t now_ms = clock_();
    std::int64_t opened_ms = opened_ms_.load();
    while (now_ms < opened_ms && !opened_ms_.compare_exchange_weak(opened_ms, now_ms)) {
    }
    std::int64_t elapsed_ms = std::max<std::int64_t>(0, now_ms - opened_ms_.load());
    if (const std::int64_t period_ms = replay_period_ms(); period_ms > 0) elapsed_ms %= period_ms;
    const auto& offsets = series_.offsets_ms;
    const auto after = std::upper_bound(offsets.begin(), offsets.end(), elapsed_ms);
    return static_cast<std::uint64_t>(after - offsets.begin()) - 1;
  }

  CounterStatus value(std::uint64_t number, std::uint64_t snapshot, double& value) override {
    if (number >= columns_.size() || snapshot >= series_.rows()) {
      return static_cast<CounterStatus>(kPdhNoCounter);
    }
    if (const CounterStatus status = status_at(number, snapshot)) return status;
    value = series_.cell(snapshot, number);
    return 0;
  }

  std::vector<std::string> objects() override {
    std::vector<std::string> names;
    for (const Object& object : objects_) {
      if (object.own) names.push_back(object.name);
    }
    return names;
  }

  CounterStatus items(std::string_view object_name, std::vector<std::string>& counters,
                      std::vector<std::string>& instances) override {
    counters.clear();
    instances.clear();
    const auto found = object_numbers_.find(key_of(std::string(), object_name));
    if (found == object_numbers_.end()) return static_cast<CounterStatus>(kPdhNoObject);
    const std::uint64_t now = snapshot();
    const Object& object = objects_[found->second];
    counters = object.counters;
    for (const std::size_t group : object.groups) {
      if (!groups_[group].name.empty() && groups_[group].present[now]) {
        instances.push_back(groups_[group].name);
      }
    }
    return 0;
  }

  std::vector<std::pair<std::uint32_t, std::string>> english_names() override { return names(); }
  std::vector<std::pair<std::uint32_t, std::string>> local_names() override { return names(); }

 private:
  struct Object {
    std::string name;
    bool own = true;  // of the machine that the file is about
    std::vector<std::string> counters;
    std::vector<std::size_t> groups;
  };
  // The columns of one instance, or of an object without instances.
  struct Group {
    std::string name;  // as an enumeration lists it: without an index; empty for no instance
    std::vector<std::size_t> columns;
    std::vector<bool> present;  // by row
  };
  struct Column {
    std::size_t group = kNone;
    bool rate = false;
  };

  // The key of a machine: empty for the file's own, which also goes without a name.
  std::string machine_key(std::string_view machine) const {
    while (machine.starts_with('\\')) machine.remove_prefix(1);
    std::string folded = fold_case(machine);
    return folded == own_machine_ ? std::string() : folded;
  }

  void add_column(std::size_t column) {
    const CounterPath& path = series_.paths[column];
    const std::string machine = machine_key(path.machine);
    const std::string instance = instance_text(path);
    columns_.emplace_back();
    machines_.insert(machine);
    // typeperf writes a path as often as it was asked for; all such columns are the same.
    if (!column_numbers_.emplace(key_of(machine, path.object, instance, path.counter), column)
             .second) {
      return;
    }
    const auto [object_at, new_object] =
        object_numbers_.emplace(key_of(machine, path.object), objects_.size());
    if (new_object) objects_.push_back({path.object, machine.empty(), {}, {}});
    Object& object = objects_[object_at->second];
    if (object_counters_.insert(key_of(machine, path.object, path.counter)).second) {
      object.counters.push_back(path.counter);
    }
    const auto [group_at, new_group] =
        group_numbers_.emplace(key_of(machine, path.object, instance), groups_.size());
    if (new_group) {
      object.groups.push_back(groups_.size());
      groups_.push_back({path.instance, {}, {}});
    }
    columns_[column].group = group_at->second;
    groups_[group_at->second].columns.push_back(column);
  }

  bool blank(std::size_t row, std::size_t column) { return std::isnan(series_.cell(row, column)); }

  bool any_cell(const Group& group, std::size_t row) {
    return std::any_of(group.columns.begin(), group.columns.end(),
                       [&](std::size_t column) { return !blank(row, column); });
  }

  // Where an instance begins, a counter that is blank and has a value one row on is a rate, and
  // what it measured from there on stands in that next row.
  void find_rates() {
    for (const Group& group : groups_) {
      bool before = false;
      for (std::size_t row = 0; row + 1 < series_.rows(); ++row) {
        const bool now = any_cell(group, row);
        if (!before && (now || row == 0)) {
          for (const std::size_t column : group.columns) {
            // A first row that is blank as a whole: of rates alone, or of one that comes later?
            if (!now && !named_as_rate(series_.paths[column].counter)) continue;
            if (!blank(row, column) || blank(row + 1, column)) continue;
            columns_[column].rate = true;
            series_.cell(row, column) = series_.cell(row + 1, column);
          }
        }
        before = now;
      }
    }
  }

  static bool named_as_rate(std::string_view counter) {
    return counter.find_first_of("/%") != std::string_view::npos;
  }

  void note_presence() {
    for (Group& group : groups_) {
      group.present.resize(series_.rows());
      for (std::size_t row = 0; row < series_.rows(); ++row) {
        group.present[row] = any_cell(group, row);
      }
    }
  }

  CounterStatus locate(const CounterPath& path, std::size_t& column) const {
    const std::string machine = machine_key(path.machine);
    const std::string instance = instance_text(path);
    const auto found = column_numbers_.find(key_of(machine, path.object, instance, path.counter));
    if (found != column_numbers_.end()) {
      column = found->second;
      return 0;
    }
    const auto status = [&] {
      if (!machine.empty() && machines_.count(machine) == 0) return kPdhNoMachine;
      if (object_numbers_.count(key_of(machine, path.object)) == 0) return kPdhNoObject;
      if (object_counters_.count(key_of(machine, path.object, path.counter)) == 0) {
        return kPdhNoCounter;
      }
      return group_numbers_.count(key_of(machine, path.object, instance)) == 0 ? kPdhNoInstance
                                                                               : kPdhNoCounter;
    };
    return static_cast<CounterStatus>(status());
  }

  CounterStatus status_at(std::size_t column, std::uint64_t row) {
    if (!blank(row, column)) return 0;
    const std::size_t number = columns_[column].group;
    if (number == kNone || groups_[number].present[row]) {
      return static_cast<CounterStatus>(kPdhNoCounter);
    }
    return static_cast<CounterStatus>(groups_[number].name.empty() ? kPdhNoObject : kPdhNoInstance);
  }

  std::int64_t replay_period_ms() const {
    const auto& offsets = series_.offsets_ms;
    if (offsets.size() < 2) return 0;
    return offsets.back() + (offsets.back() - offsets[offsets.size() - 2]);
  }

  // The file holds one language, its own, and no indexes: the names get even ones, as the system's.
  std::vector<std::pair<std::uint32_t, std::string>> names() const {
    std::vector<std::pair<std::uint32_t, std::string>> names;
    std::unordered_set<std::string_view> seen;
    const auto add = [&](const std::string& name) {
      if (!seen.insert(name).second) return;
      names.emplace_back(static_cast<std::uint32_t>(2 * (names.size() + 1)), name);
    };
    for (const Object& object : objects_) {
      add(object.name);
      for (const std::string& counter : object.counters) add(counter);
    }
    return names;
  }

  CounterSeries series_;
  const Clock clock_;
  std::atomic<std::int64_t> opened_ms_{0};
  std::string own_machine_;  // in small letters
  std::vector<Object> objects_;
  std::vector<Group> groups_;
  std::vector<Column> columns_;
  std::unordered_map<std::string, std::size_t> object_numbers_;
  std::unordered_map<std::string, std::size_t> group_numbers_;
  std::unordered_map<std::string, std::size_t> column_numbers_;
  std::unordered_set<std::string> object_counters_;
  std::unordered_set<std::string> machines_;
};

}  // namespace

std::unique_ptr<CounterSource> read_counters(const std::string& text, const std::string& file_name,
                                             Clock clock) {
  return std::make_unique<RecordedCounters>(parse_pdh_csv(text, file_name), std::move(clock));
}

}  // namespace platform
