// From a replication partner's settings up to its server and its site.

#include "directory/dns_utils.h"
#include "directory/patterns.h"

using directory::AdsPath;
using directory::bind_or_trace;
using directory::copy_out;
using directory::Reference;
using directory::view;

namespace {

// An attribute of the object that stands some steps above the settings. The buffer is emptied
// first.
template <std::size_t kPathSize>
int read_above(const trace::Scope& trace, const char* settings_name, int steps,
               std::string_view attribute, std::span<char> value) {
  copy_out(trace, value, "");
  const AdsPath<kPathSize> settings(trace, L"LDAP://%S", {view(settings_name)});
  trace.detail()("Source DSA Object: %s\n", settings.narrow().c_str());
  Reference<IADs> object;
  if (bind_or_trace(trace, settings.wide(), object) != 0) return ADSI_OBJECT_ERR;
  for (int step = 0; step < steps; ++step) {
    std::string parent;
    if (directory::parent_or_trace(trace, object.get(), parent) != 0) return ADSI_OBJECT_ERR;
    trace.detail()("Parent Object : %s\n", parent.c_str());
    const AdsPath<kPathSize> path(trace, L"%S", {parent});
    if (bind_or_trace(trace, path.wide(), object) != 0) return ADSI_OBJECT_ERR;
  }
  std::string text;
  if (directory::read_or_trace(trace, object.get(), attribute, text) != 0) return ADSI_OBJECT_ERR;
  copy_out(trace, value, text);
  return 0;
}

}  // namespace

int DNSUtils::GetPartner(const char* dsaName, std::span<char> value, const char* attribute) {
  DCW_TRACE("GetPartner");
  return trace.returns(read_above<200>(trace, dsaName, 1, view(attribute), value));
}

int DNSUtils::GetDirectPartnerSiteName(const char* dsaName, std::span<char> siteName) {
  DCW_TRACE("GetDirectPartnerSiteName");
  // The server, the container of the servers, the site.
  return trace.returns(read_above<1024>(trace, dsaName, 3, "cn", siteName));
}
