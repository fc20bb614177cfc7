#pragma once
// Questions to the locator and the trust interface: the site of a server, the trusts of a domain,
// and whether the consistency checker's inter-site work is on. No state: each call goes to the
// directory service, from any thread of the process's apartment.

#include <span>

#include "include/platform/directory_services.h"

class DSFUtils {
 public:
  // The trusts, inbound and outbound, that the server's domain has itself. The platform's status; 0
  // is success, and only then is there an array. It is the caller's, who frees it with
  // NetApiBufferFree. count is 0 after a failure.
  static DWORD GetDomainTrustRelationships(const char* server, PDS_DOMAIN_TRUSTSA* trusts,
                                           ULONG& count);

  // The platform's status; 0 is success. A failure empties siteName.
  static DWORD GetSiteName(const char* server, std::span<char> siteName);

  // Whether the checker's inter-site topology work is enabled in the host's site: true unless the
  // directory clearly says no. 0, or -1 when the directory could not be asked; enabled is then
  // true, and only for a null host unwritten.
  static int IsKCCEnabled(const char* host, unsigned char& enabled);
};
