#pragma once
// The tables whose collector is not built yet. Each is registered like any other; its sample leaves
// one line in the trace and no row. Building a table's collector takes its line out of the list.

#include <string_view>

#include "tables/classes.h"

// X(lower-case name, definition) for each table without a collector.
#define DCW_FOR_EACH_PENDING_TABLE(X) \
  X(dcwntdsdca, DCWNTDSDCA)           \
  X(dcwntdstrs, DCWNTDSTRS)           \
  X(dcwntdsttp, DCWNTDSTTP)           \
  X(dcwsysrpl, DCWSYSRPL)

// Whether the table of that upper-case name has no collector yet.
bool is_pending(std::string_view table);
