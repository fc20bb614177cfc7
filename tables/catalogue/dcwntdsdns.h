#pragma once
// The DNS server. The changes since the previous sample, and the failure percentages made of them,
// start at 0 for every new request of the framework.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDNS = define(
    kLongHead, "DCWNTDSDNS",
    "Load and failures of the DNS server, counted since it started, and whether it is installed: "
    "always one row a sample, with 0 in all counters where they are absent.",
    Timing{"DNS", 8},
    integer("DNSDUFP",
            "Dynamic updates rejected or timed out since the previous sample, as a rounded "
            "percentage of those received since then; 0 when none was received."),
    integer("DNSRSPT",
            "1000 divided by the responses sent per second, rounded: the mean time between two "
            "responses in milliseconds; 0 when none was sent."),
    integer("DNSTFFP",
            "Zone transfers failed since the previous sample, as a rounded percentage of the "
            "transfer requests received since then; 0 when none was received."),
    text("DNSSRV", 64,
         "TRUE when the DNS server service is installed and can be read, whether or not it runs; "
         "FALSE otherwise."),
    integer("DNSCAM", "Memory for caching, in kilobytes."),
    integer("DNSDUQ", "Dynamic updates queued."), integer("DNSDUR", "Dynamic updates received."),
    integer("DNSDUCR",
            "Dynamic updates received per second over the half second of the sample, truncated to "
            "a whole number."),
    integer("DNSDURJ", "Dynamic updates rejected."),
    integer("DNSDUTO", "Dynamic updates that timed out."), integer("DNSQRT", "Queries received."),
    integer("DNSQRTR",
            "Queries received per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("DNSRST", "Responses sent."),
    integer("DNSRSTR",
            "Responses sent per second over the half second of the sample, truncated to a whole "
            "number."),
    integer("DNSZTF", "Zone transfers that failed, as master."),
    integer("DNSZTR", "Zone transfer requests received, as master."),
    integer("DNSZTS", "Zone transfers that succeeded, as master."),
    integer("DNSDURJP",
            "Dynamic updates rejected since the previous sample, as a rounded percentage of those "
            "received since then; 0 when none was received."),
    integer("DNSDUTOP",
            "Dynamic updates timed out since the previous sample, as a rounded percentage of those "
            "received since then; 0 when none was received."),
    integer("DNSRSTD", "Responses sent since the previous sample; 0 in the first."),
    integer("DNSQRTD", "Queries received since the previous sample; 0 in the first."),
    integer("DNSDURD", "Dynamic updates received since the previous sample; 0 in the first."),
    integer("DNSDURJD", "Dynamic updates rejected since the previous sample; 0 in the first."),
    integer("DNSDUTOD", "Dynamic updates timed out since the previous sample; 0 in the first."),
    integer("DNSZTFD", "Zone transfers failed since the previous sample; 0 in the first."),
    integer("DNSZTRD",
            "Zone transfer requests received since the previous sample; 0 in the first."),
    integer("DNSZTSD", "Zone transfers succeeded since the previous sample; 0 in the first."),
    integer("DNSARR", "Full zone transfer (AXFR) requests received, as master."),
    integer("DNSARS", "Full zone transfer (AXFR) requests sent, as secondary."),
    integer("DNSARPR", "Full zone transfer (AXFR) responses received, as secondary."),
    integer("DNSASR", "Full zone transfers (AXFR) completed, as secondary."),
    integer("DNSASS", "Full zone transfers (AXFR) completed, as master."),
    integer("DNSDNM", "Memory for database nodes, in kilobytes."),
    integer("DNSUPNO", "Dynamic updates that were empty or changed nothing."),
    integer("DNSUNOS",
            "Dynamic updates that were empty or changed nothing per second over the half second of "
            "the sample, truncated to a whole number."),
    integer("DNSUPDB", "Dynamic updates written to the database."),
    integer("DNSUDBS",
            "Dynamic updates written to the database per second over the half second of the "
            "sample, truncated to a whole number."),
    integer("DNSIRR", "Incremental zone transfer (IXFR) requests received, as master."),
    integer("DNSIRS", "Incremental zone transfer (IXFR) requests sent, as secondary."),
    integer("DNSIRPR", "Incremental zone transfer (IXFR) responses received, as secondary."),
    integer("DNSISR", "Incremental zone transfers (IXFR) completed, as secondary."),
    integer("DNSISS", "Incremental zone transfers (IXFR) completed, as master."),
    integer("DNSITCPS", "Incremental zone transfers (IXFR) completed over TCP, as secondary."),
    integer("DNSIUDPS", "Incremental zone transfers (IXFR) completed over UDP, as secondary."),
    integer("DNSNBM", "Memory for NetBIOS status (nbstat) records, in kilobytes."),
    integer("DNSNTR", "Notifications of zone changes received, as secondary."),
    integer("DNSNTS", "Notifications of zone changes sent, as master."),
    integer("DNSRFM", "Memory for the flow of records, in kilobytes."),
    integer("DNSRQ", "Recursive queries received."),
    integer("DNSRQS",
            "Recursive queries received per second over the half second of the sample, truncated "
            "to a whole number."),
    integer("DNSRQF", "Recursive queries that failed."),
    integer("DNSRQFS",
            "Recursive queries that failed per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DNSRSTO", "Recursive queries sent that timed out."),
    integer("DNSRTOS",
            "Recursive queries sent that timed out per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DNSSUFL", "Secure updates that failed."),
    integer("DNSSURC", "Secure updates received."),
    integer("DNSSURS",
            "Secure updates received per second over the half second of the sample, truncated to a "
            "whole number."),
    integer("DNSTCPMM", "Memory for TCP messages, in kilobytes."),
    integer("DNSTCPQR", "Queries received over TCP."),
    integer("DNSTCPQS",
            "Queries received over TCP per second over the half second of the sample, truncated to "
            "a whole number."),
    integer("DNSTCPRS", "Responses sent over TCP."),
    integer("DNSTCPRES",
            "Responses sent over TCP per second over the half second of the sample, truncated to a "
            "whole number."),
    integer("DNSUDPMM", "Memory for UDP messages, in kilobytes."),
    integer("DNSUDPQR", "Queries received over UDP."),
    integer("DNSUDPQS",
            "Queries received over UDP per second over the half second of the sample, truncated to "
            "a whole number."),
    integer("DNSUDPRS", "Responses sent over UDP."),
    integer("DNSUDPRES",
            "Responses sent over UDP per second over the half second of the sample, truncated to a "
            "whole number."),
    integer("DNSWNLR", "Lookups received that WINS answers."),
    integer("DNSWNLRS",
            "Lookups received that WINS answers per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DNSWNRS", "Responses sent from WINS."),
    integer("DNSWNRSS",
            "Responses sent from WINS per second over the half second of the sample, truncated to "
            "a whole number."),
    integer("DNSWRLR", "Reverse lookups received that WINS answers."),
    integer("DNSWRLRS",
            "Reverse lookups received that WINS answers per second over the half second of the "
            "sample, truncated to a whole number."),
    integer("DNSWRRS", "Reverse responses sent from WINS."),
    integer("DNSWRRSS",
            "Reverse responses sent from WINS per second over the half second of the sample, "
            "truncated to a whole number."),
    integer("DNSZTRRQ", "Zone transfer SOA requests sent, as secondary."),
    integer("DNSIRO",
            "1 when this is a read-only domain controller with the DNS server on it, 0 otherwise "
            "and when that could not be found out."));

static_assert(DCWNTDSDNS.row_size() == 584);

}  // namespace tables
