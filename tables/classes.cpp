#include "tables/classes.h"

namespace {

// What marks each table in the program file: the generator's version and moment of generation are
// fixed values that the receiving side knows.
#define DCW_TABLE_VERSION(lower, definition)                 \
  [[maybe_unused, gnu::used]] const char lower##_version[] = \
      "@(#) XAF: DCW." #definition ", version: 1140 on 09/30/11 05:48:41";
DCW_FOR_EACH_TABLE(DCW_TABLE_VERSION)
#undef DCW_TABLE_VERSION

}  // namespace

#define DCW_TABLE_FUNCTIONS(lower, definition)                                     \
  std::int32_t dcw_##lower##_init() { return tables::init<tables::definition>(); } \
  std::int32_t EventArrived_dcw_##lower(char* rows, std::int32_t count) {          \
    return tables::event_arrived<tables::definition>(rows, count);                 \
  }
DCW_FOR_EACH_TABLE(DCW_TABLE_FUNCTIONS)
#undef DCW_TABLE_FUNCTIONS
