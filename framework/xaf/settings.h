#pragma once
// The configuration in force, and what follows from it.

#include <string>
#include <vector>

#include "framework/xaf/control.h"
#include "xaf.h"

namespace xaf {

struct CurrentConfiguration {
  Configuration configuration;
  bool configured = false;  // through configure(), or read from a file by xafmain
};
CurrentConfiguration current_configuration();
void forget_configuration();

// The table's own settings, or the defaults; enabled false when it is not among those asked for.
TableSettings settings_of(const Configuration& configuration, const std::string& table);

// Whether each threshold names a column of the table and has an operator and a value that suit it;
// column names are made upper-case. False, with the reason naming table, column and value.
bool check_thresholds(const std::string& table, const std::vector<ColumnView>& columns,
                      TableSettings& settings, std::string& error);

std::string upper_case(std::string text);

}  // namespace xaf
