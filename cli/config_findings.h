#pragma once
// Where each setting of the agent comes from, found by doing what a start of the agent does.

#include <string>
#include <vector>

#include "include/setting_list.h"

namespace cli {

// A place that says something about a setting.
struct Origin {
  std::string source;  // "default", "environment" or "registry"
  std::string place;   // the registry key; else empty
  std::string text;    // what stands there
};

struct FoundSetting {
  const settings::Setting* setting = nullptr;
  settings::Reading reading;
  Origin origin;                 // of the value in force
  std::vector<Origin> shadowed;  // what others say to no effect, the deepest first
};

// kind: one word for programs; text: the whole for people.
struct Warning {
  std::string kind;
  std::string name;
  std::string text;
};

struct Findings {
  std::vector<FoundSetting> settings;
  std::vector<Warning> warnings;
};

// Imports that branch of the registry into this process's environment, as a start of the agent
// does, and reads every setting from it.
Findings find_settings(const std::string& branch);

// A value in its unit, "on" or "off", or the text; "-" for a text that is not set.
std::string shown(const FoundSetting& found);
std::string shown_preset(const settings::Setting& setting);

}  // namespace cli
