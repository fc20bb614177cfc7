#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSAB =
    define(kLongHead, "DCWNTDSAB", "TODO", Timing{"AddressBook", 1}, integer("ABANRPS", "TODO"),
           integer("ABBRSPS", "TODO"), integer("ABCLISES", "TODO"), integer("ABMATPS", "TODO"),
           integer("ABPRPRPS", "TODO"), integer("ABPRXLKP", "TODO"), integer("ABSRCPS", "TODO"));

static_assert(DCWNTDSAB.row_size() == 244);

}  // namespace tables
