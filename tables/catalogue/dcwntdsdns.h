#pragma once
// TODO table comment

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSDNS =
    define(kLongHead, "DCWNTDSDNS", "TODO", Timing{"DNS", 8}, integer("DNSDUFP", "TODO"),
           integer("DNSRSPT", "TODO"), integer("DNSTFFP", "TODO"), text("DNSSRV", 64, "TODO"),
           integer("DNSCAM", "TODO"), integer("DNSDUQ", "TODO"), integer("DNSDUR", "TODO"),
           integer("DNSDUCR", "TODO"), integer("DNSDURJ", "TODO"), integer("DNSDUTO", "TODO"),
           integer("DNSQRT", "TODO"), integer("DNSQRTR", "TODO"), integer("DNSRST", "TODO"),
           integer("DNSRSTR", "TODO"), integer("DNSZTF", "TODO"), integer("DNSZTR", "TODO"),
           integer("DNSZTS", "TODO"), integer("DNSDURJP", "TODO"), integer("DNSDUTOP", "TODO"),
           integer("DNSRSTD", "TODO"), integer("DNSQRTD", "TODO"), integer("DNSDURD", "TODO"),
           integer("DNSDURJD", "TODO"), integer("DNSDUTOD", "TODO"), integer("DNSZTFD", "TODO"),
           integer("DNSZTRD", "TODO"), integer("DNSZTSD", "TODO"), integer("DNSARR", "TODO"),
           integer("DNSARS", "TODO"), integer("DNSARPR", "TODO"), integer("DNSASR", "TODO"),
           integer("DNSASS", "TODO"), integer("DNSDNM", "TODO"), integer("DNSUPNO", "TODO"),
           integer("DNSUNOS", "TODO"), integer("DNSUPDB", "TODO"), integer("DNSUDBS", "TODO"),
           integer("DNSIRR", "TODO"), integer("DNSIRS", "TODO"), integer("DNSIRPR", "TODO"),
           integer("DNSISR", "TODO"), integer("DNSISS", "TODO"), integer("DNSITCPS", "TODO"),
           integer("DNSIUDPS", "TODO"), integer("DNSNBM", "TODO"), integer("DNSNTR", "TODO"),
           integer("DNSNTS", "TODO"), integer("DNSRFM", "TODO"), integer("DNSRQ", "TODO"),
           integer("DNSRQS", "TODO"), integer("DNSRQF", "TODO"), integer("DNSRQFS", "TODO"),
           integer("DNSRSTO", "TODO"), integer("DNSRTOS", "TODO"), integer("DNSSUFL", "TODO"),
           integer("DNSSURC", "TODO"), integer("DNSSURS", "TODO"), integer("DNSTCPMM", "TODO"),
           integer("DNSTCPQR", "TODO"), integer("DNSTCPQS", "TODO"), integer("DNSTCPRS", "TODO"),
           integer("DNSTCPRES", "TODO"), integer("DNSUDPMM", "TODO"), integer("DNSUDPQR", "TODO"),
           integer("DNSUDPQS", "TODO"), integer("DNSUDPRS", "TODO"), integer("DNSUDPRES", "TODO"),
           integer("DNSWNLR", "TODO"), integer("DNSWNLRS", "TODO"), integer("DNSWNRS", "TODO"),
           integer("DNSWNRSS", "TODO"), integer("DNSWRLR", "TODO"), integer("DNSWRLRS", "TODO"),
           integer("DNSWRRS", "TODO"), integer("DNSWRRSS", "TODO"), integer("DNSZTRRQ", "TODO"),
           integer("DNSIRO", "TODO"));

static_assert(DCWNTDSDNS.row_size() == 584);

}  // namespace tables
