// The counters of the directory service itself. Up to major version 5 they are one object without
// instances; major version 6 moved them to another object, with one instance, and Kerberos and NTLM
// to a third. What the newer object adds stands behind the shared rows.

#include "counters/list_rows.h"

namespace {

using namespace counters;

constexpr const char* kOld = "NTDS";
constexpr const char* kNew = "DirectoryServices";
constexpr const char* kNewInstance = "NTDS";
constexpr const char* kSecurity = "Security System-Wide Statistics";

constexpr std::array kAddressBook = {
    "AB ANR/sec",      "AB Browses/sec",        "AB Client Sessions",
    "AB Matches/sec",  "AB Property Reads/sec", "AB Proxy Lookups/sec",
    "AB Searches/sec",
};

constexpr std::array kReplication = {
    "DRA Highest USN Committed (High part)",
    "DRA Highest USN Committed (Low part)",
    "DRA Highest USN Issued (High part)",
    "DRA Highest USN Issued (Low part)",
    "DRA Inbound Bytes Compressed (Between Sites, Before Compression)/sec",
    "DRA Inbound Bytes Compressed (Between Sites, After Compression)/sec",
    "DRA Inbound Bytes Not Compressed (Within Site)/sec",
    "DRA Inbound Bytes Total/sec",
    "DRA Inbound Full Sync Objects Remaining",
    "DRA Inbound Object Updates Remaining in Packet",
    "DRA Inbound Objects Applied/sec",
    "DRA Inbound Objects Filtered/sec",
    "DRA Inbound Objects/sec",
    "DRA Inbound Properties Applied/sec",
    "DRA Inbound Properties Filtered/sec",
    "DRA Inbound Properties Total/sec",
    "DRA Inbound Values (DNs only)/sec",
    "DRA Inbound Values Total/sec",
    "DRA Outbound Bytes Compressed (Between Sites, After Compression)/sec",
    "DRA Outbound Bytes Compressed (Between Sites, Before Compression)/sec",
    "DRA Outbound Bytes Not Compressed (Within Site)/sec",
    "DRA Outbound Bytes Total/sec",
    "DRA Outbound Objects Filtered/sec",
    "DRA Outbound Objects/sec",
    "DRA Outbound Properties/sec",
    "DRA Outbound Values (DNs only)/sec",
    "DRA Outbound Values Total/sec",
    "DRA Pending Replication Synchronizations",
    "DS % Reads from DRA",
    "DS % Searches from DRA",
    "DRA Sync Requests Made",
    "DRA Sync Requests Successful",
    "DS % Writes from DRA",
    "DRA Sync Failures on Schema Mismatch",
};

constexpr std::array kDirectoryServices = {
    "DS Client Binds/sec",
    "DS Client Name Translations/sec",
    "DS Directory Reads/sec",
    "DS Directory Searches/sec",
    "DS Directory Writes/sec",
    "DS Monitor List Size",
    "DS Name Cache hit rate",
    "DS Notify Queue Size",
    "DS % Reads Other",
    "DS % Searches Other",
    "DS % Writes Other",
    "DS Search sub-operations/sec",
    "DS Security Descriptor Propagations Events",
    "DS Security Descriptor Propagator Average Exclusion Time",
    "DS Security Descriptor Propagator Runtime Queue",
    "DS Security Descriptor sub-operations/sec",
    "DS Server Binds/sec",
    "DS Server Name Translations/sec",
    "DS Threads in Use",
};

constexpr std::array kConsistencyChecker = {
    "DS % Reads from KCC",
    "DS % Searches from KCC",
    "DS % Writes from KCC",
};

constexpr std::array kKeyDistribution = {
    "KDC AS Requests",
    "KDC TGS Requests",
    "Kerberos Authentications",
};

constexpr std::array kLdap = {
    "LDAP Active Threads",       "LDAP Bind Time",          "LDAP Client Sessions",
    "DS % Searches from LDAP",   "LDAP Searches/sec",       "LDAP Successful Binds",
    "LDAP Successful Binds/sec", "LDAP UDP operations/sec", "DS % Writes from LDAP",
    "LDAP Writes/sec",
};

constexpr std::array kSecurityAuthority = {
    "DS % Reads from LSA",
    "DS % Searches from LSA",
    "DS % Writes from LSA",
};

constexpr std::array kNameService = {
    "DS % Reads from NSPI",
    "DS % Searches from NSPI",
    "DS % Writes from NSPI",
    "NTLM Authentications",
};

constexpr std::array kAccountsManager = {
    "SAM Account Group Evaluation Latency",
    "SAM Machine Creation Attempts/sec",
    "SAM User Creation Attempts/sec",
    "SAM Enumerations/sec",
    "SAM GC Evaluations/sec",
    "SAM Membership Changes/sec",
    "SAM Non-Transitive Membership Evaluations/sec",
    "SAM Password Changes/sec",
    "SAM Display Information Queries/sec",
    "DS % Reads from SAM",
    "SAM Global Group Membership Evaluations/sec",
    "DS % Searches from SAM",
    "SAM Successful Computer Creations/sec: Includes all requests",
    "SAM Successful User Creations/sec",
    "SAM Transitive Membership Evaluations/sec",
    "SAM Universal Group Membership Evaluations/sec",
    "DS % Writes from SAM",
};

constexpr std::array kExchange = {
    "XDS Client Sessions",
    "DS % Reads from XDS",
    "DS % Searches from XDS",
    "DS % Writes from XDS",
};

constexpr std::array kReplicationAdded = {
    "DRA Inbound Bytes Total Since Boot",
    "DRA Inbound Bytes Not Compressed (Within Site) Since Boot",
    "DRA Inbound Bytes Compressed (Between Sites, Before Compression) Since Boot",
    "DRA Inbound Bytes Compressed (Between Sites, After Compression) Since Boot",
    "DRA Outbound Bytes Total Since Boot",
    "DRA Outbound Bytes Not Compressed (Within Site) Since Boot",
    "DRA Outbound Bytes Compressed (Between Sites, Before Compression) Since Boot",
    "DRA Outbound Bytes Compressed (Between Sites, After Compression) Since Boot",
    "DRA Pending Replication Operations",
    "DRA Threads Getting NC Changes",
    "DRA Threads Getting NC Changes Holding Semaphore",
    "DRA Inbound Link Value Updates Remaining in Packet",
    "DRA Inbound Total Updates Remaining in Packet",
};

constexpr std::array kDirectoryServicesAdded = {
    "DS % Writes from NTDSAPI",
    "DS % Searches from NTDSAPI",
    "DS % Reads from NTDSAPI",
};

// The newer object counts other binds in row 5.
constexpr auto kLdapNew = [] {
  auto names = join(kLdap, std::array{"ATQ Threads LDAP", "LDAP New Connections/sec",
                                      "LDAP Closed Connections/sec"});
  names[5] = "LDAP New SSL Connections/sec";
  return names;
}();

constexpr std::array kAccountsManagerAdded = {
    "SAM Domain Local Group Membership Evaluations/sec",
    "SAM Resource Group Evaluation Latency",
};

template <std::size_t kCount>
constexpr auto old_rows(const Names<kCount>& names) {
  return rows(kOld, nullptr, names);
}
template <std::size_t kCount>
constexpr auto new_rows(const Names<kCount>& names) {
  return rows(kNew, kNewInstance, names);
}

}  // namespace

