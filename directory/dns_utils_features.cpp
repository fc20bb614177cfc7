// Whether an optional feature of the directory is there.

#include "directory/dns_utils.h"
#include "directory/patterns.h"

int DNSUtils::IsOptionalFeatureEnabled(const char* path, std::uint8_t& enabled) {
  DCW_TRACE("IsOptionalFeatureEnabled");
  if (path == nullptr) {
    trace.detail()("Error: DistinguishedNameOfFeature is empty or null");
    return trace.returns(-1);
  }
  const directory::AdsPath<1024> whole_path(trace, L"%S", {path});
  directory::Reference<IADs> feature;
  const HRESULT result = directory::bind_object(whole_path.wide(), feature);
  enabled = SUCCEEDED(result) && feature ? 1 : 0;
  return trace.returns(0);
}
