#include "directory/sites.h"

#include <array>

#include "directory/dns_utils.h"

namespace directory {
namespace {

// What the buffers of these names hold besides their zero end; the directory's own limit for a cn
// is 64.
constexpr std::size_t kNameLength = 63;
constexpr std::size_t kFullNameLength = 224;

bool read_cut(const trace::Scope& trace, IADs* object, std::string_view attribute,
              std::size_t length, std::string& text) {
  if (!read_text(object, attribute, text)) return false;
  if (text.size() > length) {
    trace.error()("Text of %zu characters cut to %zu", text.size(), length);
    text.resize(length);
  }
  return true;
}

}  // namespace

int read_configuration(const trace::Scope& trace, const char* server, std::string& configuration) {
  std::array<char, 200> context{};
  if (DNSUtils::GetConfigurationNamingContext(server, context) != 0) {
    trace.error()("GetConfigurationNamingContext failed\n");
    return ADSI_OBJECT_ERR;
  }
  configuration = context.data();
  return 0;
}

ForestPath servers_path(const trace::Scope& trace, std::string_view site,
                        std::string_view configuration) {
  return {trace, L"LDAP://CN=Servers,CN=%S,CN=Sites,%S", {site, configuration}};
}

ForestPath settings_path(const trace::Scope& trace, std::string_view server, std::string_view site,
                         std::string_view configuration) {
  return {trace,
          L"LDAP://CN=NTDS Settings,CN=%S,CN=Servers,CN=%S,CN=Sites,%S",
          {server, site, configuration}};
}

ForestPath transport_path(const trace::Scope& trace, std::string_view configuration) {
  return {trace, L"LDAP://CN=IP,CN=Inter-Site Transports,CN=Sites,%S", {configuration}};
}

bool read_name(const trace::Scope& trace, IADs* object, std::string& name) {
  return read_cut(trace, object, "cn", kNameLength, name);
}

bool read_full_name(const trace::Scope& trace, IADs* object, std::string& name) {
  return read_cut(trace, object, "dNSHostName", kFullNameLength, name);
}

bool bind_settings(const trace::Scope& trace, std::string_view server, std::string_view site,
                   std::string_view configuration, Reference<IADs>& settings) {
  const ForestPath path = settings_path(trace, server, site, configuration);
  return SUCCEEDED(bind_object(path.wide(), settings)) && settings;
}

bool is_no_site(std::string_view name) {
  return name == "Inter-Site Transports" || name == "Subnets";
}

OpenedSite open_site(const trace::Scope& trace, const ForestWalk& how, std::string_view site,
                     std::string_view configuration, Children& servers) {
  const ForestPath path = servers_path(trace, site, configuration);
  const Opened opened = open_children(path.wide(), servers);
  if (opened.failure == OpenFailure::kNone) return {true, false, 0};
  const bool unbound = opened.failure == OpenFailure::kBind;
  if (how.names_the_site && (unbound || !how.names_only_unbound)) {
    // Deliberately a level for the one and none for the other, as people who read the traces know.
    const trace::Line line = unbound ? trace.error() : trace.always();
    line("%s Failed for Site: %s. Error number: %x\n",
         unbound ? "ADsGetObject" : "ADsBuildEnumerator", std::string(site).c_str(),
         unsigned(opened.result));
  } else {
    report_open_failure(trace, opened);
  }
  if (unbound) return {false, how.ends_at_unbound_servers, how.ends_at_unbound_servers ? -1 : 0};
  return {false, how.ends_without_enumerator, ADSI_ENUM_ERR};
}

}  // namespace directory
