#pragma once
// Read-only questions to the directory. No state: each call goes to the directory, from any thread
// of the process's apartment. Server names are short host names unless told otherwise. A failure is
// told by the result and the trace, and leaves what it would have written as it was unless told
// otherwise; nothing is retried. Out buffers are the caller's; what does not fit is cut and traced.
//
// The numbers of walks: ADSI_ENUM_END is the normal answer where it is named. Small differences
// between like operations (how strictly letter case or an option counts, which code means success)
// are deliberate: tables show them and their receivers know them.

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "directory/result_codes.h"
#include "directory/srv_comparison.h"
#include "include/container_info.h"
#include "include/forest_topology_info.h"
#include "include/gpo_info.h"
#include "include/root_dse_info.h"
#include "include/trust_topology_node.h"

class DNSUtils {
 public:
  // ---- the root object ----------------------------------------------------------------------

  // One naming context each. 0 or ADSI_OBJECT_ERR; a context that cannot be read empties the
  // buffer, a server that cannot be bound leaves it.
  static int GetSchemaNamingContext(const char* server, std::span<char> context);
  static int GetConfigurationNamingContext(const char* server, std::span<char> context);
  // The forest root's, whatever server is named.
  static int GetDefaultNamingContext(const char* server, std::span<char> context);
  // The server's own domain's.
  static int GetDefaultNamingContextOfServer(const char* server, std::span<char> context);

  // The functional levels and the forest root as the server's root object tells them. 0, also when
  // single attributes cannot be read and stay at their presets; ADSI_OBJECT_ERR when the root
  // object cannot be bound.
  static int GetRootDSEInfo(const char* server, RootDSEInfo& info);

  // Appends the naming contexts that the server holds, in its order. 0 or ADSI_OBJECT_ERR; what was
  // appended before a failure stays.
  static int GetNamingContexts(const char* server, std::vector<std::string>& contexts);

  // ---- sites and connections ----------------------------------------------------------------

  // How many connections the server has in that site. ADSI_ENUM_END, ADSI_OBJECT_ERR or
  // ADSI_ENUM_ERR; 0 with the count as it was when the forest's configuration cannot be read.
  static int GetDSAConnections(const char* server, const char* site, std::int32_t& count);
  // The same wherever the server stands, compared without regard to case. The server's name is
  // upper-cased in place. The count is zeroed first. 0, ADSI_OBJECT_ERR or ADSI_ENUM_ERR.
  static int GetInboundConnections(char* server, std::int32_t& count);
  // Over all servers of the forest: how many connections come from a server that is known, and how
  // many from this one, letter case counting. Both are zeroed first. ADSI_ENUM_END, ADSI_OBJECT_ERR
  // or ADSI_ENUM_ERR.
  static int GetInboundConnections(const char* server, std::int32_t& knownSources,
                                   std::int32_t& fromThisServer);

  // Bridgeheads of the IP transport. 0, also when none is named and the count is 0; -1 when the
  // forest's configuration cannot be read; ADSI_OBJECT_ERR.
  static int GetBridgeHeadServerCountInSite(const char* server, std::int32_t& count);
  // Whether the server is among them. Its name is upper-cased in place. 0 or ADSI_OBJECT_ERR.
  static int IsBridgeHeadServer(char* server, std::uint8_t& flag);
  // Children of the IP transport. ADSI_ENUM_END, ADSI_OBJECT_ERR or ADSI_ENUM_ERR.
  static int GetSiteLinkCount(const char* server, std::int32_t& count);

  // ---- partners and the kind of controller --------------------------------------------------

  // From the distinguished name of a server's NTDS settings: an attribute of the server ("cn" for
  // the short name, "dNSHostName" for the full one), and the name of its site. The buffer is
  // emptied first. 0 or ADSI_OBJECT_ERR.
  static int GetPartner(const char* dsaName, std::span<char> value, const char* attribute);
  static int GetDirectPartnerSiteName(const char* dsaName, std::span<char> siteName);

  // Whether the settings of the server name it a global catalog. Only a server whose cn is in
  // capitals is found; of any other the flag stays as it was, with result 0. 0, -1, ADSI_OBJECT_ERR
  // or ADSI_ENUM_ERR.
  static int IsGlobalCatalogServer(const char* server, std::uint8_t& flag);
  // Whether the controller that the locator picks in the forest root is a read-only one, which need
  // not be the server named. The flag is cleared first. 0 or ADSI_OBJECT_ERR.
  static int IsReadOnlyDC(const char* server, std::uint8_t& flag);
  // The full name of the server whose cn, or with byHostName whose full name, is the one given,
  // case aside. 0, -1, ADSI_OBJECT_ERR or ADSI_ENUM_ERR; the latter also beside a name that was
  // found, when a site before could not be walked.
  static int GetDNSHostName(const char* name, const char* configurationNamingContext,
                            std::span<char> fullName, bool byHostName);

