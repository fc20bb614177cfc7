#pragma once
// Questions to the domain name system.

#include "platform/base.h"
#ifdef _WIN32
#include <windns.h>
#else

using DNS_STATUS = LONG;
using IP4_ADDRESS = DWORD;

#define DNS_TYPE_A 0x0001
#define DNS_TYPE_NS 0x0002
#define DNS_TYPE_CNAME 0x0005
#define DNS_TYPE_PTR 0x000c
#define DNS_TYPE_AAAA 0x001c
#define DNS_TYPE_SRV 0x0021

#define DNS_QUERY_STANDARD 0x00000000
#define DNS_QUERY_BYPASS_CACHE 0x00000008

#define DNS_ERROR_RCODE_SERVER_FAILURE 9002
#define DNS_ERROR_RCODE_NAME_ERROR 9003
#define DNS_ERROR_RCODE_REFUSED 9005
#define DNS_INFO_NO_RECORDS 9501
#define DNS_ERROR_BAD_PACKET 9502

enum DNS_FREE_TYPE { DnsFreeFlat = 0, DnsFreeRecordList = 1, DnsFreeParsedMessageFields = 2 };

struct DNS_A_DATA {
  IP4_ADDRESS IpAddress;
};
struct DNS_AAAA_DATA {
  BYTE Ip6Address[16];
};
struct DNS_PTR_DATAA {
  PSTR pNameHost;
};
struct DNS_SRV_DATAA {
  PSTR pNameTarget;
  WORD wPriority;
  WORD wWeight;
  WORD wPort;
  WORD Pad;
};

struct DNS_RECORD_FLAGS {
  DWORD Section : 2;  // 1: the answer, 3: came along
  DWORD Delete : 1;
  DWORD CharSet : 2;
  DWORD Unused : 3;
  DWORD Reserved : 24;
};

struct DNS_RECORDA {
  DNS_RECORDA* pNext;
  PSTR pName;
  WORD wType;
  WORD wDataLength;
  union {
    DWORD DW;
    DNS_RECORD_FLAGS S;
  } Flags;
  DWORD dwTtl;
  DWORD dwReserved;
  union {
    DNS_A_DATA A;
    DNS_AAAA_DATA AAAA;
    DNS_PTR_DATAA PTR, NS, CNAME;
    DNS_SRV_DATAA SRV;
  } Data;
};
using DNS_RECORD = DNS_RECORDA;
using PDNS_RECORD = DNS_RECORDA*;
struct IP4_ARRAY;

// 0 and a list of records that the caller frees, answers first, or a status of the system. Several
// servers given as extra are not asked here: the controller knows its own.
DNS_STATUS DnsQuery_A(PCSTR name, WORD type, DWORD options, IP4_ARRAY* extra, PDNS_RECORD* results,
                      PVOID* reserved);
// Frees the list from that record on; null is left alone.
void DnsRecordListFree(PDNS_RECORD records, DNS_FREE_TYPE type);

#endif
