#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSSAM =
    define(kLongHead, "DCWNTDSSAM", "TODO", Timing{"SecurityAccountsManager", 23},
           integer("SAMACTGRP", "TODO"), integer("SAMMCATM", "TODO"), integer("SAMUSRATM", "TODO"),
           integer("SAMENMR", "TODO"), integer("SAMGCEVAL", "TODO"), integer("SAMMEM", "TODO"),
           integer("SAMNTMEM", "TODO"), integer("SAMPWDCNG", "TODO"), integer("SAMQRYDSP", "TODO"),
           integer("SAMRDS", "TODO"), integer("SAMRSRC", "TODO"), integer("SAMSRC", "TODO"),
           integer("SAMMCCRT", "TODO"), integer("SAMUSRCRT", "TODO"), integer("SAMTMEVAL", "TODO"),
           integer("SAMUGMEVAL", "TODO"), integer("SAMWRITES", "TODO"), integer("SAMDLGME", "TODO"),
           integer("SAMRGEL", "TODO"));

static_assert(DCWNTDSSAM.row_size() == 292);

}  // namespace tables
