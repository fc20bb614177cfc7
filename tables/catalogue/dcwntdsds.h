#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDS =
    define(kLongHead, "DCWNTDSDS", "TODO", Timing{"DNS", 9}, integer("DSCLBND", "TODO"),
           integer("DSNMTRA", "TODO"), integer("DSDIRRD", "TODO"), integer("DSDIRSRC", "TODO"),
           integer("DSDIRWTS", "TODO"), integer("DSMONSZE", "TODO"), integer("DSNMCHR", "TODO"),
           integer("DSQSIZE", "TODO"), integer("DSOTHRDS", "TODO"), integer("DSOTHSRC", "TODO"),
           integer("DSOTHWRT", "TODO"), integer("DSSRCOPER", "TODO"), integer("DSSECPROP", "TODO"),
           integer("DSSECXTM", "TODO"), integer("DSSECRUNTM", "TODO"), integer("DSSECOPER", "TODO"),
           integer("DSBINDS", "TODO"), integer("DSNMTRAN", "TODO"), integer("DSTHRDS", "TODO"),
           integer("DSWRNTDS", "TODO"), integer("DSSRNTDS", "TODO"), integer("DSRDNTDS", "TODO"));

static_assert(DCWNTDSDS.row_size() == 304);

}  // namespace tables
