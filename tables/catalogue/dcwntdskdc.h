#pragma once
// The Kerberos key distribution center.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSKDC = define(
    kLongHead, "DCWNTDSKDC",
    "Kerberos requests to this controller: one row a sample, none when the system has no such "
    "counters.",
    Timing{"KerberosKDC", 14},
    integer("KDCASREQ",
            "Authentication service requests, with which a client obtains a ticket-granting "
            "ticket, per second over the half second of the sample, truncated to a whole number."),
    integer("KDCTGSREQ",
            "Ticket-granting service requests, with which a client obtains a ticket to a resource, "
            "per second over the half second of the sample, truncated to a whole number."),
    integer("KDCAUTH",
            "Kerberos authentications of clients by this controller per second over the half "
            "second of the sample, truncated to a whole number."));

static_assert(DCWNTDSKDC.row_size() == 228);

}  // namespace tables
