#!/usr/bin/env python3
"""Writes recordings/default/counters.csv: made-up but plausible counters of a made-up controller.

Every counter that a table of the agent asks for is in it, under the object names of all the systems
that the agent knows. The result is committed and the same on every run:

    tools/make_default_counters.py > recordings/default/counters.csv
"""
import datetime
import sys
import zlib

HOST = "DC1"
ROWS = 12
INTERVAL_S = 15
START = datetime.datetime(2024, 3, 11, 9, 0, 0, 125000)
ZONE = "(W. Europe Standard Time)(-60)"


def names(text):
    return [name.strip() for name in text.replace("\n", " ").split(" | ")]


ADDRESS_BOOK = names("""
AB ANR/sec | AB Browses/sec | AB Client Sessions | AB Matches/sec | AB Property Reads/sec |
AB Proxy Lookups/sec | AB Searches/sec
""")

REPLICATION = names("""
DRA Highest USN Committed (High part) | DRA Highest USN Committed (Low part) |
DRA Highest USN Issued (High part) | DRA Highest USN Issued (Low part) |
DRA Inbound Bytes Compressed (Between Sites, Before Compression)/sec |
DRA Inbound Bytes Compressed (Between Sites, After Compression)/sec |
DRA Inbound Bytes Not Compressed (Within Site)/sec | DRA Inbound Bytes Total/sec |
DRA Inbound Full Sync Objects Remaining | DRA Inbound Object Updates Remaining in Packet |
DRA Inbound Objects Applied/sec | DRA Inbound Objects Filtered/sec | DRA Inbound Objects/sec |
DRA Inbound Properties Applied/sec | DRA Inbound Properties Filtered/sec |
DRA Inbound Properties Total/sec | DRA Inbound Values (DNs only)/sec |
DRA Inbound Values Total/sec |
DRA Outbound Bytes Compressed (Between Sites, After Compression)/sec |
DRA Outbound Bytes Compressed (Between Sites, Before Compression)/sec |
DRA Outbound Bytes Not Compressed (Within Site)/sec | DRA Outbound Bytes Total/sec |
DRA Outbound Objects Filtered/sec | DRA Outbound Objects/sec | DRA Outbound Properties/sec |
DRA Outbound Values (DNs only)/sec | DRA Outbound Values Total/sec |
DRA Pending Replication Synchronizations | DS % Reads from DRA | DS % Searches from DRA |
DRA Sync Requests Made | DRA Sync Requests Successful | DS % Writes from DRA |
DRA Sync Failures on Schema Mismatch
""")

REPLICATION_LATER = names("""
DRA Inbound Bytes Total Since Boot | DRA Inbound Bytes Not Compressed (Within Site) Since Boot |
DRA Inbound Bytes Compressed (Between Sites, Before Compression) Since Boot |
DRA Inbound Bytes Compressed (Between Sites, After Compression) Since Boot |
DRA Outbound Bytes Total Since Boot |
DRA Outbound Bytes Not Compressed (Within Site) Since Boot |
DRA Outbound Bytes Compressed (Between Sites, Before Compression) Since Boot |
DRA Outbound Bytes Compressed (Between Sites, After Compression) Since Boot |
DRA Pending Replication Operations | DRA Threads Getting NC Changes |
DRA Threads Getting NC Changes Holding Semaphore |
DRA Inbound Link Value Updates Remaining in Packet |
DRA Inbound Total Updates Remaining in Packet
""")

DIRECTORY = names("""
DS Client Binds/sec | DS Client Name Translations/sec | DS Directory Reads/sec |
DS Directory Searches/sec | DS Directory Writes/sec | DS Monitor List Size |
DS Name Cache hit rate | DS Notify Queue Size | DS % Reads Other | DS % Searches Other |
DS % Writes Other | DS Search sub-operations/sec | DS Security Descriptor Propagations Events |
DS Security Descriptor Propagator Average Exclusion Time |
DS Security Descriptor Propagator Runtime Queue | DS Security Descriptor sub-operations/sec |
DS Server Binds/sec | DS Server Name Translations/sec | DS Threads in Use
""")

DIRECTORY_LATER = names("""
DS % Writes from NTDSAPI | DS % Searches from NTDSAPI | DS % Reads from NTDSAPI
""")

CONSISTENCY_CHECKER = names("""
DS % Reads from KCC | DS % Searches from KCC | DS % Writes from KCC
""")

KERBEROS = names("""
KDC AS Requests | KDC TGS Requests | Kerberos Authentications
""")

LDAP = names("""
LDAP Active Threads | LDAP Bind Time | LDAP Client Sessions | DS % Searches from LDAP |
LDAP Searches/sec | LDAP Successful Binds | LDAP Successful Binds/sec |
LDAP UDP operations/sec | DS % Writes from LDAP | LDAP Writes/sec
""")

