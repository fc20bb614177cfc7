#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSSVC = define(
    kLongHead, "DCWNTDSSVC", "TODO", Timing{"WinServices", 24}, text("DISPNAME", 64, "TODO"),
    text("CURRSTAT", 20, "TODO"), text("STARTYPE", 16, "TODO"), text("BINARYEX", 64, "TODO"),
    text("ACCONTID", 32, "TODO"), text("LORGROUP", 20, "TODO"), text("SRVCNAME", 64, "TODO"),
    utf8("UDISPNAME", 400, "TODO"), utf8("UBINARYEX", 392, "TODO"), utf8("UACCONTID", 52, "TODO"));

static_assert(DCWNTDSSVC.row_size() == 1340);

}  // namespace tables
