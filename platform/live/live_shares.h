#pragma once
// File shares of live controllers over SMB, with the Kerberos ticket of the environment
// (KRB5CCNAME). Without a ticket every share is out of reach: nobody is asked for a password, and
// nothing is tried as a guest.
//
//   DIRWATCH_SMB_TIMEOUT  seconds that a server is given for an answer (10)

#include <memory>
#include <string>

#include "platform/controller.h"

namespace platform::live {

// Seconds. Throws ControllerError for a value that cannot be meant.
int read_smb_timeout();

// The address of a path, with the characters escaped that have a meaning there.
std::string smb_url(const SharePath& path);

// machine: the controller at hand, which answers for paths that name its domain. May be used by
// several threads; the library behind it serves one at a time.
std::unique_ptr<Shares> make_live_shares(int timeout_s, const MachineFacts& machine);

}  // namespace platform::live