LDAP_LATER = names("""
LDAP New SSL Connections/sec | ATQ Threads LDAP | LDAP New Connections/sec |
LDAP Closed Connections/sec
""")

LOCAL_AUTHORITY = names("""
DS % Reads from LSA | DS % Searches from LSA | DS % Writes from LSA
""")

NAME_SERVICE = names("""
DS % Reads from NSPI | DS % Searches from NSPI | DS % Writes from NSPI | NTLM Authentications
""")

ACCOUNTS = names("""
SAM Account Group Evaluation Latency | SAM Machine Creation Attempts/sec |
SAM User Creation Attempts/sec | SAM Enumerations/sec | SAM GC Evaluations/sec |
SAM Membership Changes/sec | SAM Non-Transitive Membership Evaluations/sec |
SAM Password Changes/sec | SAM Display Information Queries/sec | DS % Reads from SAM |
SAM Global Group Membership Evaluations/sec | DS % Searches from SAM |
SAM Successful Computer Creations/sec: Includes all requests |
SAM Successful User Creations/sec | SAM Transitive Membership Evaluations/sec |
SAM Universal Group Membership Evaluations/sec | DS % Writes from SAM
""")

ACCOUNTS_LATER = names("""
SAM Domain Local Group Membership Evaluations/sec | SAM Resource Group Evaluation Latency
""")

EXTENDED = names("""
XDS Client Sessions | DS % Reads from XDS | DS % Searches from XDS | DS % Writes from XDS
""")

FILE_REPLICA_SET = names("""
Change Orders Received | Change Orders Aborted | Change Orders Evaporated |
Change Orders Morphed | Change Orders Retired | Change Orders Sent | Files Installed |
Files Installed with Error | DS Bindings | DS Bindings In Error | Packets Received |
Packets Received in Error | Packets Sent | Packets Sent in Error | Usn Records Accepted |
KB of Staging Space Free | KB of Staging Space In Use | Authentications |
Authentications in Error | Bindings | Bindings in Error | Bytes of Files Installed |
Bytes of Staging Fetched | Bytes of Staging Generated | Bytes of Staging Regenerated |
Change Orders Issued | Change Orders Propagated | Change Orders Retried |
Change Orders Retried at Fetch | Change Orders Retried at Generate |
Change Orders Retried at Install | Change Orders Retried at Rename | Communication Timeouts |
DS Objects | DS Objects in Error | DS Polls | DS Polls with Changes | DS Polls without Changes |
DS Searches | DS Searches in Error | Fetch Blocks Received | Fetch Blocks Received in Bytes |
Fetch Blocks Sent | Fetch Blocks Sent in Bytes | Fetch Requests Received | Fetch Requests Sent |
Inbound Change Orders Dampened | Join Notifications Received | Join Notifications Sent | Joins |
Outbound Change Orders Dampened | Replica Sets Created | Replica Sets Deleted |
Replica Sets Removed | Replica Sets Started | Staging Files Fetched | Staging Files Generated |
Staging Files Generated with Error | Staging Files Regenerated | Threads exited |
Threads started | Unjoins | Usn Reads | Usn Records Examined | Usn Records Rejected
""")

# A system names the measures of the database's cache in one of two forms, never in both: this is the
# one of version 6.1 and later. The other is Cache Size, Cache % Hit, Cache Page Faults/sec and Cache
# Page Fault Stalls/sec.
DATABASE = names("""
File Operations/sec | File Bytes Written/sec | File Bytes Read/sec | Log Record Stalls/sec |
Log Threads Waiting | Table Open Cache % Hit | Table Open Cache Hits/sec |
Table Open Cache Misses/sec | Database Cache Size | Database Cache % Hit |
Database Page Faults/sec | Database Page Fault Stalls/sec | Log Writes/sec | Table Opens/sec |
Pages Converted/sec | Pages Converted | Records Converted/sec | Records Converted |
Sessions In Use | Sessions % Used | Log Bytes Write/sec | Version buckets allocated |
Database Page Evictions/sec | I/O Database Reads/sec | I/O Database Reads Average Latency |
I/O Log Reads/sec | I/O Database Writes/sec | I/O Database Writes Average Latency |
I/O Log Writes/sec | I/O Log Writes Average Latency
""")

DHCP = names("""
Declines/sec | Conflict Check Queue Length | Duplicates Dropped/sec | Nacks/sec |
Packets Expired/sec | Active Queue Length | Requests/sec | Acks/sec | Discovers/sec |
Informs/sec | Milliseconds per packet (Avg). | Offers/sec | Packets Received/sec |
Releases/sec
""")

