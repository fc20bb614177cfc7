#pragma once
// The LDAP server. Major version 6 of the system put the counter of new SSL connections where
// others count successful binds, so that those two columns never come from the same system.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSLDP = define(
    kLongHead, "DCWNTDSLDP",
    "LDAP load on this controller: one row a sample, none when the system has no such counters.",
    Timing{"LDAP", 17}, integer("LDAPTHRD", "Threads of the LDAP server at work now."),
    integer("LDAPBNDTM", "Time that the last successful bind took, in milliseconds."),
    integer("LDAPCLNT", "LDAP client sessions connected now."),
    integer("LDAPSRC", "Percentage of directory searches that come from LDAP."),
    integer("LDAPSRCPS",
            "LDAP searches per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("LDAPBINDS",
            "Always -1: the number of successful LDAP binds is not shown on any system version."),
    integer("LDAPBNDSPS",
            "Successful LDAP binds per second over the half second of the sample, truncated to a "
            "whole number."),
    integer("LDAPUDPOP",
            "LDAP operations over UDP per second over the half second of the sample, truncated to "
            "a whole number."),
    integer("LDAPWRTS", "Percentage of directory writes that come from LDAP."),
    integer(
        "LDAPWRTSPS",
        "LDAP writes per second over the half second of the sample, truncated to a whole number."),
    integer("LDAPATQ",
            "Asynchronous-queue threads that serve LDAP now; -1 unless the system's major version "
            "is 6."),
    integer("LDAPNCON",
            "New LDAP connections per second over the half second of the sample, truncated to a "
            "whole number; -1 unless the system's major version is 6."),
    integer("LDAPCCON",
            "LDAP connections closed per second over the half second of the sample, truncated to a "
            "whole number; -1 unless the system's major version is 6."),
    integer("LDAPSSL",
            "New LDAP connections over SSL or TLS per second over the half second of the sample, "
            "truncated to a whole number; -1 unless the system's major version is 6."));

static_assert(DCWNTDSLDP.row_size() == 272);

}  // namespace tables
