#include "counters/localise.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <string_view>

#include "counters/lists.h"
#include "include/platform/counters.h"
#include "include/platform/registry.h"
#include "include/platform/system.h"
#include "include/trace.h"

using counters::CounterList;
using counters::CounterRow;
using counters::kCounterLists;

namespace {

// Of a name that the lists hold.
constexpr std::int32_t kNotYetFound = -1;

struct Wanted {
  std::int32_t index = kNotYetFound;
  std::optional<std::string> translation;
};
using WantedNames = std::map<std::string, Wanted, std::less<>>;

WantedNames names_of_lists() {
  WantedNames wanted;
  for (const CounterList& list : kCounterLists) {
    // Only the first row's object: a second object further down is not looked for.
    wanted.try_emplace(list.rows.front().szObjectName);
    for (const CounterRow& row : list.rows) wanted.try_emplace(row.szCounterName);
  }
  return wanted;
}

// The English name table: pairs of index and name, each with its zero end, up to an empty text.
// Empty when it cannot be read.
std::string read_english_names(const trace::Scope& trace) {
  constexpr const char* kTable = "Counter 009";
  DWORD size = 0;
  if (RegQueryValueExA(HKEY_PERFORMANCE_DATA, kTable, nullptr, nullptr, nullptr, &size) != 0) {
    trace.error()("Error: RegQueryValueEx() failed");
  }
  const std::unique_ptr<BYTE[]> buffer(new (std::nothrow) BYTE[size]());
  if (buffer == nullptr) {
    trace.error()("Error: Heap Allocation failed");
    return {};
  }
  if (RegQueryValueExA(HKEY_PERFORMANCE_DATA, kTable, nullptr, nullptr, buffer.get(), &size) != 0) {
    trace.error()("Error: RegQueryValueEx() failed");
    return {};
  }
  return std::string(reinterpret_cast<const char*>(buffer.get()), size);
}

// The text up to the next zero, taken off the front of the table.
std::string_view take(std::string_view& table) {
  const std::size_t end = std::min(table.find('\0'), table.size());
  const std::string_view text = table.substr(0, end);
  table.remove_prefix(std::min(end + 1, table.size()));
  return text;
}

// As the system's own tools read it: decimal, or hexadecimal and octal with their prefixes; what
// does not fit ends at the limits of 32 bits, and what is no number is 0.
std::int32_t index_of(std::string_view text) {
  const long index = std::strtol(std::string(text).c_str(), nullptr, 0);
  return static_cast<std::int32_t>(std::clamp<long>(index, std::numeric_limits<std::int32_t>::min(),
                                                    std::numeric_limits<std::int32_t>::max()));
}

void look_up(WantedNames& wanted, std::string_view table) {
  while (true) {
    const std::string_view index_text = take(table);
    if (index_text.empty()) return;
    const std::string_view name = take(table);
    const auto found = wanted.find(name);
    // A name that once had the index 0 is taken for one that no list holds.
    if (found == wanted.end() || found->second.index == 0) continue;
    // A name that the table holds twice: the last one counts.
    found->second.index = index_of(index_text);
    found->second.translation = GetNameByIndex(found->second.index);
  }
}

// A copy that lives as long as the process, as the rows that point at it do.
char* keep(const std::string& name) {
  static auto& kept = *new std::deque<std::string>;
  return kept.emplace_back(name).data();
}

const std::string* translation(const WantedNames& wanted, const char* name) {
  const auto found = wanted.find(std::string_view(name));
  if (found == wanted.end() || found->second.index <= 0) return nullptr;
  return found->second.translation ? &*found->second.translation : nullptr;
}

void rewrite(const CounterList& list, const WantedNames& wanted) {
  // Deliberate: all rows take the translation of the first row's object, also in the lists whose
  // later rows name another one.
  if (const std::string* object = translation(wanted, list.rows.front().szObjectName)) {
    for (CounterRow& row : list.rows) row.szObjectName = keep(*object);
  }
  for (CounterRow& row : list.rows) {
    if (const std::string* counter = translation(wanted, row.szCounterName)) {
      row.szCounterName = keep(*counter);
    }
  }
}

}  // namespace

bool has_default_english() {
  constexpr LANGID kUnitedStatesEnglish = 1033;
  return GetSystemDefaultLangID() == kUnitedStatesEnglish;
}

void convertToLocalizedLanguage() {
  DCW_TRACE("convertToLocalizedLanguage");
  WantedNames wanted = names_of_lists();
  const std::string table = read_english_names(trace);
  look_up(wanted, table);
  for (const CounterList& list : kCounterLists) rewrite(list, wanted);
}

std::optional<std::string> GetNameByIndex(std::int32_t index) {
  DCW_TRACE("GetNameByIndex");
  std::array<char, 128> name{};
  DWORD size = static_cast<DWORD>(name.size());
  const PDH_STATUS status =
      PdhLookupPerfNameByIndexA(nullptr, static_cast<DWORD>(index), name.data(), &size);
  if (status != 0) {
    std::fputs("\n\n Error in PDHQuery", stderr);
    trace.error()("Error: PdhLookupPerfNameByIndex() failed");
    return std::nullopt;
  }
  return std::string(name.data(), strnlen(name.data(), name.size()));
}
