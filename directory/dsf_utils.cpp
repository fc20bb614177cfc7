#include "directory/dsf_utils.h"

#include <string>
#include <string_view>

#include "directory/patterns.h"
#include "directory/search.h"

using directory::AdsPath;
using directory::bind_object;
using directory::copy_out;
using directory::Reference;
using directory::Search;
using directory::Variant;

namespace {

// The sites' settings object tells in its options what the checker leaves undone there; these two
// values, and no other combination of the bits, mean that it leaves out the inter-site topology.
constexpr DWORD kInterSiteWorkIsOff = 16;
constexpr DWORD kAllWorkIsOff = 17;

// Reads the configuration context; false, traced, when it cannot be had.
bool read_configuration_context(const trace::Scope& trace, std::string& context) {
  Reference<IADs> root;
  if (FAILED(bind_object(L"LDAP://RootDSE", root)) || !root) {
    trace.detail()("Error: Unable to get object");
    return false;
  }
  if (!directory::read_text(root.get(), "configurationNamingContext", context)) {
    trace.detail()("Error: Unable to fetch configurationNamingContext attribute value");
    return false;
  }
  return true;
}

enum class Row { kIsTheSites, kIsAnotherSites, kFailed };

// Deliberately a plain search for the name anywhere in the settings' own: a site whose name is part
// of another one's takes whichever of the two comes first.
Row look_at_row(Search& search, std::wstring_view site) {
  directory::Column name;
  if (FAILED(search.read("distinguishedName", name))) return Row::kFailed;
  return name.text().find(site) == std::wstring_view::npos ? Row::kIsAnotherSites
                                                           : Row::kIsTheSites;
}

int read_checker_state(Search& search, std::wstring_view site, unsigned char& enabled) {
  while (search.next() != S_ADS_NOMORE_ROWS) {
    // A step that failed has no row, which shows in the reading of its column.
    const Row row = look_at_row(search, site);
    if (row == Row::kIsAnotherSites) continue;
    directory::Column options;
    if (row == Row::kFailed || FAILED(search.read("options", options))) {
      search.abandon();
      return -1;
    }
    const DWORD value = options.number();
    enabled = value == kInterSiteWorkIsOff || value == kAllWorkIsOff ? 0 : 1;
    break;
  }
  return 0;
}

}  // namespace

DWORD DSFUtils::GetDomainTrustRelationships(const char* server, PDS_DOMAIN_TRUSTSA* trusts,
                                            ULONG& count) {
  DCW_TRACE("GetDomainTrustRelationships");
  std::string name(directory::view(server));
  ULONG found = 0;
  const DWORD status = DsEnumerateDomainTrustsA(
      server == nullptr ? nullptr : name.data(),
      DS_DOMAIN_DIRECT_OUTBOUND | DS_DOMAIN_DIRECT_INBOUND, trusts, &found);
  if (status != ERROR_SUCCESS) {
    trace.error()("Error:DsEnumerateDomainTrusts failed. Error code: %ld\n",
                  static_cast<long>(status));
    count = 0;
    return trace.returns(status);
  }
  count = found;
  return trace.returns(status);
}

DWORD DSFUtils::GetSiteName(const char* server, std::span<char> siteName) {
  DCW_TRACE("GetSiteName");
  char* site = nullptr;
  const DWORD status = DsGetSiteNameA(server, &site);
  if (status == ERROR_SUCCESS) {
    copy_out(trace, siteName, directory::view(site));
    NetApiBufferFree(site);
  } else {
    trace.error()("ERROR: DsGetSiteName failed. Error code: %ld\n", static_cast<long>(status));
    copy_out(trace, siteName, "");
  }
  return trace.returns(status);
}

int DSFUtils::IsKCCEnabled(const char* host, unsigned char& enabled) {
  DCW_TRACE("IsKCCEnabled");
  if (host == nullptr) {
    trace.detail()("Error: hostName is empty or null");
    return trace.returns(-1);
  }
  enabled = 1;
  char site[1024] = {};
  // Deliberately untested: without a site the first settings object there is decides.
  GetSiteName(host, site);
  std::string context;
  if (!read_configuration_context(trace, context)) return trace.returns(-1);
  const AdsPath<260> path(trace, L"LDAP://%S", {context});
  Search search;
  if (FAILED(search.open(path.wide()))) {
    trace.detail()("Error: Unable to open object");
    return trace.returns(-1);
  }
  constexpr std::string_view kColumns[] = {"distinguishedName", "options"};
  if (FAILED(search.execute(L"((objectClass=nTDSSiteSettings))", kColumns))) {
    trace.detail()("Error: Unable to execute search query");
    search.abandon();
    return trace.returns(-1);
  }
  return trace.returns(read_checker_state(search, directory::widened(site), enabled));
}
