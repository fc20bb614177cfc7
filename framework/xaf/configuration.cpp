// The configuration file: TOML, read strictly. Whatever is not understood is an error with its
// place, since a misspelt key would otherwise be a setting that silently does nothing.

#include <toml++/toml.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include "framework/xaf/comparison.h"
#include "framework/xaf/control.h"
#include "framework/xaf/settings.h"

namespace xaf {
namespace {

struct Mistake : std::runtime_error {
  Mistake(const toml::source_region& where, const std::string& what)
      : std::runtime_error(what), line(where.begin.line) {}
  std::size_t line;
};

[[noreturn]] void wrong_kind(const toml::node& node, const std::string& name,
                             const std::string& wanted) {
  throw Mistake(node.source(), name + ": must be " + wanted);
}

std::string text_of(const toml::node& node, const std::string& name) {
  if (!node.is_string()) wrong_kind(node, name, "a text");
  return **node.as_string();
}

bool flag_of(const toml::node& node, const std::string& name) {
  if (!node.is_boolean()) wrong_kind(node, name, "true or false");
  return **node.as_boolean();
}

std::uint64_t number_of(const toml::node& node, const std::string& name, std::uint64_t most) {
  const std::string wanted = "a whole number from 0 to " + std::to_string(most);
  if (!node.is_integer()) wrong_kind(node, name, wanted);
  const std::int64_t value = **node.as_integer();
  if (value < 0 || static_cast<std::uint64_t>(value) > most) wrong_kind(node, name, wanted);
  return static_cast<std::uint64_t>(value);
}

std::uint32_t number32_of(const toml::node& node, const std::string& name) {
  return static_cast<std::uint32_t>(number_of(node, name, 0xFFFFFFFFu));
}

struct Unit {
  std::string_view name;
  std::uint64_t factor;
};

// A whole number and one of the units, which must be there: "60" says too little.
std::uint64_t with_unit(const toml::node& node, const std::string& name,
                        const std::vector<Unit>& units, const std::string& wanted) {
  const toml::value<std::string>* const value = node.as_string();
  if (value == nullptr) wrong_kind(node, name, wanted);
  const std::string_view text = **value;
  std::uint64_t number = 0;
  const auto [end, failed] = std::from_chars(text.data(), text.data() + text.size(), number);
  const std::string_view unit = text.substr(static_cast<std::size_t>(end - text.data()));
  const auto known = std::find_if(units.begin(), units.end(),
                                  [unit](const Unit& one) { return one.name == unit; });
  if (failed != std::errc() || known == units.end() || number > 0xFFFFFFFFu) {
    wrong_kind(node, name, wanted);
  }
  return number * known->factor;
}

std::uint32_t duration_ms_of(const toml::node& node, const std::string& name) {
  static const std::vector<Unit> kUnits = {
      {"ms", 1}, {"s", 1000}, {"m", 60000}, {"h", 3600000}, {"d", 86400000}};
  const std::string wanted = "a duration with its unit, for instance \"60s\" (ms, s, m, h, d)";
  const std::uint64_t value = with_unit(node, name, kUnits, wanted);
  if (value > 0xFFFFFFFFu) wrong_kind(node, name, "a duration of at most 49 days");
  return static_cast<std::uint32_t>(value);
}

std::uint32_t interval_ms_of(const toml::node& node, const std::string& name) {
  const std::uint32_t value = duration_ms_of(node, name);
  if (value == 0) wrong_kind(node, name, "a duration of at least 1ms");
  return value;
}

std::uint64_t bytes_of(const toml::node& node, const std::string& name) {
  static const std::vector<Unit> kUnits = {
      {"B", 1}, {"KiB", 1u << 10}, {"MiB", 1u << 20}, {"GiB", 1u << 30}};
  return with_unit(node, name, kUnits, "a size with its unit, for instance \"10MiB\"");
}

const toml::table& table_of(const toml::node& node, const std::string& name) {
  if (!node.is_table()) wrong_kind(node, name, "a table");
  return *node.as_table();
}

// Calls the handler for each entry; it gives false for a key that it does not know.
template <typename Handler>
void each_entry(const toml::table& table, const std::string& prefix, Handler handler) {
  for (auto&& [key, value] : table) {
    const std::string name =
        prefix.empty() ? std::string(key.str()) : prefix + "." + std::string(key.str());
    if (!handler(key.str(), value, name)) throw Mistake(key.source(), name + ": unknown key");
  }
}

std::vector<std::string> names_of(const toml::node& node, const std::string& name) {
  const toml::array* const array = node.as_array();
  if (array == nullptr) wrong_kind(node, name, "a list of texts");
  std::vector<std::string> names;
  for (const toml::node& element : *array) {
    names.push_back(upper_case(text_of(element, name)));
  }
  return names;
}

Threshold read_threshold(const toml::node& node, const std::string& name) {
  Threshold threshold;
  bool has_operator = false;
  bool has_value = false;
  each_entry(table_of(node, name), name,
             [&](std::string_view key, const toml::node& value, const std::string& full) {
               if (key == "column") {
                 threshold.column = upper_case(text_of(value, full));
               } else if (key == "operator") {
                 const auto operation = operator_named(text_of(value, full));
                 if (!operation) {
                   wrong_kind(value, full, "one of = != < <= > >= contains \"not contains\" like");
                 }
                 threshold.operation = *operation;
                 has_operator = true;
               } else if (key == "value") {
                 if (!value.is_string() && !value.is_integer()) {
                   wrong_kind(value, full, "a text or a whole number");
                 }
                 threshold.value =
                     value.is_string() ? **value.as_string() : std::to_string(**value.as_integer());
                 has_value = true;
               } else {
                 return false;
               }
               return true;
             });
  if (threshold.column.empty() || !has_operator || !has_value) {
    wrong_kind(node, name, "complete: column, operator and value");
  }
  return threshold;
}

void read_table_settings(const toml::table& table, const std::string& prefix,
                         TableSettings& settings) {
  each_entry(table, prefix,
             [&](std::string_view key, const toml::node& value, const std::string& name) {
               if (key == "enabled") {
                 settings.enabled = flag_of(value, name);
               } else if (key == "interval") {
                 settings.interval_ms = interval_ms_of(value, name);
               } else if (key == "row_limit") {
                 settings.row_limit = number32_of(value, name);
               } else if (key == "match") {
                 const std::string match = text_of(value, name);
                 if (match != "all" && match != "any") {
                   wrong_kind(value, name, "\"all\" or \"any\"");
                 }
                 settings.match_all = match == "all";
               } else if (key == "thresholds") {
                 const toml::array* const list = value.as_array();
                 if (list == nullptr) wrong_kind(value, name, "a list of thresholds");
                 for (const toml::node& element : *list) {
                   settings.thresholds.push_back(read_threshold(element, name));
                 }
               } else {
                 return false;
               }
               return true;
             });
}

void read_framework(const toml::table& table, Configuration& configuration) {
  each_entry(table, "framework",
             [&](std::string_view key, const toml::node& value, const std::string& name) {
               if (key == "node_name") {
                 configuration.node_name = text_of(value, name);
               } else if (key == "interval") {
                 configuration.defaults.interval_ms = interval_ms_of(value, name);
               } else if (key == "row_limit") {
                 configuration.defaults.row_limit = number32_of(value, name);
               } else if (key == "stop_after") {
                 configuration.stop_after_ms = duration_ms_of(value, name);
               } else if (key == "once") {
                 configuration.once = flag_of(value, name);
               } else if (key == "tables") {
                 configuration.only_tables = names_of(value, name);
               } else {
                 return false;
               }
               return true;
             });
}

void read_trace(const toml::table& table, Configuration& configuration) {
  each_entry(
      table, "trace", [&](std::string_view key, const toml::node& value, const std::string& name) {
        if (key == "flags") {
          configuration.trace_flags = number32_of(value, name);
        } else if (key == "path") {
          configuration.trace_path = text_of(value, name);
        } else if (key == "rotate") {
          configuration.trace_rotate_bytes = bytes_of(value, name);
        } else if (key == "keep") {
          configuration.trace_keep_files = static_cast<std::uint32_t>(number_of(value, name, 1000));
        } else if (key == "console") {
          configuration.trace_console = flag_of(value, name);
        } else if (key == "units") {
          for (auto&& [unit, flags] : table_of(value, name)) {
            const std::string unit_name(unit.str());
            configuration.trace_units[unit_name] = number32_of(flags, name + "." + unit_name);
          }
        } else {
          return false;
        }
        return true;
      });
}

void read_sink(const toml::table& table, Configuration& configuration) {
  each_entry(table, "sink",
             [&](std::string_view key, const toml::node& value, const std::string& name) {
               if (key == "format") {
                 configuration.sink = text_of(value, name);
                 const std::string& format = configuration.sink;
                 if (format != "table" && format != "json" && format != "csv" && format != "none") {
                   wrong_kind(value, name, "one of table, json, csv, none");
                 }
               } else if (key == "path") {
                 configuration.sink_path = text_of(value, name);
               } else if (key == "rotate") {
                 configuration.sink_rotation.bytes = bytes_of(value, name);
               } else if (key == "keep") {
                 configuration.sink_rotation.keep_files =
                     static_cast<std::uint32_t>(number_of(value, name, 1000));
               } else {
                 return false;
               }
               return true;
             });
}

void read_tables(const toml::table& tables, Configuration& configuration) {
  for (auto&& [key, value] : tables) {
    const std::string name = "tables." + std::string(key.str());
    // What a table does not say itself it takes from [framework].
    TableSettings settings = configuration.defaults;
    read_table_settings(table_of(value, name), name, settings);
    configuration.tables[upper_case(std::string(key.str()))] = settings;
  }
}

void read_document(const toml::table& document, Configuration& configuration) {
  const toml::table* tables = nullptr;
  each_entry(document, "",
             [&](std::string_view key, const toml::node& value, const std::string& name) {
               if (key == "framework") {
                 read_framework(table_of(value, name), configuration);
               } else if (key == "trace") {
                 read_trace(table_of(value, name), configuration);
               } else if (key == "sink") {
                 read_sink(table_of(value, name), configuration);
               } else if (key == "tables") {
                 tables = &table_of(value, name);
               } else {
                 return false;
               }
               return true;
             });
  // Last, since the defaults may stand behind them in the file.
  if (tables != nullptr) read_tables(*tables, configuration);
}

}  // namespace

bool load_configuration(const std::string& path, Configuration& configuration, std::string& error) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  if (!file || !(text << file.rdbuf() || file.peek() == std::ifstream::traits_type::eof())) {
    error = path + ": cannot be read";
    return false;
  }
  try {
    Configuration read = configuration;
    read_document(toml::parse(text.str(), path), read);
    configuration = std::move(read);
    return true;
  } catch (const toml::parse_error& fault) {
    error = path + ":" + std::to_string(fault.source().begin.line) + ": " +
            std::string(fault.description());
  } catch (const Mistake& mistake) {
    error = path + ":" + std::to_string(mistake.line) + ": " + mistake.what();
  }
  return false;
}

}  // namespace xaf
