#pragma once
// Tables as people name them on the command line.

#include <string_view>

#include "tables/catalogue_view.h"

namespace cli {

// The table of that name ("DCWNTDSCNT") or of that word ("Containers") when only one has it, letter
// case aside; null when there is none.
const tables::TableView* find_table(std::string_view name);

// Says that no table has that name and what to do next; gives the exit status for it.
int report_unknown_table(std::string_view name);

}  // namespace cli
