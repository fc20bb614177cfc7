#include "cli/config_findings.h"

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "agent/environment_import.h"
#include "cli/host.h"
#include "include/platform/environment.h"
#include "include/platform/text.h"
#include "include/trc.h"

namespace cli {
namespace {

using agent::ImportStep;
using settings::Rule;
using settings::Setting;

constexpr const char* kRootKey = "HKEY_LOCAL_MACHINE\\";

std::string quoted(const std::string& text) { return "'" + text + "'"; }

std::string told(const Origin& origin) {
  return origin.source == "registry" ? origin.place : "the " + origin.source;
}

const Setting* known(std::string_view name) {
  const auto found =
      std::find_if(settings::kAll.begin(), settings::kAll.end(),
                   [name](const Setting* setting) { return same_variable(setting->name, name); });
  return found == settings::kAll.end() ? nullptr : *found;
}

// How many letters must be changed, added or left out, letter case aside.
std::size_t distance(std::string_view left, std::string_view right) {
  const auto same = [](char a, char b) {
    return std::toupper(static_cast<unsigned char>(a)) ==
           std::toupper(static_cast<unsigned char>(b));
  };
  std::vector<std::size_t> row(right.size() + 1);
  for (std::size_t i = 0; i < row.size(); ++i) row[i] = i;
  for (std::size_t i = 1; i <= left.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i);
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t changed = diagonal + (same(left[i - 1], right[j - 1]) ? 0 : 1);
      diagonal = std::exchange(row[j], std::min({row[j] + 1, row[j - 1] + 1, changed}));
    }
  }
  return row.back();
}

// "; is NAME meant?", or nothing when no setting is called nearly so.
std::string suggestion(const std::string& name) {
  constexpr std::size_t kMostSlips = 3;
  const auto nearest =
      std::min_element(settings::kAll.begin(), settings::kAll.end(),
                       [&name](const Setting* left, const Setting* right) {
                         return distance(name, left->name) < distance(name, right->name);
                       });
  return distance(name, (*nearest)->name) <= kMostSlips
             ? "; is " + std::string((*nearest)->name) + " meant?"
             : "";
}

bool is_our_own(const std::string& name) { return name.starts_with("DIRWATCH_"); }

// ---- what is wrong with a text ------------------------------------------------------------------

enum class Spelling { kNumber, kOutOfRange, kNumberAndMore, kNoNumber };
Spelling spelling(const std::string& text) {
  char* end = nullptr;
  errno = 0;
  const long long value = std::strtoll(text.c_str(), &end, 10);
  if (end == text.c_str()) return Spelling::kNoNumber;
  if (*end != '\0') return Spelling::kNumberAndMore;
  const bool fits = errno == 0 && value >= -2147483648LL && value <= 2147483647LL;
  return fits ? Spelling::kNumber : Spelling::kOutOfRange;
}

bool means_on(const std::string& text) {
  for (const char* word : {"TRUE", "ENABLED", "ON", "YES", "1"}) {
    if (_stricmp(text.c_str(), word) == 0) return true;
  }
  return false;
}

std::string what_is_read(const Setting& setting, const std::string& text) {
  const std::int32_t number = settings::to_number(text.c_str());
  std::string result = "reads as " + std::to_string(number);
  if (!settings::read(setting, text.c_str()).taken) {
    result += ", which leaves the default " + std::to_string(setting.preset);
  }
  return result;
}

void check_number(const Setting& setting, const Origin& origin, std::vector<Warning>& warnings) {
  const std::string where = quoted(origin.text) + " of " + told(origin) + " ";
  const std::string reading = what_is_read(setting, origin.text);
  switch (spelling(origin.text)) {
    case Spelling::kNoNumber:
      warnings.push_back({"malformed", setting.name, where + "is no number: it " + reading});
      return;
    case Spelling::kNumberAndMore:
      warnings.push_back(
          {"malformed", setting.name, where + "is not only a number: it " + reading});
      return;
    case Spelling::kOutOfRange:
      warnings.push_back({"malformed", setting.name, where + "is out of range: it " + reading});
      return;
    case Spelling::kNumber:
      break;
  }
  const settings::Reading read = settings::read(setting, origin.text.c_str());
  if (!read.taken && settings::to_number(origin.text.c_str()) != setting.preset) {
    warnings.push_back({"not_taken", setting.name,
                        where + "is not taken; " + std::to_string(setting.preset) + " " +
                            setting.unit + " stay in force"});
  } else if (setting.unit_ms != 0 &&
             settings::in_ms(setting, read.value) / setting.unit_ms != read.value) {
    warnings.push_back({"not_taken", setting.name,
                        where + "is longer than can be waited; " +
                            std::to_string(settings::in_ms(setting, read.value)) +
                            " milliseconds are in force"});
  }
}

void check_text(const FoundSetting& found, std::vector<Warning>& warnings) {
  const Setting& setting = *found.setting;
  const Origin& origin = found.origin;
  if (settings::is_number(setting.rule)) {
    check_number(setting, origin, warnings);
  } else if ((setting.rule == Rule::kUnlessWord || setting.rule == Rule::kUnlessSameWord) &&
             found.reading.value != 0 && !means_on(origin.text)) {
    warnings.push_back({"malformed", setting.name,
                        quoted(origin.text) + " of " + told(origin) + " counts as on; only " +
                            setting.word + " switches off"});
  }
}

// ---- the search ---------------------------------------------------------------------------------

