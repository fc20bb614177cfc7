#pragma once
// The containers that lie directly under the head of a naming context.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSCNT = define(
    kShortHead, "DCWNTDSCNT", "One container a row, from every naming context of this controller.",
    Timing{"Containers", 3}, text("CNTPART", 256, "Naming context that the container lies in."),
    text("CNTCMNM", 64, "Common name of the container."),
    text("CNTDISNM", 256, "Distinguished name of the container."),
    text("CNTCLS", 64, "Object class of the container: the one just below top."),
    text("CNTCRTS", 64,
         "Time of creation, local time, as MM/DD/YYYY  hh:mm with two blanks between."),
    text("CNTMDTS", 64,
         "Time of the last change, local time, as MM/DD/YYYY  hh:mm with two blanks between."));

static_assert(DCWNTDSCNT.row_size() == 848);

}  // namespace tables
