// Lists of domain controllers and global catalogs.

#include "directory/dns_utils.h"
#include "directory/sites.h"
#include "include/platform/text.h"

using directory::read_configuration;
using directory::Reference;
using directory::Variant;
using directory::view;

namespace {

// Exactly 1, deliberately: a server whose settings carry further options is no global catalog of
// these lists, although IsGlobalCatalogServer calls it one.
bool is_listed_catalog(const trace::Scope& trace, IADs* settings) {
  Variant options;
  const HRESULT result = directory::read(settings, "options", options);
  if (FAILED(result)) {
    trace.error()("pObj->Get Failed. Error number: %x\n", unsigned(result));
    return false;
  }
  return options.get().lVal == 1;
}

// The global catalogs of all sites save that one; null for none to leave out.
int list_catalogs(const trace::Scope& trace, const char* server, const char* site_left_out,
                  std::vector<std::string>& servers) {
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return ADSI_OBJECT_ERR;
  trace.detail()("ConfigurationNamingContext: <%s>\n", configuration.c_str());
  directory::ForestWalk how;
  how.leaves_out = [&](const std::string& site) {
    if (site_left_out == nullptr || _stricmp(site.c_str(), site_left_out) != 0) return false;
    trace.error()("Current Site Found: %s", site.c_str());
    return true;
  };
  const auto each_server = [&](const std::string& site, IADs* object) {
    std::string name;
    std::string full_name;
    Reference<IADs> settings;
    if (directory::read_name(trace, object, name) &&
        directory::read_full_name(trace, object, full_name) &&
        directory::bind_settings(trace, name, site, configuration, settings) &&
        is_listed_catalog(trace, settings.get())) {
      servers.push_back(full_name);
    }
    return 0;
  };
  const auto result = directory::walk_forest(trace, configuration, how, each_server);
  return result.code == 0 ? ADSI_ENUM_END : result.code;
}

}  // namespace

int DNSUtils::GetGCList(const char* server, std::vector<std::string>& servers) {
  DCW_TRACE("GetGCList");
  return trace.returns(list_catalogs(trace, server, nullptr, servers));
}

int DNSUtils::GetGCListOutSite(const char* server, const char* site,
                               std::vector<std::string>& servers) {
  DCW_TRACE("GetGCListOutSite");
  return trace.returns(list_catalogs(trace, server, view(site).data(), servers));
}

int DNSUtils::GetGCList(const char* server, const char* site, std::vector<std::string>& servers) {
  DCW_TRACE("GetGCList");
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(ADSI_OBJECT_ERR);
  directory::Children children;
  const auto path = directory::servers_path(trace, view(site), configuration);
  const directory::Opened opened = directory::open_children(path.wide(), children);
  if (opened.failure != directory::OpenFailure::kNone) {
    const int code = directory::report_open_failure(trace, opened);
    // Deliberately a success: callers take a site that is not there for one without catalogs.
    return trace.returns(code == ADSI_OBJECT_ERR ? 0 : code);
  }
  return trace.returns(directory::walk_children(trace, children, {}, [&](IADs* object) {
    std::string name;
    Reference<IADs> settings;
    if (!directory::read_name(trace, object, name) ||
        !directory::bind_settings(trace, name, view(site), configuration, settings) ||
        !is_listed_catalog(trace, settings.get())) {
      return;
    }
    std::string full_name;
    if (!directory::read_full_name(trace, object, full_name)) {
      trace.error()("dnsHostName Failed, Last Error : %ld", static_cast<long>(GetLastError()));
      return;
    }
    trace.error()("Found GC' In site fqdn:%s", full_name.c_str());
    servers.push_back(full_name);
  }));
}

int DNSUtils::GetDCList(const char* server, const char* site, std::vector<std::string>& servers) {
  DCW_TRACE("GetDCList");
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(ADSI_OBJECT_ERR);
  const auto path = directory::servers_path(trace, view(site), configuration);
  return trace.returns(directory::walk_container(trace, path.wide(), {}, [&](IADs* object) {
    std::string full_name;
    directory::read_full_name(trace, object, full_name);
    std::string name;
    directory::read_name(trace, object, name);
    Reference<IADs> settings;
    // A server without settings is no domain controller; one that hides its full name still is.
    if (directory::bind_settings(trace, name, view(site), configuration, settings)) {
      servers.push_back(full_name);
    }
  }));
}

int DNSUtils::GetDomainControllers(const char* server, std::vector<std::string>& servers) {
  DCW_TRACE("GetDomainControllers");
  char domain[200] = {};
  if (GetDefaultNamingContextOfServer(server, domain) != 0) {
    trace.error()("GetDefaultNamingContext failed\n");
    return trace.returns(ADSI_OBJECT_ERR);
  }
  const directory::ForestPath path(trace, L"LDAP://OU=Domain Controllers,%S", {domain});
  trace.detail()("LDAP Query STRING : <%s>", path.narrow().c_str());
  bool failed_child = false;
  directory::Walk walk;
  walk.yield_every = 0;
  walk.failed_child = &failed_child;
  const int result = directory::walk_container(trace, path.wide(), walk, [&](IADs* object) {
    std::string full_name;
    if (directory::read_full_name(trace, object, full_name)) servers.push_back(full_name);
  });
  if (result != ADSI_ENUM_END) return trace.returns(result);
  // Unlike the other walks, this one keeps a failed child in its result.
  return trace.returns(failed_child ? ADSI_ENUM_ERR : 0);
}