DHCP_V6 = names("""
Declines/sec | Duplicates Dropped/sec | Packets Expired/sec | Active Queue Length | Acks/sec |
Requests/sec | Informs/sec | Milliseconds per packet (Avg). | Packets Received/sec |
Releases/sec | Rebinds/sec | Confirms/sec | Renews/sec | Advertises/sec | Solicits/sec
""")

DNS = names("""
Caching Memory | Dynamic Update Queued | Dynamic Update Received | Dynamic Update Received/sec |
Dynamic Update Rejected | Dynamic Update TimeOuts | Total Query Received |
Total Query Received/sec | Total Response Sent | Total Response Sent/sec |
Zone Transfer Failure | Zone Transfer Request Received | Zone Transfer Success |
AXFR Request Received | AXFR Request Sent | AXFR Response Received | AXFR Success Received |
AXFR Success Sent | Database Node Memory | Dynamic Update NoOperation |
Dynamic Update NoOperation/sec | Dynamic Update Written to Database |
Dynamic Update Written to Database/sec | IXFR Request Received | IXFR Request Sent |
IXFR Response Received | IXFR Success Received | IXFR Success Sent | IXFR TCP Success Received |
IXFR UDP Success Received | Nbstat Memory | Notify Received | Notify Sent | Record Flow Memory |
Recursive Queries | Recursive Queries/sec | Recursive Query Failure |
Recursive Query Failure/sec | Recursive Send TimeOuts | Recursive TimeOut/sec |
Secure Update Failure | Secure Update Received | Secure Update Received/sec |
TCP Message Memory | TCP Query Received | TCP Query Received/sec | TCP Response Sent |
TCP Response Sent/sec | UDP Message Memory | UDP Query Received | UDP Query Received/sec |
UDP Response Sent | UDP Response Sent/sec | WINS Lookup Received | WINS Lookup Received/sec |
WINS Response Sent | WINS Response Sent/sec | WINS Reverse Lookup Received |
WINS Reverse Lookup Received/sec | WINS Reverse Response Sent | WINS Reverse Response Sent/sec |
Zone Transfer SOA Request Sent
""")

DFS_VOLUMES = names("""
Database Lookups | Database Commits | USN Journal Unread Percentage |
USN Journal Records Accepted | USN Journal Records Read
""")

DFS_CONNECTIONS = names("""
Bandwidth Savings Using DFS Replication | RDC Bytes Received |
RDC Compressed Size of Files Received | RDC Size of Files Received |
RDC Number of Files Received | Bytes Received Per Second | Compressed Size of Files Received |
Size of Files Received | Total Files Received | Total Bytes Received
""")

DFS_FOLDERS = names("""
Bandwidth Savings Using DFS Replication | RDC Bytes Received |
RDC Compressed Size of Files Received | RDC Size of Files Received |
RDC Number of Files Received | Compressed Size of Files Received | Size of Files Received |
Total Files Received | Deleted Space In Use | Deleted Bytes Cleaned up |
Deleted Files Cleaned up | Deleted Bytes Generated | Deleted Files Generated | Updates Dropped |
File Installs Retried | File Installs Succeeded | Conflict Folder Cleanups Completed |
Conflict Space In Use | Conflict Bytes Cleaned up | Conflict Files Cleaned up |
Conflict Bytes Generated | Conflict Files Generated | Staging Space In Use |
Staging Bytes Cleaned up | Staging Files Cleaned up | Staging Bytes Generated |
Staging Files Generated
""")

VOLUMES = ["C:", "D:"]
CONNECTIONS = [
    "DC2.corp.example-{6B1C4A52-0C1E-4C53-9D0B-6E2A7F1B9C01}",
    "DC3.corp.example-{A2D0F3E7-5B44-4E0C-8E57-1F0C3B6D7E02}",
]
FOLDERS = [
    "SYSVOL Share-{3F8E2D10-7C6B-4A19-B2D5-8C4E9A0F1B03}",
    "Shared Data, Branch (R&D)-{D4C7B8A9-1E2F-4D3C-A5B6-7F8091A2B304}",
]


def instances_of(object_name, instances, counters):
    return [(object_name, instance, counter) for instance in instances for counter in counters]


