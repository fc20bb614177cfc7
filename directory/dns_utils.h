#pragma once
// Read-only questions to the directory. No state: each call goes to the directory, from any thread
// of the process's apartment. Server names are short host names. A failure is told by the result
// and the trace; nothing is retried.

#include <cstdint>
#include <string>
#include <vector>

#include "directory/result_codes.h"
#include "include/container_info.h"
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
};
