#pragma once
// Read before every source of the controller parts: some calls that they make are macros of the
// SDK's headers, here over calls of other names, and would come out under those.

#include "include/platform/dns.h"

#undef DnsRecordListFree
