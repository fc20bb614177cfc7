#pragma once
// The locator, replication and trust interfaces worked out from what controllers tell over LDAP and
// DNS, for machines that have no such interfaces of their own:
//
// - controllers of a domain are those of its SRV records; each tells its roles and site itself, or
//   they follow from its root object where it does not answer the question for them
// - replication links are the values of repsFrom of the server's naming contexts
// - trusts are the trusted-domain objects of the server's domain
//
// What cannot be found out answers as an absent thing. directory and dns (which may be null) are
// the caller's and outlive this.

#include <memory>

#include "platform/controller.h"
#include "platform/directory_services/services.h"

namespace platform {

std::unique_ptr<DirectoryServices> make_asked_services(Directory& directory, DnsSource* dns);

}  // namespace platform
