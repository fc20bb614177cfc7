#pragma once
// A small table with a column of each type, for tests of what every table does.

#include <functional>
#include <string>
#include <vector>

#include "framework/xaf/control.h"
#include "tables/row.h"
#include "tables/table.h"

namespace tables {

inline constexpr auto DCWSAMPLE =
    define(kLongHead, "DCWSAMPLE", "A row of the tests.", Timing{"Sample", 99},
           integer("SMPNUM", "A number."), text("SMPTXT", 5, "A text."),
           utf8("SMPUTF", 8, "A text in UTF-8."));

// How often objects of the table came and went.
struct SampleLives {
  static inline int made = 0;
  static inline int ended = 0;
};

// What TakeSample does now.
inline std::function<void(Agent<DCWSAMPLE>&)> g_take_sample;

template <>
inline void Agent<DCWSAMPLE>::TakeSampleConstructor() {
  ++SampleLives::made;
}
template <>
inline void Agent<DCWSAMPLE>::TakeSampleDestructor() {
  ++SampleLives::ended;
}
template <>
inline void Agent<DCWSAMPLE>::TakeSample() {
  if (g_take_sample) g_take_sample(*this);
}

}  // namespace tables

using SampleRow = tables::Row<tables::DCWSAMPLE>;

inline SampleRow sample_row(std::int32_t number, std::string_view text = "abc") {
  SampleRow row;
  row.set<"ORIGINNODE">("DC1");
  row.set<"TIMESTAMP">("1110102030405000");
  row.set<"SMPNUM">(number);
  row.set<"SMPTXT">(text);
  row.set<"SMPUTF">("\xc3\xbc");
  return row;
}

inline std::string block_of(const std::vector<SampleRow>& rows) {
  std::string block;
  for (const SampleRow& row : rows) block.append(row.data(), SampleRow::kSize);
  return block;
}

// Registers the table, as LoadAgents does with the others.
inline void register_sample_table() { tables::init<tables::DCWSAMPLE>(); }
