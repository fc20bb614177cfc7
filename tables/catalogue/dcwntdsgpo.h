#pragma once
// Group policy objects, each with its version in the directory and in its folder: where they
// differ, one of the two has not replicated.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSGPO = define(
    kLongHead, "DCWNTDSGPO",
    "One group policy object of the domain a row. All rows of a sample carry the same ROWNO, which "
    "counts on from sample to sample.",
    Timing{"GroupPolicyObjects", 12}, text("GPONAM", 64, "Display name of the policy."),
    text("GPOGUID", 64, "Identifier of the policy: its GUID in braces."),
    integer("GPOSVV", "Version in the policy's folder under SYSVOL; -1 when it could not be read."),
    integer("GPOVER", "Version in the directory; 0 when it could not be read."),
    integer("GPOSTA",
            "Which parts are switched off: -1 none, 1 the user's, 2 the computer's, 3 both; 0 when "
            "it could not be read."),
    text("GPOCRT", 64,
         "Time of creation, local time, as MM/DD/YYYY  hh:mm with two blanks between."),
    text("GPOMRT", 64,
         "Time of the last change, local time, as MM/DD/YYYY  hh:mm with two blanks between."));

static_assert(DCWNTDSGPO.row_size() == 484);

}  // namespace tables