constinit std::array<CounterRow, 7> g_ABList = old_rows(kAddressBook);
constinit std::array<CounterRow, 34> g_ReplList = old_rows(kReplication);
constinit std::array<CounterRow, 19> g_DSList = old_rows(kDirectoryServices);
constinit std::array<CounterRow, 3> g_KCCList = old_rows(kConsistencyChecker);
constinit std::array<CounterRow, 3> g_KDCList = old_rows(kKeyDistribution);
constinit std::array<CounterRow, 10> g_LDAPList = old_rows(kLdap);
constinit std::array<CounterRow, 3> g_LSAList = old_rows(kSecurityAuthority);
constinit std::array<CounterRow, 4> g_NSPIList = old_rows(kNameService);
constinit std::array<CounterRow, 17> g_SAMList = old_rows(kAccountsManager);
constinit std::array<CounterRow, 4> g_XDSList = old_rows(kExchange);

constinit std::array<CounterRow, 7> g_ABListV6 = new_rows(kAddressBook);
constinit std::array<CounterRow, 47> g_ReplListV6 = new_rows(join(kReplication, kReplicationAdded));
constinit std::array<CounterRow, 22> g_DSListV6 =
    new_rows(join(kDirectoryServices, kDirectoryServicesAdded));
constinit std::array<CounterRow, 3> g_KCCListV6 = new_rows(kConsistencyChecker);
constinit std::array<CounterRow, 3> g_KDCListV6 = rows(kSecurity, nullptr, kKeyDistribution);
constinit std::array<CounterRow, 13> g_LDAPListV6 = new_rows(kLdapNew);
constinit std::array<CounterRow, 3> g_LSAListV6 = new_rows(kSecurityAuthority);
constinit std::array<CounterRow, 4> g_NSPIListV6 =
    join(new_rows(part<0, 3>(kNameService)), rows(kSecurity, nullptr, part<3, 1>(kNameService)));
constinit std::array<CounterRow, 19> g_SAMListV6 =
    new_rows(join(kAccountsManager, kAccountsManagerAdded));
