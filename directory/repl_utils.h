#pragma once
// Questions to a controller's replication interface: whom it replicates with, and what a failure of
// replication means in words. No state; from any thread.

#include <span>
#include <string>
#include <vector>

#include "include/platform/directory_services.h"

class ReplUtils {
 public:
  ReplUtils();
  ~ReplUtils();

  // The neighbours of the server, given by its full name. ok tells whether they were had; they are
  // then the caller's, who frees them with DsReplicaFreeInfo and kind 0. The status of the last
  // platform call. infoType is not looked at; callers pass 0.
  static DWORD GetReplicationPartnersInfo(const char* server, int infoType,
                                          DS_REPL_NEIGHBORSW** neighbours, unsigned char& ok);

  // Appends the full names of the partners that are in the server's own domain.
  static void GetReplicationPartnerInDomain(const char* server, std::vector<std::string>& partners);

  // The system's text for a status, empty when there is none. Always 0. What does not fit is cut
  // and traced.
  static int GetErrorText(DWORD code, std::span<wchar_t> text);
};
