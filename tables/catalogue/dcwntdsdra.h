#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDRA = define(
    kLongHead, "DCWNTDSDRA", "TODO", Timing{"Replication", 22}, integer("DRAUSNCMTH", "TODO"),
    integer("DRAUSNCMTL", "TODO"), integer("DRAUSNISDH", "TODO"), integer("DRAUSNISDL", "TODO"),
    integer("DRAIBCMPB", "TODO"), integer("DRAIBCMPA", "TODO"), integer("DRAIBNCMP", "TODO"),
    integer("DRAIBTL", "TODO"), integer("DRAIBFSNC", "TODO"), integer("DRAIBUPD", "TODO"),
    integer("DRAIBOAPPL", "TODO"), integer("DRAIBOFLT", "TODO"), integer("DRAIBO", "TODO"),
    integer("DRAIBPAPP", "TODO"), integer("DRAIBPFLT", "TODO"), integer("DRAIBPTL", "TODO"),
    integer("DRAIBV", "TODO"), integer("DRAIBVTL", "TODO"), integer("DRAOBCMPA", "TODO"),
    integer("DRAOBCMPB", "TODO"), integer("DRAOBNCMPB", "TODO"), integer("DRAOBTL", "TODO"),
    integer("DRAOBJFLT", "TODO"), integer("DRAOBJ", "TODO"), integer("DRAOPRP", "TODO"),
    integer("DRAOBVAL", "TODO"), integer("DRAOBVALTL", "TODO"), integer("DRAPRPLSYN", "TODO"),
    integer("DRARDS", "TODO"), integer("DRASRC", "TODO"), integer("DRASYNCRQ", "TODO"),
    integer("DRASYNRQ", "TODO"), integer("DRAWRITES", "TODO"), integer("DRASBHC", "TODO"),
    integer("DRASLC", "TODO"), integer("DRAIEPC", "TODO"), integer("DRAIAPC", "TODO"),
    integer("DRAIBOAPP", "TODO"), integer("DRAIBOFLTP", "TODO"), integer("DRAIBPAPPP", "TODO"),
    integer("DRAIBPFLTP", "TODO"), integer("DRAOBOFLTP", "TODO"), integer("DRAIBBIEP", "TODO"),
    integer("DRANTSTAT", "TODO"), text("DRABHS", 64, "TODO"), text("DRAHN", 64, "TODO"),
    integer("DRASYNFL", "TODO"), integer("DRAIBTBT", "TODO"), integer("DRAINCBT", "TODO"),
    integer("DRAIBCBT", "TODO"), integer("DRAIACBT", "TODO"), integer("DRAOBTBT", "TODO"),
    integer("DRAONCBT", "TODO"), integer("DRAOBCBT", "TODO"), integer("DRAOACBT", "TODO"),
    integer("DRAPREPO", "TODO"), integer("DRANCC", "TODO"), integer("DRANCSEM", "TODO"),
    integer("DRAIBLUP", "TODO"), integer("DRAIBTUP", "TODO"), integer("DRAIBTOC", "TODO"),
    integer("DRAOBTOC", "TODO"), integer("DRAOBOC", "TODO"));

static_assert(DCWNTDSDRA.row_size() == 588);

}  // namespace tables
