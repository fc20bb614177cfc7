#pragma once
// The name servers of this machine, asked afresh at each question, over UDP and, where an answer
// does not fit there, over TCP.
//
//   DIRWATCH_DNS_SERVERS  servers to ask in place of the system's: 192.0.2.1,[2001:db8::1]:5353
//   DIRWATCH_DNS_TIMEOUT  seconds that a server is given for its answer (2); each server is asked
//                         twice, so that a question to two dead servers takes at most
//                         2 * 2 * (1 + 2) seconds: the second round waits twice as long

#include <memory>
#include <string>

#include "platform/controller.h"

namespace platform::live {

struct DnsOptions {
  std::string servers;  // empty: the system's
  int timeout_s = 2;
};

// Reads the environment. Throws ControllerError for a value that cannot be meant.
DnsOptions read_dns_options();

// Knows SRV, A and AAAA. Questions may be asked by several threads at once.
std::unique_ptr<DnsSource> make_live_dns(const DnsOptions& options);

}  // namespace platform::live
