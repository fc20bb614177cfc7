#pragma once
// Questions to the locator and to a controller's own replication and trust interfaces, which no
// directory path answers: where a controller is, whether it can be bound, whom it replicates with,
// which domains trust each other.
//
// All may be called from any thread. Each gives a Windows status, 0 for success; on failure nothing
// is handed out. None of them sets the last error.

#include "platform/base.h"
#ifdef _WIN32
// clang-format off
#include <dsgetdc.h>
#include <ntdsapi.h>
#include <lmcons.h>
#include <lmapibuf.h>
// clang-format on
#else

#include "platform/time.h"

using UUID = GUID;
using USN = LONGLONG;
using PSID = void*;

#define ERROR_NO_LOGON_SERVERS 1311
#define ERROR_NO_SUCH_DOMAIN 1355
#define ERROR_NO_SITENAME 1919

// ---- where a controller is ----------------------------------------------------------------------

#define DS_FORCE_REDISCOVERY 0x1u
#define DS_DIRECTORY_SERVICE_REQUIRED 0x10u
#define DS_GC_SERVER_REQUIRED 0x40u
#define DS_PDC_REQUIRED 0x80u
#define DS_KDC_REQUIRED 0x400u
#define DS_TIMESERV_REQUIRED 0x800u
#define DS_WRITABLE_REQUIRED 0x1000u
#define DS_GOOD_TIMESERV_PREFERRED 0x2000u
#define DS_AVOID_SELF 0x4000u

#define DS_INET_ADDRESS 1u

#define DS_PDC_FLAG 0x1u
#define DS_GC_FLAG 0x4u
#define DS_LDAP_FLAG 0x8u
#define DS_DS_FLAG 0x10u
#define DS_KDC_FLAG 0x20u
#define DS_TIMESERV_FLAG 0x40u
#define DS_CLOSEST_FLAG 0x80u
#define DS_WRITABLE_FLAG 0x100u
#define DS_GOOD_TIMESERV_FLAG 0x200u
#define DS_DNS_CONTROLLER_FLAG 0x20000000u
#define DS_DNS_DOMAIN_FLAG 0x40000000u
#define DS_DNS_FOREST_FLAG 0x80000000u

struct DOMAIN_CONTROLLER_INFOA {
  LPSTR DomainControllerName;     // "\\DC1.corp.example"
  LPSTR DomainControllerAddress;  // "\\10.53.1.11"
  ULONG DomainControllerAddressType;
  GUID DomainGuid;
  LPSTR DomainName;
  LPSTR DnsForestName;
  ULONG Flags;
  LPSTR DcSiteName;
  LPSTR ClientSiteName;
};
using PDOMAIN_CONTROLLER_INFOA = DOMAIN_CONTROLLER_INFOA*;

// computer: whose locator is asked; null for this machine. domain: null for that machine's own. The
// record is one block, the caller's, to be freed with NetApiBufferFree.
DWORD DsGetDcNameA(LPCSTR computer, LPCSTR domain, GUID* domain_guid, LPCSTR site, ULONG flags,
                   PDOMAIN_CONTROLLER_INFOA* info);
// The site's name is the caller's, to be freed with NetApiBufferFree. ERROR_NO_SITENAME for a
// machine that is in no site.
DWORD DsGetSiteNameA(LPCSTR computer, LPSTR* site);

// ---- trusts -------------------------------------------------------------------------------------

#define DS_DOMAIN_IN_FOREST 0x1u
#define DS_DOMAIN_DIRECT_OUTBOUND 0x2u
#define DS_DOMAIN_TREE_ROOT 0x4u
#define DS_DOMAIN_PRIMARY 0x8u
#define DS_DOMAIN_NATIVE_MODE 0x10u
#define DS_DOMAIN_DIRECT_INBOUND 0x20u

struct DS_DOMAIN_TRUSTSA {
  LPSTR NetbiosDomainName;
  LPSTR DnsDomainName;  // null for a domain that has none
  ULONG Flags;
  ULONG ParentIndex;
  ULONG TrustType;
  ULONG TrustAttributes;
  PSID DomainSid;  // null for a domain that has none
  GUID DomainGuid;
};
using PDS_DOMAIN_TRUSTSA = DS_DOMAIN_TRUSTSA*;

// The trusts that carry any of the flags. server: null for this machine. The array is one block,
// the caller's, to be freed with NetApiBufferFree.
DWORD DsEnumerateDomainTrustsA(LPSTR server, ULONG flags, PDS_DOMAIN_TRUSTSA* trusts, ULONG* count);

// Null is allowed.
DWORD NetApiBufferFree(LPVOID buffer);

// ---- a controller's replication interface -------------------------------------------------------

// controller: its name, with or without leading backslashes; null for any of the domain. The
// binding is the caller's, to be given back with DsUnBindA.
DWORD DsBindA(LPCSTR controller, LPCSTR domain, HANDLE* binding);
// Clears the handle. Always succeeds.
DWORD DsUnBindA(HANDLE* binding);

enum DS_REPL_INFO_TYPE { DS_REPL_INFO_NEIGHBORS = 0 };

struct DS_REPL_NEIGHBORW {
  LPWSTR pszNamingContext;
  LPWSTR pszSourceDsaDN;
  LPWSTR pszSourceDsaAddress;
  LPWSTR pszAsyncIntersiteTransportDN;  // null where none is used
  DWORD dwReplicaFlags;
  DWORD dwReserved;
  UUID uuidNamingContextObjGuid;
  UUID uuidSourceDsaObjGuid;
  UUID uuidSourceDsaInvocationID;
  UUID uuidAsyncIntersiteTransportObjGuid;
  USN usnLastObjChangeSynced;
  USN usnAttributeFilter;
  FILETIME ftimeLastSyncSuccess;  // 0 for never
  FILETIME ftimeLastSyncAttempt;
  DWORD dwLastSyncResult;
  DWORD cNumConsecutiveSyncFailures;
};
static_assert(sizeof(void*) != 8 || sizeof(DS_REPL_NEIGHBORW) == 144);

// cNumNeighbors records follow one another.
struct DS_REPL_NEIGHBORSW {
  DWORD cNumNeighbors;
  DWORD dwReserved;
  DS_REPL_NEIGHBORW rgNeighbor[1];
};

// Of the kinds of information only the neighbours are served; ERROR_NOT_SUPPORTED for others. The
// record is the caller's, to be freed with DsReplicaFreeInfo and the same kind.
DWORD DsReplicaGetInfoW(HANDLE binding, DS_REPL_INFO_TYPE kind, LPCWSTR object, UUID* source,
                        void** info);
void DsReplicaFreeInfo(DS_REPL_INFO_TYPE kind, void* info);

#endif
