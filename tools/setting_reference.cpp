#include "tools/setting_reference.h"

#include <sstream>

#include "framework/xaf/setting_list.h"
#include "include/setting_list.h"

namespace {

constexpr const char* kIntroduction = R"(# Settings

Generated from include/setting_list.h and framework/xaf/setting_list.h; do not edit:
`setting_reference > docs/settings.md` writes this page. `dirwatch config` shows the same list with
the values in force on a machine, where each comes from, and what is set to no effect.

## The agent's variables

The agent reads its settings from its environment, once at its start unless a line here says
otherwise. Before that it imports the text values of the "Environment" keys of the registry, from
`HKEY_LOCAL_MACHINE\SOFTWARE\Marlow\DCW\Ver610\Primary` up to `...\Marlow\DCW`. A level nearer the root
replaces what a deeper one says, and the registry replaces what the process was started with; an
empty value takes the variable away. An expandable value sees what was set before it. A value that
names itself grows: each start imports twice.

A level is read up to the first name of more than 127 characters or value of more than 2047; the
trace tells of it, and the levels above are still read. Numbers are decimal. Text that is no number
reads as 0, and text behind a number is not looked at.

)";

constexpr const char* kFile = R"(
## The configuration file

The local framework reads one TOML file, which `--config` or `DIRWATCH_CONFIG` names; docs/dirwatch.toml
is one with every default and its explanation. `[trace.units]` and `[tables.NAME]` take any name.
`DIRWATCH_CONFIG` may itself come from the registry.

| Setting | Default | Value | Meaning |
|---|---|---|---|
)";

std::string preset(const settings::Setting& setting) {
  switch (setting.rule) {
    case settings::Rule::kText:
      return "not set";
    case settings::Rule::kUnlessWord:
    case settings::Rule::kUnlessSameWord:
    case settings::Rule::kWhenSet:
      return setting.preset != 0 ? "on" : "off";
    default:
      return std::to_string(setting.preset) + " " + setting.unit;
  }
}

std::string rule(const settings::Setting& setting) {
  const std::string word = setting.word;
  switch (setting.rule) {
    case settings::Rule::kNotNegative:
      return "a number; a negative one leaves the default";
    case settings::Rule::kAboveDefault:
      return "a number; one that is not above the default leaves it";
    case settings::Rule::kPositive:
      return "a number; one below 1 leaves the default";
    case settings::Rule::kUnlessWord:
      return "`" + word + "`, letter case aside, switches off; anything else is on";
    case settings::Rule::kUnlessSameWord:
      return "`" + word + "` switches off; anything else is on";
    case settings::Rule::kWhenSet:
      return "any text switches on";
    case settings::Rule::kText:
      return "a text";
  }
  return "";
}

}  // namespace

std::string setting_reference() {
  std::ostringstream page;
  page << kIntroduction << "| Variable | Default | Read as | Meaning |\n|---|---|---|---|\n";
  for (const settings::Setting* setting : settings::kAll) {
    page << "| `" << setting->name << "` | " << preset(*setting) << " | " << rule(*setting) << " | "
         << setting->sentence << " |\n";
  }
  page << kFile;
  for (const xaf::ConfigurationSetting& setting : xaf::kConfigurationSettings) {
    const std::string value = setting.preset[0] == '\0' ? std::string("not set")
                                                        : "`" + std::string(setting.preset) + "`";
    page << "| `" << setting.name << "` | " << value << " | " << setting.unit << " | "
         << setting.sentence << " |\n";
  }
  return page.str();
}
