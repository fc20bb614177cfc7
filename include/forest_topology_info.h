#pragma once
// One domain controller of the forest; filled by DNSUtils::GetForestTopologyInfo. Text fields are
// zero padded.

struct ForestTopologyInfo {
  char hostName[256] = {};    // full name, upper case
  char domainName[256] = {};  // hostName behind its first dot
  char distinguishedName[256] = {};
  char siteName[256] = {};
  char commonName[256] = {};
  char isRODC[64] = {};  // "TRUE", "FALSE" or "NOT_SUPPORTED"
  char parentDomain[256] = {};
  char fullDistinguishedName[2048] = {};  // the distinguished name again, whole
};
