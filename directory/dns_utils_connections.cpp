// Connections between domain controllers: what one has, and what the whole forest replicates from.

#include <map>

#include "directory/dns_utils.h"
#include "directory/sites.h"
#include "tables/ckutil.h"

using directory::ForestPath;
using directory::ForestWalk;
using directory::read_configuration;
using directory::settings_path;
using directory::view;

namespace {

// The forest as both counts of connections walk it. Servers are not the innermost level.
ForestWalk walk_to_settings() {
  ForestWalk how;
  how.traces_failed_server = false;
  return how;
}

// Calls each(IADs*) for the connections beneath a server's settings. 0, also for a server without
// settings, which is traced; ADSI_ENUM_ERR ends the whole walk.
template <typename Each>
int walk_connections(const trace::Scope& trace, const ForestPath& path, Each&& each) {
  const int result = directory::walk_container(trace, path.wide(), {}, each);
  return result == ADSI_ENUM_ERR ? ADSI_ENUM_ERR : 0;
}

// "DC2" of "CN=NTDS Settings,CN=DC2,CN=Servers,...". A text of another form gives whatever stands
// in these places.
std::string source_of(const std::string& settings) {
  const std::size_t first = settings.find(',');
  const std::size_t second = settings.find(',', first + 1);
  const std::string name = settings.substr(first + 1, second - first - 1);
  return name.substr(name.find('=') + 1);
}

}  // namespace

int DNSUtils::GetDSAConnections(const char* server, const char* site, std::int32_t& count) {
  DCW_TRACE("GetDSAConnections");
  std::string configuration;
  // Deliberately a success with the count as it was: the table then shows its preset.
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(0);
  const ForestPath path = settings_path(trace, view(server), view(site), configuration);
  directory::Walk walk;
  walk.traces_failed_child = false;
  std::int32_t connections = 0;
  const int result =
      directory::walk_container(trace, path.wide(), walk, [&](IADs*) { ++connections; });
  if (result == ADSI_ENUM_END) count = connections;
  return trace.returns(result);
}

int DNSUtils::GetInboundConnections(char* server, std::int32_t& count) {
  DCW_TRACE("GetInboundConnections");
  count = 0;
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(ADSI_OBJECT_ERR);
  trace.detail()("ConfigurationNamingContext: <%s>\n", configuration.c_str());
  // The caller's own text changes, and the count of sources that follows depends on it.
  CKUtil::upper(server, static_cast<std::int32_t>(view(server).size()));
  std::int32_t connections = 0;
  const auto each_server = [&](const std::string& site, IADs* object) {
    std::string name;
    if (!directory::read_name(trace, object, name)) return 0;
    std::string upper = name;
    directory::upper_case(upper);
    if (upper != view(server)) return 0;
    const ForestPath path = settings_path(trace, name, site, configuration);
    trace.error()("STROBJECT: <%s>", path.narrow().c_str());
    return walk_connections(trace, path, [&](IADs*) { ++connections; });
  };
  const auto result = directory::walk_forest(trace, configuration, walk_to_settings(), each_server);
  if (result.code == 0) count = connections;
  return trace.returns(result.code);
}

int DNSUtils::GetInboundConnections(const char* server, std::int32_t& knownSources,
                                    std::int32_t& fromThisServer) {
  DCW_TRACE("GetInboundConnections");
  knownSources = 0;
  fromThisServer = 0;
  std::string configuration;
  if (read_configuration(trace, server, configuration) != 0) return trace.returns(ADSI_OBJECT_ERR);
  trace.detail()("ConfigurationNamingContext: <%s>\n", configuration.c_str());
  std::map<std::string, std::int32_t> servers;  // how often each name stands in the forest
  std::map<std::string, std::int32_t> sources;
  const auto each_server = [&](const std::string& site, IADs* object) {
    std::string name;
    if (!directory::read_name(trace, object, name)) return 0;
    ++servers[name];
    return walk_connections(trace, settings_path(trace, name, site, configuration),
                            [&](IADs* connection) {
                              std::string from;
                              if (directory::read_text(connection, "fromServer", from)) {
                                ++sources[source_of(from)];
                              }
                            });
  };
  const auto result = directory::walk_forest(trace, configuration, walk_to_settings(), each_server);
  if (result.code != 0) return trace.returns(result.code);
  // Letter case counts here: callers have the other form upper-case the name first.
  for (const auto& [source, times] : sources) {
    const auto known = servers.find(source);
    if (known != servers.end()) knownSources += known->second * times;
    if (source == view(server)) fromThisServer += times;
  }
  return trace.returns(ADSI_ENUM_END);
}
