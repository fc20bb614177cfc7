#pragma once
// Where the sites of a forest, their servers and the servers' settings stand in the directory, and
// the walk over all of them. The patterns of patterns.h, one level up: the trace scope is the
// asking operation's, and nothing is kept between calls.

#include <functional>
#include <string>
#include <string_view>

#include "directory/patterns.h"

namespace directory {

// The configuration naming context as the server tells it, cut at 199 characters. 0, or
// ADSI_OBJECT_ERR with the usual message.
int read_configuration(const trace::Scope& trace, const char* server, std::string& configuration);

using ForestPath = AdsPath<260>;
ForestPath servers_path(const trace::Scope& trace, std::string_view site,
                        std::string_view configuration);
// A domain controller has such settings; its connections are their children.
ForestPath settings_path(const trace::Scope& trace, std::string_view server, std::string_view site,
                         std::string_view configuration);
ForestPath transport_path(const trace::Scope& trace, std::string_view configuration);

// The object's cn, cut at 63 characters. False, with nothing changed, when it cannot be read.
bool read_name(const trace::Scope& trace, IADs* object, std::string& name);
// The object's full DNS name, cut at 224 characters.
bool read_full_name(const trace::Scope& trace, IADs* object, std::string& name);

// Binds the settings of the server; false, with nothing traced, when it has none.
bool bind_settings(const trace::Scope& trace, std::string_view server, std::string_view site,
                   std::string_view configuration, Reference<IADs>& settings);

// What a walk over the forest does where a site's servers cannot be had. Each operation has its own
// answer, and its callers rely on it.
struct ForestWalk {
  int sites_unbound = ADSI_OBJECT_ERR;   // the result when the sites cannot be bound
  bool skips_what_is_no_site = false;    // "Inter-Site Transports" and "Subnets"
  bool ends_at_unbound_servers = false;  // with -1; else the walk goes on with the next site
  bool ends_without_enumerator = true;   // with ADSI_ENUM_ERR; else notes it and goes on
  bool names_the_site = false;           // in the messages of servers that cannot be opened ...
  bool names_only_unbound = false;       // ... but not in that of a missing enumerator
  bool traces_failed_server = true;
  int yield_every = 10;
  // Sites to leave out besides; traces what it has to say.
  std::function<bool(const std::string& site)> leaves_out;
};

// How far a site's servers could be opened, and the code that the walk ends with or keeps in mind.
struct OpenedSite {
  bool is_open = false;
  bool ends_walk = false;
  int code = 0;
};
OpenedSite open_site(const trace::Scope& trace, const ForestWalk& how, std::string_view site,
                     std::string_view configuration, Children& servers);

bool is_no_site(std::string_view name);

// What a visitor gives to end the walk because it has found what it looked for.
inline constexpr int kFound = 1;

struct ForestResult {
  int code = 0;            // that ended the walk, else the one noted last, else 0
  bool was_walked = true;  // false: something that could not be opened ended the walk
};

// Calls each(site, IADs* server) for every server of every site. each gives 0 to go on, kFound to
// end the walk, or the negative code to end it with.
template <typename Each>
ForestResult walk_forest(const trace::Scope& trace, const std::string& configuration,
                         const ForestWalk& how, Each&& each) {
  Children sites;
  const ForestPath path(trace, L"LDAP://CN=Sites,%S", {configuration});
  const Opened opened = open_children(path.wide(), sites);
  if (opened.failure != OpenFailure::kNone) {
    const int code = report_open_failure(trace, opened);
    return {opened.failure == OpenFailure::kBind ? how.sites_unbound : code, false};
  }
  Walk outer;
  outer.yield_every = how.yield_every;
  outer.traces_failed_child = false;
  Walk inner;
  inner.yield_every = how.yield_every;
  inner.traces_failed_child = how.traces_failed_server;
  ForestResult result;
  int ended = 0;
  walk_children(trace, sites, outer, [&](IADs* child) {
    std::string site;
    if (!read_name(trace, child, site)) return true;
    if (how.skips_what_is_no_site && is_no_site(site)) return true;
    if (how.leaves_out && how.leaves_out(site)) return true;
    Children servers;
    const OpenedSite opened_site = open_site(trace, how, site, configuration, servers);
    if (!opened_site.is_open) {
      if (opened_site.code != 0) result.code = opened_site.code;
      result.was_walked = !opened_site.ends_walk;
      return result.was_walked;
    }
    walk_children(trace, servers, inner, [&](IADs* server) {
      ended = each(static_cast<const std::string&>(site), server);
      return ended == 0;
    });
    return ended == 0;
  });
  if (ended < 0) result.code = ended;
  return result;
}

}  // namespace directory