class Search {
 public:
  explicit Search(const std::string& branch) {
    read_environment();
    const std::int32_t code = agent::import_environment(
        branch.c_str(), [this](const ImportStep& step) { steps_.push_back(step); });
    if (code != 0) {
      warn("registry", "",
           std::string(kRootKey) + "SOFTWARE\\Marlow\\" + branch +
               (steps_.empty() ? " cannot be opened: nothing is imported from the registry"
                               : " could not be walked to its root"));
    }
    for (const ImportStep& step : steps_) tell_step(step);
    for (const Setting* setting : settings::kAll) find(*setting);
    check_sysvol_test();
  }
  Findings take() { return std::move(findings_); }

 private:
  void warn(const char* kind, const std::string& name, const std::string& text) {
    findings_.warnings.push_back({kind, name, text});
  }

  void read_environment() {
    for (const std::string& name : environment_names()) {
      const Setting* setting = known(name);
      const char* value = SYS1_GetEnv(name.c_str(), 0);
      if (setting != nullptr && value != nullptr) {
        process_.push_back({setting, {"environment", "", value}});
      } else if (name.starts_with("DWA_")) {
        warn("unknown", name, "set in the environment, and nothing reads it" + suggestion(name));
      }
    }
  }

  void tell_step(const ImportStep& step) {
    const std::string key = kRootKey + step.key;
    switch (step.what) {
      case ImportStep::kSet:
      case ImportStep::kRemoved:
        if (known(step.name) == nullptr && !is_our_own(step.name)) {
          warn("unknown", step.name,
               "set in " + key + ", and no setting has this name" + suggestion(step.name));
        }
        break;
      case ImportStep::kRefused:
        warn("not_imported", step.name, key + ": the environment takes no variable of this name");
        break;
      case ImportStep::kOtherType:
        warn("not_imported", step.name, key + ": not a text, and so passed over");
        break;
      case ImportStep::kTooLong:
        warn("not_imported", step.name, key + ": what it expands to is too long");
        break;
      case ImportStep::kLevelCut:
        warn("not_imported", "",
             key + ": a name or value is too long; it and what comes behind it is not read");
        break;
      case ImportStep::kLevelUnreadable:
        warn("not_imported", "", key + ": cannot be read, error " + std::to_string(step.error));
        break;
    }
  }

  // What is said about a setting, in the order in which it takes effect.
  std::vector<Origin> said_about(const Setting& setting) const {
    std::vector<Origin> said;
    for (const auto& [which, origin] : process_) {
      if (which == &setting) said.push_back(origin);
    }
    for (const ImportStep& step : steps_) {
      if (!same_variable(step.name, setting.name)) continue;
      if (step.what == ImportStep::kSet || step.what == ImportStep::kRemoved) {
        said.push_back({"registry", kRootKey + step.key, step.value});
      }
    }
    return said;
  }

  void find(const Setting& setting) {
    FoundSetting found;
    found.setting = &setting;
    const char* text = SYS1_GetEnv(setting.name, 0);
    found.reading = settings::read(setting, text);
    found.shadowed = said_about(setting);
    found.origin.source = "default";
    if (!found.shadowed.empty()) {
      const Origin last = found.shadowed.back();
      found.shadowed.pop_back();
      for (const Origin& origin : found.shadowed) {
        warn("shadowed", setting.name,
             quoted(origin.text) + " of " + told(origin) + " is replaced by " + told(last));
      }
      if (text == nullptr) {
        warn("removed", setting.name, told(last) + " is empty, which takes the variable away");
      } else {
        found.origin = last;
        found.origin.text = text;
        check_text(found, findings_.warnings);
        if (!found.reading.taken) found.origin = {"default", "", ""};
      }
    }
    findings_.settings.push_back(std::move(found));
  }

  std::int32_t number(const Setting& setting) const {
    for (const FoundSetting& found : findings_.settings) {
      if (found.setting == &setting) return settings::in_ms(setting, found.reading.value);
    }
    return 0;
  }

  // The one rule between two settings; start-up says nothing about it.
  void check_sysvol_test() {
    const std::int32_t period_ms = number(settings::kSysvolTestInterval);
    if (period_ms > 0 && number(settings::kSysvolVerificationInterval) >= period_ms) {
      warn("not_taken", settings::kSysvolVerificationInterval.name,
           "not shorter than " + std::string(settings::kSysvolTestInterval.name) +
               ": the test of SYSVOL is switched off");
    }
  }

  std::vector<std::pair<const Setting*, Origin>> process_;
  std::vector<ImportStep> steps_;
  Findings findings_;
};

}  // namespace

Findings find_settings(const std::string& branch) { return Search(branch).take(); }

std::string shown(const FoundSetting& found) {
  const Setting& setting = *found.setting;
  if (settings::is_number(setting.rule)) {
    if (setting.unit_ms == 0) return std::to_string(found.reading.value);
    return std::to_string(settings::in_ms(setting, found.reading.value) / setting.unit_ms);
  }
  if (setting.rule != Rule::kText) return found.reading.value != 0 ? "on" : "off";
  return found.reading.taken ? found.origin.text : "-";
}

std::string shown_preset(const Setting& setting) {
  if (settings::is_number(setting.rule)) return std::to_string(setting.preset);
  if (setting.rule != Rule::kText) return setting.preset != 0 ? "on" : "off";
  return "-";
}

}  // namespace cli
