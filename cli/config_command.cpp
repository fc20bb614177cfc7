#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "agent/environment_import.h"
#include "cli/commands.h"
#include "cli/config_findings.h"
#include "cli/host.h"
#include "framework/xaf/control.h"
#include "framework/xaf/setting_list.h"
#include "include/trc.h"

namespace cli {

namespace {

using nlohmann::ordered_json;

// One setting of the file, or one that no file says.
struct FileSetting {
  std::string name;
  std::string value;  // as the file would say it; empty: not set
  std::string preset;
  std::string unit;
  std::string place;  // file:line; empty: the default
};

std::vector<FileSetting> file_settings(const std::string& path,
                                       std::vector<xaf::ConfigurationPlace> places) {
  std::vector<FileSetting> result;
  result.reserve(xaf::kConfigurationSettings.size() + places.size());
  const auto place_of = [&path](const xaf::ConfigurationPlace& place) {
    return path + ":" + std::to_string(place.line);
  };
  for (const xaf::ConfigurationSetting& setting : xaf::kConfigurationSettings) {
    FileSetting found{setting.name, setting.preset, setting.preset, setting.unit, ""};
    const auto said = std::find_if(
        places.begin(), places.end(),
        [&setting](const xaf::ConfigurationPlace& one) { return one.name == setting.name; });
    if (said != places.end()) {
      found.value = said->value;
      found.place = place_of(*said);
      places.erase(said);
    }
    result.push_back(std::move(found));
  }
  // What has names of its own: units of the trace, tables.
  for (const xaf::ConfigurationPlace& place : places) {
    result.push_back({place.name, place.value, "", "", place_of(place)});
  }
  return result;
}

const char* or_dash(const std::string& text) { return text.empty() ? "-" : text.c_str(); }

std::string told(const Origin& origin) {
  return origin.source == "registry" ? origin.place : origin.source;
}

void print_text(const Findings& findings, const std::vector<FileSetting>& file) {
  std::printf("%-50s %-12s %-10s %-13s %s\n", "VARIABLE", "VALUE", "DEFAULT", "UNIT", "FROM");
  for (const FoundSetting& found : findings.settings) {
    std::printf("%-50s %-12s %-10s %-13s %s\n", found.setting->name, shown(found).c_str(),
                shown_preset(*found.setting).c_str(),
                found.setting->unit[0] == '\0' ? "-" : found.setting->unit,
                told(found.origin).c_str());
  }
  std::printf("\n%-50s %-12s %-10s %-13s %s\n", "CONFIGURATION FILE", "VALUE", "DEFAULT", "UNIT",
              "FROM");
  for (const FileSetting& setting : file) {
    std::printf("%-50s %-12s %-10s %-13s %s\n", setting.name.c_str(), or_dash(setting.value),
                or_dash(setting.preset), or_dash(setting.unit),
                setting.place.empty() ? "default" : setting.place.c_str());
  }
  if (findings.warnings.empty()) return;
  std::printf("\nWARNINGS\n");
  for (const Warning& warning : findings.warnings) {
    std::printf("%s%s%s\n", warning.name.c_str(), warning.name.empty() ? "" : ": ",
                warning.text.c_str());
  }
}

ordered_json as_json(const Origin& origin) {
  ordered_json result = {{"source", origin.source}, {"place", nullptr}, {"text", nullptr}};
  if (!origin.place.empty()) result["place"] = origin.place;
  if (origin.source != "default") result["text"] = origin.text;
  return result;
}

ordered_json value_as_json(const settings::Setting& setting, const std::string& text) {
  if (settings::is_number(setting.rule)) return std::stoi(text);
  if (setting.rule != settings::Rule::kText) return text == "on";
  return text == "-" ? ordered_json(nullptr) : ordered_json(text);
}

ordered_json as_json(const FoundSetting& found) {
  const settings::Setting& setting = *found.setting;
  ordered_json result = {{"name", setting.name},
                         {"value", value_as_json(setting, shown(found))},
                         {"default", value_as_json(setting, shown_preset(setting))},
                         {"unit", nullptr},
                         {"from", as_json(found.origin)},
                         {"shadowed", ordered_json::array()},
                         {"description", setting.sentence}};
  if (setting.unit[0] != '\0') result["unit"] = setting.unit;
  for (const Origin& origin : found.shadowed) result["shadowed"].push_back(as_json(origin));
  return result;
}

void print_json(const Findings& findings, const std::vector<FileSetting>& file) {
  ordered_json result = {{"variables", ordered_json::array()},
                         {"configuration", ordered_json::array()},
                         {"warnings", ordered_json::array()}};
  for (const FoundSetting& found : findings.settings) {
    result["variables"].push_back(as_json(found));
  }
  const auto or_null = [](const std::string& text) {
    return text.empty() ? ordered_json(nullptr) : ordered_json(text);
  };
  for (const FileSetting& setting : file) {
    result["configuration"].push_back({{"name", setting.name},
                                       {"value", or_null(setting.value)},
                                       {"default", or_null(setting.preset)},
                                       {"unit", or_null(setting.unit)},
                                       {"place", or_null(setting.place)}});
  }
  for (const Warning& warning : findings.warnings) {
    result["warnings"].push_back(
        {{"kind", warning.kind}, {"name", or_null(warning.name)}, {"text", warning.text}});
  }
  // Values of foreign systems are not always UTF-8.
  std::printf("%s\n", result.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

}  // namespace

int config_command(const ConfigOptions& options) {
  std::string error;
  if (!use_controller(options.controller, error)) {
    std::fprintf(stderr, "dirwatch: %s\n", error.c_str());
    return 1;
  }
  const Findings findings =
      find_settings(options.branch.empty() ? kRegistryBranch : options.branch);
  // Only now: the import may say which file it is.
  std::string path = options.configuration;
  if (const char* named = SYS1_GetEnv("DIRWATCH_CONFIG", 0); path.empty() && named != nullptr) {
    path = named;
  }
  std::vector<xaf::ConfigurationPlace> places;
  if (!path.empty() && !xaf::configuration_places(path, places, error)) {
    std::fprintf(stderr, "dirwatch: %s\n", error.c_str());
    return 1;
  }
  const std::vector<FileSetting> file = file_settings(path, std::move(places));
  if (options.format == "json") {
    print_json(findings, file);
  } else {
    print_text(findings, file);
  }
  return 0;
}

}  // namespace cli
