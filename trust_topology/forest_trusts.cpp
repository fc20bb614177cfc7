#include "trust_topology/forest_trusts.h"

#include <string>
#include <string_view>

#include "directory/com.h"
#include "directory/search.h"
#include "directory/text.h"
#include "trust_topology/topology.h"

namespace trust_topology {
namespace {

using directory::Column;
using directory::Search;

// A domain of the forest; own is this machine's, which is asked without naming a server.
struct Domain {
  std::wstring context;
  bool is_own = false;
};

std::wstring root_text(IADs* root, std::string_view attribute) {
  const directory::DirectoryString name(attribute);
  directory::Variant value;
  if (FAILED(root->Get(name.get(), value.target())) || value.type() != VT_BSTR) return {};
  return value.get().bstrVal == nullptr ? std::wstring() : std::wstring(value.get().bstrVal);
}

std::wstring text_of(Search& search, std::string_view name) {
  Column column;
  return FAILED(search.read(name, column)) ? std::wstring() : std::wstring(column.text());
}

DWORD number_of(Search& search, std::string_view name) {
  Column column;
  return FAILED(search.read(name, column)) ? 0 : column.number();
}

// The partitions that are domains, which of all partitions have a flat name.
void read_domains(const std::wstring& configuration, std::vector<Domain>& domains) {
  Search search;
  const std::wstring path = L"LDAP://CN=Partitions," + configuration;
  constexpr std::string_view kNames[] = {"nCName"};
  if (FAILED(search.open(path.c_str())) ||
      FAILED(search.execute(L"(&(objectClass=crossRef)(nETBIOSName=*))", kNames))) {
    return;
  }
  while (search.next() == S_OK) {
    const std::wstring context = text_of(search, "nCName");
    // The own domain stands in the list already.
    if (!context.empty() && domain_name(context) != domain_name(domains.front().context)) {
      domains.push_back({context, false});
    }
  }
}

bool read_trusts(const Domain& domain, std::vector<TrustTopologyRecord>& nodes) {
  const std::wstring name = domain_name(domain.context);
  const std::wstring path =
      L"LDAP://" + (domain.is_own ? L"" : name + L"/") + L"CN=System," + domain.context;
  Search search;
  constexpr std::string_view kNames[] = {"trustPartner", "flatName", "trustType", "trustDirection",
                                         "trustAttributes"};
  if (FAILED(search.open(path.c_str())) ||
      FAILED(search.execute(L"(objectClass=trustedDomain)", kNames))) {
    return false;
  }
  const std::string domain_text = directory::narrowed(name);
  HRESULT result = S_OK;
  while ((result = search.next()) == S_OK) {
    TrustedDomain trust;
    std::wstring partner = text_of(search, "trustPartner");
    if (partner.empty()) partner = text_of(search, "flatName");
    trust.partner = directory::narrowed(partner);
    trust.type = number_of(search, "trustType");
    trust.direction = number_of(search, "trustDirection");
    trust.attributes = number_of(search, "trustAttributes");
    nodes.push_back(make_node(domain_text, trust));
  }
  return result == S_ADS_NOMORE_ROWS;
}

}  // namespace

bool read_forest_trusts(std::vector<TrustTopologyRecord>& nodes) {
  directory::Reference<IADs> root;
  if (FAILED(ADsGetObject(L"LDAP://RootDSE", IID_IADs, root.untyped_target())) || !root) {
    return false;
  }
  std::vector<Domain> domains{{root_text(root.get(), "defaultNamingContext"), true}};
  if (domains.front().context.empty() || !read_trusts(domains.front(), nodes)) return false;
  const std::wstring configuration = root_text(root.get(), "configurationNamingContext");
  if (!configuration.empty()) read_domains(configuration, domains);
  for (const Domain& domain : domains) {
    if (!domain.is_own) read_trusts(domain, nodes);
  }
  return true;
}

}  // namespace trust_topology
