#pragma once
// The DHCP server for both protocol versions. The two changes of rate compare with the sample
// before and are what an alarm on a sudden flood or silence of clients needs.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDHC = define(
    kLongHead, "DCWNTDSDHC",
    "Load of the DHCP server and whether it is installed: always one row a sample, also where the "
    "counters are absent.",
    Timing{"DHCP", 7},
    integer("DHCPRIP",
            "Change of the request rate since the previous sample, as a rounded percentage of that "
            "sample's rate; 0 in the first sample and when both rates are 0, 100 when the rate "
            "rose from 0."),
    integer("DHCPAIP",
            "Change of the acknowledgement rate since the previous sample, as a rounded percentage "
            "of that sample's rate; 0 in the first sample and when both rates are 0, 100 when the "
            "rate rose from 0."),
    text("DHCPSRV", 16,
         "TRUE when the DHCP server service is installed and can be read, whether or not it runs; "
         "FALSE otherwise."),
    integer("DHCPDR",
            "DHCPv4 decline messages per second over the half second of the sample, truncated to a "
            "whole number; 0 where the counters are absent."),
    integer("DHCPCQL",
            "Packets waiting in the conflict check queue; 0 where the counters are absent."),
    integer("DHCPDDR",
            "Duplicate DHCPv4 packets dropped per second over the half second of the sample, "
            "truncated to a whole number; 0 where the counters are absent."),
    integer("DHCPNR",
            "DHCPv4 negative acknowledgements sent per second over the half second of the sample, "
            "truncated to a whole number; 0 where the counters are absent."),
    integer(
        "DHCPPER",
        "DHCPv4 packets that expired in the queue before they were processed per second over the "
        "half second of the sample, truncated to a whole number; 0 where the counters are absent."),
    integer("DHCPAQL",
            "DHCPv4 packets waiting in the active queue; 0 where the counters are absent."),
    integer("DHCPDIS",
            "DHCPv4 discover messages per second over the half second of the sample, truncated to "
            "a whole number; 0 where the counters are absent."),
    integer("DHCPINF",
            "DHCPv4 inform messages per second over the half second of the sample, truncated to a "
            "whole number; 0 where the counters are absent."),
    integer(
        "DHCPMPP",
        "Mean time to answer a DHCPv4 packet, in milliseconds; 0 where the counters are absent."),
    integer("DHCPOF",
            "DHCPv4 offers sent per second over the half second of the sample, truncated to a "
            "whole number; 0 where the counters are absent."),
    integer("DHCPPKR",
            "DHCPv4 packets received per second over the half second of the sample, truncated to a "
            "whole number; 0 where the counters are absent."),
    integer("DHCPRL",
            "DHCPv4 release messages per second over the half second of the sample, truncated to a "
            "whole number; 0 where the counters are absent."),
    integer("DHCPVDR",
            "DHCPv6 decline messages per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."),
    integer("DHCPVDDR",
            "Duplicate DHCPv6 packets dropped per second over the half second of the sample, "
            "truncated to a whole number; -1 when the system's major version is 5 or below and "
            "where the counters are absent."),
    integer("DHCPVPER",
            "DHCPv6 packets that expired in the queue before they were processed per second over "
            "the half second of the sample, truncated to a whole number; -1 when the system's "
            "major version is 5 or below and where the counters are absent."),
    integer("DHCPVAQL",
            "DHCPv6 packets waiting in the active queue; -1 when the system's major version is 5 "
            "or below and where the counters are absent."),
    integer("DHCPVAI",
            "DHCPv6 acknowledgements sent per second over the half second of the sample, truncated "
            "to a whole number; -1 when the system's major version is 5 or below and where the "
            "counters are absent."),
    integer("DHCPVRI",
            "DHCPv6 request messages per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."),
    integer("DHCPVINF",
            "DHCPv6 inform messages per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."),
    integer("DHCPVMPP",
            "Mean time to answer a DHCPv6 packet, in milliseconds; -1 when the system's major "
            "version is 5 or below and where the counters are absent."),
    integer("DHCPVPKR",
            "DHCPv6 packets received per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."),
    integer("DHCPVRL",
            "DHCPv6 release messages per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."),
    integer("DHCPVRB",
            "DHCPv6 rebind messages per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."),
    integer("DHCPVCN",
            "DHCPv6 confirm messages per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."),
    integer("DHCPVRN",
            "DHCPv6 renew messages per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."),
    integer("DHCPVAD",
            "DHCPv6 advertise messages per second over the half second of the sample, truncated to "
            "a whole number; -1 when the system's major version is 5 or below and where the "
            "counters are absent."),
    integer("DHCPVSL",
            "DHCPv6 solicit messages per second over the half second of the sample, truncated to a "
            "whole number; -1 when the system's major version is 5 or below and where the counters "
            "are absent."));

static_assert(DCWNTDSDHC.row_size() == 348);

}  // namespace tables
