#pragma once
// The background threads beside the framework's: one for each cached table, the object count, and
// the sysvol test. Each takes no argument, loops for as long as hTerminateEvent is non-null, looks
// at it only after its pause, gives 0, and is waited for by nobody.

unsigned collectandCacheDCAData(void* argument);
unsigned collectandCacheDNSAdData(void* argument);
unsigned collectandCacheDRAData(void* argument);
unsigned collectandCacheDCPData(void* argument);
unsigned collectandCacheRLTData(void* argument);
unsigned collectandCacheRPLData(void* argument);
unsigned collectandCacheTRSData(void* argument);
unsigned collectandCacheTTPData(void* argument);

// Counts the domain's objects, rarely.
unsigned collectNumberOfObjectsInDomain(void* argument);

// The sysvol test. Takes no g_collectLock: its periods are minutes long.
unsigned CollectAndCacheSPRLData(void* argument);
// Deletes the sysvol test's files, here and on the partners. Also part of the orderly stop.
void ClearData();
