#include "platform/counters/counter_names.h"

#include <charconv>
#include <cstdio>
#include <mutex>
#include <unordered_map>

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr std::uint32_t kEnglish = 9;
constexpr std::uint32_t kPrimaryLanguageBits = 0x3FF;

std::string table_in_registry(Controller& controller, std::uint32_t primary_language) {
  if (controller.registry() == nullptr) return {};
  char path[128];
  std::snprintf(
      path, sizeof path,
      "HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Perflib\\%03X",
      static_cast<unsigned>(primary_language));
  for (const RegistryValue& value : controller.registry()->values(path)) {
    if (equal_without_case(value.name, "Counter")) return value.data;
  }
  return {};
}

using Names = std::unordered_map<std::uint32_t, std::string>;

Names parse_table(const std::string& table) {
  Names names;
  for (std::size_t at = 0; at < table.size() && table[at] != '\0';) {
    const std::size_t index_end = std::min(table.find('\0', at), table.size());
    const std::size_t name_start = std::min(index_end + 1, table.size());
    const std::size_t name_end = std::min(table.find('\0', name_start), table.size());
    std::uint32_t index = 0;
    const char* end = table.data() + index_end;
    const auto [stopped, error] = std::from_chars(table.data() + at, end, index);
    if (error == std::errc() && stopped == end) {
      names[index] = table.substr(name_start, name_end - name_start);
    }
    at = name_end + 1;
  }
  return names;
}

}  // namespace

std::string counter_name_table(Controller& controller, std::uint32_t primary_language) {
  std::string table = table_in_registry(controller, primary_language);
  if (!table.empty() || controller.counters() == nullptr) return table;
  const bool local = primary_language == (controller.machine().language & kPrimaryLanguageBits);
  if (!local && primary_language != kEnglish) return table;
  const auto add = [&table](const std::string& text) { (table += text) += '\0'; };
  add("1");
  add("1847");  // the system's tables begin so: the highest index of its own counters
  for (const auto& [index, name] : primary_language == kEnglish
                                       ? controller.counters()->english_names()
                                       : controller.counters()->local_names()) {
    add(std::to_string(index));
    add(name);
  }
  add("");
  return table;
}

std::string local_counter_name(const std::shared_ptr<Controller>& controller, std::uint32_t index) {
  // Kept for the controller that was asked last, since names are looked up by the hundred. Never
  // destroyed: threads may still ask while the process ends.
  struct Cache {
    std::mutex mutex;
    // guarded by mutex
    std::weak_ptr<Controller> owner;
    Names names;
  };
  static Cache& cache = *new Cache;
  if (controller == nullptr) return {};
  const std::lock_guard<std::mutex> lock(cache.mutex);
  if (cache.owner.lock() != controller) {
    const std::uint32_t language = controller->machine().language & kPrimaryLanguageBits;
    cache.names = parse_table(counter_name_table(*controller, language));
    cache.owner = controller;
  }
  const auto found = cache.names.find(index);
  return found == cache.names.end() ? std::string() : found->second;
}

}  // namespace platform