  // ---- server lists -------------------------------------------------------------------------
  // Full names, appended to the list. What was appended before a failure stays.

  // Global catalogs: servers whose settings' options are exactly 1. Of the forest, of one site, of
  // all sites but one. ADSI_ENUM_END, ADSI_OBJECT_ERR or ADSI_ENUM_ERR; 0 for a site that is not
  // there.
  static int GetGCList(const char* server, std::vector<std::string>& servers);
  static int GetGCList(const char* server, const char* site, std::vector<std::string>& servers);
  static int GetGCListOutSite(const char* server, const char* site,
                              std::vector<std::string>& servers);
  // Domain controllers of a site. One whose full name cannot be read is an empty text.
  // ADSI_ENUM_END, ADSI_OBJECT_ERR or ADSI_ENUM_ERR.
  static int GetDCList(const char* server, const char* site, std::vector<std::string>& servers);
  // Domain controllers of the server's domain. 0, ADSI_OBJECT_ERR or ADSI_ENUM_ERR.
  static int GetDomainControllers(const char* server, std::vector<std::string>& servers);

  // ---- holders of the operations-master roles -----------------------------------------------
  // 0 or ADSI_OBJECT_ERR. The domain is given by its distinguished name; owners are named by cn,
  // the first also by "dNSHostName" where that attribute is asked for.

  static int GetPDCFSMO(const char* domain, std::span<char> owner, const char* attribute);
  static int GetRIDFSMO(const char* domain, std::span<char> owner);
  static int GetInfrastructureFSMO(const char* domain, std::span<char> owner);
  static int GetSchemaFSMO(const char* server, std::span<char> owner);
  static int GetDomainNamingFSMO(const char* server, std::span<char> owner);

  // ---- inventories --------------------------------------------------------------------------

  // Appends the containers directly beneath each of the first count contexts. ADSI_ENUM_END, or
  // ADSI_OBJECT_ERR or ADSI_ENUM_ERR at the first context that cannot be walked, with what was
  // appended before left in place.
  static int GetAllCNTList(const std::vector<std::string>& contexts,
                           std::vector<ContainerInfo>& records, std::int32_t count);

  // Appends the group policy objects of the domain with that distinguished name. ADSI_ENUM_END,
  // ADSI_OBJECT_ERR or ADSI_ENUM_ERR.
  static int GetAllGPOList(const char* domain, std::vector<GPOInfo>& records);

  // Appends the domain controllers of the forest, site by site. 0; -1 when the sites, or
  // ADSI_OBJECT_ERR when another object cannot be had; ADSI_ENUM_ERR. What was appended before a
  // failure stays.
  static int GetForestTopologyInfo(const char* server, std::vector<ForestTopologyInfo>& records);

  // Whether the object at that whole ADSI path can be seen. 0, also when it cannot; -1 for a null
  // path, with the flag left alone.
  static int IsOptionalFeatureEnabled(const char* path, std::uint8_t& enabled);

  // The domain's locked users and the domain's objects, counted in one paged query that takes
  // seconds to minutes. 0 or -1. Throws directory::AutomationError when the query layer fails
  // before the first record: such a failure is the caller's to handle.
  static int GetNumberOfUsersLocked(std::int32_t& count);
  static int GetNumberOfObjectsInDomain(std::int32_t& count);

  // Compares the servers that the directory gave with the SRV records that DNS has under the first
  // name, or under the second where DNS does not know the first. Differences are appended to rows,
  // or added to the summary, whose columns the caller has zeroed; the other of the two is not
  // used and may be null. Always 0: a query that fails shows every server as missing from DNS.
  static int CompareSRV(SRVDifferences* rows, SRVSummary* summary, const char* primaryName,
                        const char* fallbackName, const std::vector<std::string>& directoryNames,
                        SRVCompareMode mode, SRVRecordType recordType);

  // ---- trusts -------------------------------------------------------------------------------

  // Appends the trusts of the forest as the side library DWATrust.dll computes them, less those
  // that come again the other way round. 0, also when the library cannot be used; or the status of
  // a domain that cannot be bound, with nothing appended.
  static int GetTrustTopologyInfo(std::vector<TrustTopologyNode>& nodes, const char* domainName);
};
