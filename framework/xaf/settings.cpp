#include "framework/xaf/settings.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "framework/xaf/comparison.h"
#include "platform/system.h"

namespace xaf {
namespace {

struct State {
  std::mutex mutex;
  // Guarded by mutex.
  CurrentConfiguration current;
  std::vector<std::string> affinities;
};

State& state() {
  static State* const instance = new State;
  return *instance;
}

std::string describe(const std::string& table, const Threshold& threshold) {
  return table + ": threshold " + threshold.column + " " + operator_name(threshold.operation) +
         " \"" + threshold.value + "\": ";
}

}  // namespace

CurrentConfiguration current_configuration() {
  const std::lock_guard hold(state().mutex);
  return state().current;
}

void configure(const Configuration& configuration) {
  const std::lock_guard hold(state().mutex);
  state().current = {configuration, true};
}

void forget_configuration() {
  const std::lock_guard hold(state().mutex);
  state().current = {};
  state().affinities.clear();
}

std::vector<std::string> affinities() {
  const std::lock_guard hold(state().mutex);
  return state().affinities;
}

std::string upper_case(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

TableSettings settings_of(const Configuration& configuration, const std::string& table) {
  const auto own = configuration.tables.find(table);
  TableSettings settings = own == configuration.tables.end() ? configuration.defaults : own->second;
  const std::vector<std::string>& only = configuration.only_tables;
  if (!only.empty() && std::find(only.begin(), only.end(), table) == only.end()) {
    settings.enabled = false;
  }
  return settings;
}

bool check_thresholds(const std::string& table, const std::vector<ColumnView>& columns,
                      TableSettings& settings, std::string& error) {
  for (Threshold& threshold : settings.thresholds) {
    threshold.column = upper_case(threshold.column);
    const auto column =
        std::find_if(columns.begin(), columns.end(), [&threshold](const ColumnView& known) {
          return upper_case(known.name) == threshold.column;
        });
    if (column == columns.end()) {
      error = describe(table, threshold) + "the table has no column " + threshold.column;
      return false;
    }
    if (column->type != 3) continue;
    if (!operator_suits_integer(threshold.operation)) {
      error = describe(table, threshold) + "the column is a number, the operator is for text";
      return false;
    }
    if (!parse_integer(threshold.value)) {
      error = describe(table, threshold) + "the column is a number, the value is not a whole " +
              "number within 32 bits";
      return false;
    }
  }
  return true;
}

}  // namespace xaf

std::int32_t XAF_SetAffinity(const char* affinity) {
  if (affinity == nullptr) return 1;
  const std::lock_guard hold(xaf::state().mutex);
  xaf::state().affinities.emplace_back(affinity);
  return 0;
}

std::int32_t XAF_SetVersionUsingProduct(const char* product, char* buffer, std::uint32_t size) {
  if (product == nullptr || buffer == nullptr || size == 0) return 1;
  std::strncpy(buffer, product, size - 1);
  buffer[size - 1] = '\0';
  return 0;
}

std::int32_t DetermineLocalHost(char* buffer, std::uint32_t size) {
  if (buffer == nullptr || size == 0) return 1;
  std::string name = xaf::current_configuration().configuration.node_name;
  if (name.empty()) {
    char computer[256] = {};
    DWORD length = sizeof computer;
    if (!GetComputerNameA(computer, &length)) return 1;
    name.assign(computer, std::min<std::size_t>(length, sizeof computer));
  }
  const std::size_t copied = std::min<std::size_t>(name.size(), size);
  std::memcpy(buffer, name.data(), copied);
  if (copied < size) buffer[copied] = '\0';
  return 0;
}
