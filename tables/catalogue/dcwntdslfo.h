#pragma once
// Objects whose parent was deleted elsewhere while they were being made: replication moves them
// here.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSLFO =
    define(kLongHead, "DCWNTDSLFO",
           "One object in the domain's LostAndFound container a row. All rows of a sample carry "
           "the same ROWNO, which counts on from sample to sample.",
           Timing{"LostAndFoundObjects", 16}, text("LFONAM", 64, "Name of the object."),
           text("LFOTYP", 64, "Class of the object: the most specific one."));

static_assert(DCWNTDSLFO.row_size() == 344);

}  // namespace tables
