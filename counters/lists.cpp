#include "counters/lists.h"

namespace counters {

#define DCW_LIST(name) \
  CounterList { #name, name }
constinit const std::array<CounterList, kCounterListCount> kCounterLists = {
    DCW_LIST(g_ABList),      DCW_LIST(g_ReplList),   DCW_LIST(g_DSList),    DCW_LIST(g_KCCList),
    DCW_LIST(g_KDCList),     DCW_LIST(g_LDAPList),   DCW_LIST(g_LSAList),   DCW_LIST(g_NSPIList),
    DCW_LIST(g_SAMList),     DCW_LIST(g_XDSList),    DCW_LIST(g_FRSList),   DCW_LIST(g_ESEList),
    DCW_LIST(g_DHCPList),    DCW_LIST(g_DNSList),    DCW_LIST(g_ABListV6),  DCW_LIST(g_ReplListV6),
    DCW_LIST(g_DSListV6),    DCW_LIST(g_KCCListV6),  DCW_LIST(g_KDCListV6), DCW_LIST(g_LDAPListV6),
    DCW_LIST(g_LSAListV6),   DCW_LIST(g_NSPIListV6), DCW_LIST(g_SAMListV6), DCW_LIST(g_DFSRList),
    DCW_LIST(g_DHCPListV61), DCW_LIST(g_DFRCList),   DCW_LIST(g_DFSVList),  DCW_LIST(g_DFRFList),
};
#undef DCW_LIST

}  // namespace counters
