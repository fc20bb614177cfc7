// The domain controllers of the forest, with their sites and domains.

#include <array>

#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "directory/sites.h"

using directory::AdsPath;
using directory::copy_out;
using directory::Reference;
using directory::Variant;

namespace {

// Builds the names of one attribute that a directory works out only when asked, and loads it.
// Either message takes the failing call's result; false after a failure.
struct LoadMessages {
  const char* names;
  const char* load;
  bool load_is_an_error;  // traced at error level; else always
};
bool load_constructed(const trace::Scope& trace, IADs* object, const wchar_t* attribute,
                      const LoadMessages& messages) {
  Variant names;
  std::wstring name = attribute;
  LPWSTR list[] = {name.data()};
  HRESULT result = ADsBuildVarArrayStr(list, 1, names.target());
  if (FAILED(result)) {
    trace.error()(messages.names, unsigned(result));
    return false;
  }
  result = object->GetInfoEx(names.get(), 0);
  if (SUCCEEDED(result)) return true;
  const trace::Line line = messages.load_is_an_error ? trace.error() : trace.always();
  line(messages.load, unsigned(result));
  return false;
}

// Tells the trace the forest's name, which has no further use. False, traced, when the
// configuration does not give it: the forest is then taken for unreachable.
bool trace_root_domain(const trace::Scope& trace, const std::string& context) {
  const AdsPath<260> path(trace, L"LDAP://%S", {context});
  Reference<IADs> configuration;
  HRESULT result = directory::bind_object(path.wide(), configuration);
  if (SUCCEEDED(result) && !configuration) result = E_NOINTERFACE;
  if (FAILED(result)) {
    trace.error()("ADsGetObject Failed for Configuration. Error : %x\n", unsigned(result));
    return false;
  }
  if (!load_constructed(trace, configuration.get(), L"canonicalName",
                        {"ADsBuildVarArrayStr. Error : %x\n",
                         "GetInfoEx Failed for Configuration. Error : %x\n", true})) {
    return false;
  }
  Variant value;
  result = directory::read(configuration.get(), "canonicalName", value);
  if (FAILED(result)) {
    trace.error()("Get(canonicalName) Failed for Configuration. Error : %x\n", unsigned(result));
    return false;
  }
  const std::string name = directory::text_of(value);
  trace.detail()("CanonicalName : %s\n", name.c_str());
  trace.detail()("Root Domain : %s\n", name.substr(0, name.find('/')).c_str());
  return true;
}

std::string behind_first_dot(std::string_view name) {
  const std::size_t dot = name.find('.');
  return std::string(dot == name.npos ? std::string_view() : name.substr(dot + 1));
}

void read_host_name(const trace::Scope& trace, IADs* server, ForestTopologyInfo& info) {
  std::string name;
  if (!directory::read_text(server, "dNSHostName", name)) {
    trace.error()("Get(DNSHostName) failed\n");
    trace.error()("DNSDomainName not available\n");
    return;
  }
  directory::upper_case(name);
  copy_out(trace, info.hostName, name);
  copy_out(trace, info.domainName, behind_first_dot(info.hostName));
  trace.detail()("DNSDomainName : %s\n", info.domainName);
}

void read_names(const trace::Scope& trace, IADs* server, ForestTopologyInfo& info) {
  std::string text;
  if (directory::read_text(server, "cn", text)) {
    copy_out(trace, info.commonName, text);
    trace.detail()("CommonName : %s\n", info.commonName);
  } else {
    trace.error()("Get(CommonName) failed\n");
  }
  if (directory::read_text(server, "distinguishedName", text)) {
    copy_out(trace, info.distinguishedName, text);
    copy_out(trace, info.fullDistinguishedName, text);
    trace.detail()("DistinguishedName : %s\n", info.distinguishedName);
  } else {
    trace.error()("Get(DistinguishedName) failed\n");
  }
}

// A controller that predates the attribute does not tell; the table then says so.
void read_only_mark(const trace::Scope& trace, IADs* settings, ForestTopologyInfo& info) {
  load_constructed(trace, settings, L"msDS-isRODC",
                   {"ADsBuildVarArrayStr Failed for Configuration. Error : %x\n",
                    "GetInfoEx Failed for msDS-isRODC. Error : %x\n", false});
  Variant value;
  if (FAILED(directory::read(settings, "msDS-isRODC", value))) {
    trace.error()("Get(msDS-isRODC) failed for <%s>\n", info.hostName);
    copy_out(trace, info.isRODC, "NOT_SUPPORTED");
    return;
  }
  copy_out(trace, info.isRODC, value.get().boolVal != VARIANT_FALSE ? "TRUE" : "FALSE");
}

// The forest root's DNS name in upper case; false, traced, when it cannot be had.
bool read_root_domain(const trace::Scope& trace, const char* server, std::string& root) {
  std::array<char, 200> context{};
  if (DNSUtils::GetDefaultNamingContext(server, context) != 0) {
    trace.error()("GetDefaultNamingContext failed\n");
    return false;
  }
  std::array<char, 256> name{};
  if (ADSIutils::ConvertLDAPToDNS(context.data(), name) != 0) {
    trace.error()("ADSIutils::ConvertLDAPToDNS failed\n");
    return false;
  }
  root = name.data();
  directory::upper_case(root);
  return true;
}

void find_parent(const trace::Scope& trace, const std::string& root, ForestTopologyInfo& info) {
  const std::string domain = info.domainName;
  if (root == domain) {
    copy_out(trace, info.parentDomain, root);
    trace.error()("Success\n");
  } else {
    // What holds no dot is too short to be a domain: such a domain is the root of a tree.
    const std::string behind = behind_first_dot(domain);
    copy_out(trace, info.parentDomain, behind.find('.') == behind.npos ? domain : behind);
  }
  trace.detail()("ParentDomain : %s\n", info.parentDomain);
}

}  // namespace

int DNSUtils::GetForestTopologyInfo(const char* server, std::vector<ForestTopologyInfo>& records) {
  DCW_TRACE("GetForestTopologyInfo");
  std::string context;
  if (directory::read_configuration(trace, server, context) != 0 ||
      !trace_root_domain(trace, context)) {
    return trace.returns(ADSI_OBJECT_ERR);
  }
  directory::ForestWalk how;
  how.sites_unbound = -1;
  how.skips_what_is_no_site = true;
  how.names_the_site = true;
  how.names_only_unbound = true;
  const auto each_server = [&](const std::string& site, IADs* object) {
    std::string name;
    Reference<IADs> settings;
    if (!directory::read_name(trace, object, name)) return 0;
    if (!directory::bind_settings(trace, name, site, context, settings)) {
      trace.error()(
          "ADsGetObject() for NTDS Settings Failed for server : %s. Not a Domain Controller.\n",
          name.c_str());
      return 0;
    }
    ForestTopologyInfo info;
    read_host_name(trace, object, info);
    read_names(trace, object, info);
    copy_out(trace, info.siteName, site);
    read_only_mark(trace, settings.get(), info);
    std::string root;
    if (!read_root_domain(trace, server, root)) return ADSI_OBJECT_ERR;
    find_parent(trace, root, info);
    records.push_back(info);
    return 0;
  };
  return trace.returns(directory::walk_forest(trace, context, how, each_server).code);
}
