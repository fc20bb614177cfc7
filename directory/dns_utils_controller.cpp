// Whether a server is a global catalog, and its full name.

#include "directory/dns_utils.h"
#include "directory/sites.h"

using directory::ForestWalk;
using directory::read_configuration;
using directory::Reference;
using directory::Variant;
using directory::view;

namespace {

// The flag from the settings' options. The words of the traces are those that people who read them
// know; they tell of the global catalog all the same.
void read_catalog_flag(const trace::Scope& trace, const std::string& server,
                       const std::string& site, const std::string& configuration,
                       std::uint8_t& flag) {
  const directory::ForestPath path = directory::settings_path(trace, server, site, configuration);
  Reference<IADs> settings;
  HRESULT result = directory::bind_object(path.wide(), settings);
  if (SUCCEEDED(result) && !settings) result = E_NOINTERFACE;
  if (FAILED(result)) {
    trace.always()("ADsGetObject(NTDS Settings) Failed for Server: %s. Error number: %x\n",
                   server.c_str(), unsigned(result));
    return;
  }
  Variant options;
  result = directory::read(settings.get(), "options", options);
  if (FAILED(result)) {
    trace.error()("<%s> Not a Global Catalog Server. Get(CComBSTR()) Failed. Error number: %x\n",
                  server.c_str(), unsigned(result));
  } else if (options.get().lVal == 0) {
    flag = 0;
    trace.detail()("IsRODC: FALSE, options = %d\n", int{options.get().lVal});
  } else {
    flag = 1;
    trace.detail()("IsRODC: TRUE\n");
  }
}

}  // namespace

int DNSUtils::IsGlobalCatalogServer(const char* server, std::uint8_t& flag) {
  DCW_TRACE("IsGlobalCatalogServer");
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(ADSI_OBJECT_ERR);
  std::string wanted(view(server));
  directory::upper_case(wanted);
  ForestWalk how;
  how.sites_unbound = -1;
  how.skips_what_is_no_site = true;
  how.ends_at_unbound_servers = true;
  how.ends_without_enumerator = false;
  how.yield_every = 0;
  bool found = false;
  const auto result =
      directory::walk_forest(trace, configuration, how, [&](const std::string& site, IADs* object) {
        std::string name;
        if (!directory::read_name(trace, object, name) || name != wanted) return 0;
        found = true;
        read_catalog_flag(trace, name, site, configuration, flag);
        return directory::kFound;
      });
  if (!found && result.was_walked) trace.error()("Server <%s> not found", wanted.c_str());
  return trace.returns(result.code);
}

int DNSUtils::GetDNSHostName(const char* name, const char* configurationNamingContext,
                             std::span<char> fullName, bool byHostName) {
  DCW_TRACE("GetDNSHostName");
  std::string wanted(view(name));
  directory::upper_case(wanted);
  ForestWalk how;
  how.sites_unbound = -1;
  how.skips_what_is_no_site = true;
  how.ends_at_unbound_servers = true;
  how.ends_without_enumerator = false;
  how.names_the_site = true;
  bool found = false;
  const auto each_server = [&](const std::string&, IADs* object) {
    std::string text;
    if (byHostName ? !directory::read_full_name(trace, object, text)
                   : !directory::read_name(trace, object, text)) {
      return 0;
    }
    directory::upper_case(text);
    trace.error()("tempServerName:: <%s> and tempStr:: <%s>", wanted.c_str(), text.c_str());
    if (text != wanted) return 0;
    found = true;
    Variant value;
    const HRESULT result = directory::read(object, "dNSHostName", value);
    if (FAILED(result)) {
      trace.error()("Get(dNSHostName) Failed for <%s>. Error number: %x\n", wanted.c_str(),
                    unsigned(result));
      return ADSI_OBJECT_ERR;
    }
    directory::copy_out(trace, fullName, directory::text_of(value));
    return directory::kFound;
  };
  const auto result = directory::walk_forest(trace, std::string(view(configurationNamingContext)),
                                             how, each_server);
  if (found || !result.was_walked) return trace.returns(result.code);
  trace.error()("Could not retrieve DNSHostName for <%s>. Server not found", view(name).data());
  return trace.returns(ADSI_OBJECT_ERR);
}
