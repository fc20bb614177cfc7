#pragma once
// Read-only questions to the directory. No state: each call goes to the directory, from any thread
// of the process's apartment. Server names are short host names. A failure is told by the result
// and the trace; nothing is retried.

#include <cstdint>
#include <string>
#include <vector>

#include "directory/result_codes.h"
#include "directory/srv_comparison.h"
#include "include/container_info.h"
#include "include/forest_topology_info.h"
#include "include/gpo_info.h"
#include "include/root_dse_info.h"

class DNSUtils {
 public:
  // The functional levels and the forest root as the server's root object tells them. 0, also when
  // single attributes cannot be read and stay at their presets; ADSI_OBJECT_ERR when the root
  // object cannot be bound.
  static int GetRootDSEInfo(const char* server, RootDSEInfo& info);

  // Appends the naming contexts that the server holds, in its order. 0 or ADSI_OBJECT_ERR; what was
  // appended before a failure stays.
  static int GetNamingContexts(const char* server, std::vector<std::string>& contexts);

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
};
