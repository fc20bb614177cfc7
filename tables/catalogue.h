#pragma once
// All tables of the agent. The order is the one in which the agent registers them.

#include "tables/catalogue/dcwntdsab.h"
#include "tables/catalogue/dcwntdscnt.h"
#include "tables/catalogue/dcwntdsdad.h"
#include "tables/catalogue/dcwntdsdai.h"
#include "tables/catalogue/dcwntdsdca.h"
#include "tables/catalogue/dcwntdsdcp.h"
#include "tables/catalogue/dcwntdsdfs.h"
#include "tables/catalogue/dcwntdsdhc.h"
#include "tables/catalogue/dcwntdsdns.h"
#include "tables/catalogue/dcwntdsdra.h"
#include "tables/catalogue/dcwntdsdrc.h"
#include "tables/catalogue/dcwntdsdrf.h"
#include "tables/catalogue/dcwntdsds.h"
#include "tables/catalogue/dcwntdsdsv.h"
#include "tables/catalogue/dcwntdsfrs.h"
#include "tables/catalogue/dcwntdsfrt.h"
#include "tables/catalogue/dcwntdsgpo.h"
#include "tables/catalogue/dcwntdskcc.h"
#include "tables/catalogue/dcwntdskdc.h"
#include "tables/catalogue/dcwntdslda.h"
#include "tables/catalogue/dcwntdsldp.h"
#include "tables/catalogue/dcwntdslfo.h"
#include "tables/catalogue/dcwntdslsa.h"
#include "tables/catalogue/dcwntdsnsp.h"
#include "tables/catalogue/dcwntdsrds.h"
#include "tables/catalogue/dcwntdsrlt.h"
#include "tables/catalogue/dcwntdsrpl.h"
#include "tables/catalogue/dcwntdssam.h"
#include "tables/catalogue/dcwntdssvc.h"
#include "tables/catalogue/dcwntdstrs.h"
#include "tables/catalogue/dcwntdsttp.h"
#include "tables/catalogue/dcwntdsxds.h"
#include "tables/catalogue/dcwsysrpl.h"

// X(lower-case name, definition) for each table.
#define DCW_FOR_EACH_TABLE(X) \
  X(dcwntdsab, DCWNTDSAB)     \
  X(dcwntdsds, DCWNTDSDS)     \
  X(dcwntdskcc, DCWNTDSKCC)   \
  X(dcwntdskdc, DCWNTDSKDC)   \
  X(dcwntdsldp, DCWNTDSLDP)   \
  X(dcwntdslsa, DCWNTDSLSA)   \
  X(dcwntdsnsp, DCWNTDSNSP)   \
  X(dcwntdsdra, DCWNTDSDRA)   \
  X(dcwntdssam, DCWNTDSSAM)   \
  X(dcwntdsxds, DCWNTDSXDS)   \
  X(dcwntdsrpl, DCWNTDSRPL)   \
  X(dcwntdsdhc, DCWNTDSDHC)   \
  X(dcwntdsdns, DCWNTDSDNS)   \
  X(dcwntdsdai, DCWNTDSDAI)   \
  X(dcwntdsfrs, DCWNTDSFRS)   \
  X(dcwntdsdca, DCWNTDSDCA)   \
  X(dcwntdsdcp, DCWNTDSDCP)   \
  X(dcwntdssvc, DCWNTDSSVC)   \
  X(dcwntdsgpo, DCWNTDSGPO)   \
  X(dcwntdstrs, DCWNTDSTRS)   \
  X(dcwntdsrlt, DCWNTDSRLT)   \
  X(dcwntdslfo, DCWNTDSLFO)   \
  X(dcwntdsdfs, DCWNTDSDFS)   \
  X(dcwntdsfrt, DCWNTDSFRT)   \
  X(dcwntdsrds, DCWNTDSRDS)   \
  X(dcwntdscnt, DCWNTDSCNT)   \
  X(dcwntdsttp, DCWNTDSTTP)   \
  X(dcwntdslda, DCWNTDSLDA)   \
  X(dcwntdsdad, DCWNTDSDAD)   \
  X(dcwntdsdrc, DCWNTDSDRC)   \
  X(dcwntdsdsv, DCWNTDSDSV)   \
  X(dcwntdsdrf, DCWNTDSDRF)   \
  X(dcwsysrpl, DCWSYSRPL)
