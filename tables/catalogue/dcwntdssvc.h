#pragma once
// The Win32 services of the machine, all of them. Texts that other languages need come twice, cut
// in ASCII and whole in UTF-8.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSSVC =
    define(kLongHead, "DCWNTDSSVC",
           "One Windows service a row, in the order of the service manager. SAMPLENO is always 0.",
           Timing{"WinServices", 24},
           text("DISPNAME", 64, "Display name, in ASCII; UDISPNAME holds it in UTF-8."),
           text("CURRSTAT", 20,
                "State: Stopped, Start Pending, Stop Pending, Running, Continue Pending, Pause "
                "Pending or Paused; Unknown when the service could not be read."),
           text("STARTYPE", 16,
                "Start type: Boot, System, Automatic, Manual or Disabled; Unknown when the service "
                "could not be read."),
           text("BINARYEX", 64,
                "Path of the program with its arguments, in ASCII; UBINARYEX holds it in UTF-8."),
           text("ACCONTID", 32,
                "Account that the service runs under, in ASCII; UACCONTID holds it in UTF-8."),
           text("LORGROUP", 20, "Load order group; blank when it has none."),
           text("SRVCNAME", 64, "Name of the service in the service manager's database."),
           utf8("UDISPNAME", 400, "Display name, in UTF-8."),
           utf8("UBINARYEX", 392, "Path of the program with its arguments, in UTF-8."),
           utf8("UACCONTID", 52, "Account that the service runs under, in UTF-8."));

static_assert(DCWNTDSSVC.row_size() == 1340);

}  // namespace tables