def columns():
    """Object, instance (None for none) and counter, each once, in the order of the file."""
    early = (ADDRESS_BOOK + REPLICATION + DIRECTORY + CONSISTENCY_CHECKER + KERBEROS + LDAP +
             LOCAL_AUTHORITY + NAME_SERVICE + ACCOUNTS + EXTENDED)
    later = (ADDRESS_BOOK + REPLICATION + REPLICATION_LATER + DIRECTORY + DIRECTORY_LATER +
             CONSISTENCY_CHECKER + LDAP + LDAP_LATER + LOCAL_AUTHORITY + NAME_SERVICE[:3] +
             ACCOUNTS + ACCOUNTS_LATER)
    found = instances_of("NTDS", [None], early)
    found += instances_of("DirectoryServices", ["NTDS"], later)
    found += instances_of("Security System-Wide Statistics", [None], KERBEROS + NAME_SERVICE[3:])
    found += instances_of("FileReplicaSet", ["_Total"], FILE_REPLICA_SET)
    found += instances_of("Database", ["lsass"], DATABASE)
    found += instances_of("DHCP Server", [None], DHCP)
    found += instances_of("DHCPV6 Server", [None], DHCP_V6)
    found += instances_of("DHCP Server v6", [None], DHCP_V6)
    found += instances_of("DNS", [None], DNS)
    found += instances_of("DFS Replication Service Volumes", VOLUMES, DFS_VOLUMES)
    found += instances_of("DFS Replication Connections", CONNECTIONS, DFS_CONNECTIONS)
    found += instances_of("DFS Replicated Folders", FOLDERS, DFS_FOLDERS)
    return list(dict.fromkeys(found))


def is_rate(counter):
    return "/sec" in counter or counter.endswith("Per Second")


class Chance:
    """Numbers from 0 to 1 that depend on nothing but the seed."""

    def __init__(self, seed):
        self.state = zlib.crc32(seed.encode()) or 1

    def __call__(self):
        self.state = (self.state * 1103515245 + 12345) % 2**31
        return self.state / 2**31


def series(object_name, instance, counter):
    """The counter's values, one a row."""
    if counter == "DRA Sync Requests Successful":
        return [made - 3 for made in series(object_name, instance, "DRA Sync Requests Made")]
    # The same counter of the directory tells the same under both of its object names.
    where = "directory" if object_name in ("NTDS", "DirectoryServices") else object_name
    chance = Chance(f"{where}|{instance}|{counter}")
    chance()
    low = counter.lower()
    if "(high part)" in low:
        return [0] * ROWS
    if is_rate(counter):
        level = 4000 if "bytes" in low else 45
        return [round(level * (0.2 + chance()), 2) for _ in range(ROWS)]
    if "hit" in low or "bandwidth savings" in low:
        return [round(88 + 11 * chance(), 2) for _ in range(ROWS)]
    if "%" in low or "percentage" in low:
        return [round(18 * chance(), 2) for _ in range(ROWS)]
    if "latency" in low or "time" in low.split() or "exclusion" in low or "milliseconds" in low:
        return [round(1 + 24 * chance(), 2) for _ in range(ROWS)]
    if any(word in low for word in ("queue", "remaining", "pending", "threads", "sessions",
                                    "waiting", "holding", "clients", "queued")):
        return [int(12 * chance()) for _ in range(ROWS)]
    if any(word in low for word in ("failure", "error", "rejected", "mismatch", "stall", "timeout",
                                    "aborted", "dropped", "retried")):
        return accumulate(chance, 6, 0.4)
    if any(word in low for word in ("memory", "cache size", "space", "list size", "allocated")):
        level = 1000 + int(60000 * chance())
        return [level + int(level * 0.02 * chance()) for _ in range(ROWS)]
    if "requests" in low or "authentications" in low:
        return accumulate(chance, 9000, 40)
    if "bytes" in low or "size" in low or "since boot" in low:
        return accumulate(chance, 4000000, 9000)
    if "(low part)" in low:
        return accumulate(chance, 180000, 30)
    return accumulate(chance, 2500, 12)


def accumulate(chance, start, step):
    """A count since start-up: it never falls."""
    value = start * (0.5 + chance())
    result = []
    for _ in range(ROWS):
        result.append(int(value))
        value += step * 2 * chance()
    return result


def quoted(text):
    return '"' + text.replace('"', '""') + '"'


def text():
    """The whole file."""
    wanted = columns()
    header = [f"(PDH-CSV 4.0) {ZONE}"]
    for object_name, instance, counter in wanted:
        brackets = "" if instance is None else f"({instance})"
        header.append(f"\\\\{HOST}\\{object_name}{brackets}\\{counter}")
    values = [series(*column) for column in wanted]
    lines = [",".join(quoted(cell) for cell in header)]
    for row in range(ROWS):
        stamp = START + datetime.timedelta(seconds=row * INTERVAL_S)
        cells = [stamp.strftime("%m/%d/%Y %H:%M:%S.") + f"{stamp.microsecond // 1000:03d}"]
        for (_, _, counter), column in zip(wanted, values):
            # A rate is known from the second sample on; the tools leave the first cell blank.
            cells.append(" " if row == 0 and is_rate(counter) else f"{column[row]:g}"
                         if isinstance(column[row], float) else str(column[row]))
        lines.append(",".join(quoted(cell) for cell in cells))
    return "".join(line + "\r\n" for line in lines)


def main():
    sys.stdout.write(text())


if __name__ == "__main__":
    main()
