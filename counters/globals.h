#pragma once
// The collectors that live as long as the agent does. They are built on a thread of their own,
// because building is slow, and destroyed when the service stops.
//
// What guards them: allocateGlobals holds g_collectLock for the whole of its run and signals
// g_allocateGlobalsEvent at its end; sampling threads wait for that event, cached collections take
// that lock. deleteGlobals takes neither: it runs only after the framework has ended. The pointers
// are atomics so that reading one that is still null, which the tables of the instance collectors
// may do, is no race.

#include <atomic>

#include "counters/adpdh.h"
#include "counters/adpdh_instances.h"
#include "include/platform/threads.h"

extern std::atomic<ADPDH*> g_AddressBook;
extern std::atomic<ADPDH*> g_Replication;
extern std::atomic<ADPDH*> g_DirServices;
extern std::atomic<ADPDH*> g_KCC;
extern std::atomic<ADPDH*> g_KDC;
extern std::atomic<ADPDH*> g_LDAP;
extern std::atomic<ADPDH*> g_SAM;
extern std::atomic<ADPDH*> g_NSPI;
extern std::atomic<ADPDH*> g_LSA;
extern std::atomic<ADPDH*> g_FRS;
extern std::atomic<ADPDH*> g_ESE;
extern std::atomic<ADPDH*> g_DHCP;
extern std::atomic<ADPDH*> g_DNS;
extern std::atomic<ADPDH*> g_DFSR;
extern std::atomic<ADPDH_instances*> g_DFRC;
extern std::atomic<ADPDH_instances*> g_DFSV;
extern std::atomic<ADPDH_instances*> g_DFRF;

// Body of the thread that builds them all; always 0. An object whose memory cannot be had stays
// null, and the next one is built.
unsigned __stdcall allocateGlobals(void* argument);

// Destroys what there is and leaves null pointers. Does not reset the event.
void deleteGlobals();
