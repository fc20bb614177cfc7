#pragma once
// The tables' classes and generated functions under the names by which the framework's people know
// them: dcw_dcwntdsab_manager, dcw_dcwntdsab_base, dcw_dcwntdsab_agent, dcw_dcwntdsab_init,
// EventArrived_dcw_dcwntdsab, and likewise for each table. The init functions give 0, or the
// failure of the registration, and are called once each by LoadAgents.

#include "tables/agent_states.h"
#include "tables/catalogue.h"
#include "tables/numbered_agents.h"
#include "tables/table.h"

#define DCW_TABLE_NAMES(lower, definition)                           \
  using dcw_##lower##_manager = tables::Manager<tables::definition>; \
  using dcw_##lower##_base = tables::Base<tables::definition>;       \
  using dcw_##lower##_agent = tables::Agent<tables::definition>;     \
  /* Each table's source unit defines its own. */                    \
  template <>                                                        \
  void tables::Agent<tables::definition>::TakeSample();              \
  std::int32_t dcw_##lower##_init();                                 \
  std::int32_t EventArrived_dcw_##lower(char* rows, std::int32_t count);
DCW_FOR_EACH_TABLE(DCW_TABLE_NAMES)
#undef DCW_TABLE_NAMES
