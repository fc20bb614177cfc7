#pragma once
// A controller among partners, catalogs and role holders, as the availability table asks it, and
// the rows that it must show.

#include <gtest/gtest.h>

#include <cstring>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "include/settings.h"
#include "tests/collectors/recorded_commands.h"
#include "tests/directory/forest.h"

namespace availability_test {

using directory_test::kConfiguration;
using directory_test::kDomain;
using directory_test::settings_dn;
using testing_support::Command;
using testing_support::commands_json;
using testing_support::head;
using testing_support::MoreFiles;
using testing_support::number;
using testing_support::padded;
using testing_support::replaced;

// The forest of the directory tests, with DC3 a global catalog: DC1 and DC2 in Hub, DC3 in Branch;
// DC3 holds RID and infrastructure, DC1 the other roles.
inline std::string forest() { return directory_test::forest_with("options: 5\n", "options: 1\n"); }
// All roles at one server.
inline std::string forest_of_one_holder(const std::string& site, const std::string& server) {
  std::string text = forest();
  const std::string owner = "fSMORoleOwner: " + settings_dn(site, server) + "\n";
  for (const auto& [its_site, its_server] : {std::pair("Hub", "DC1"), std::pair("Branch", "DC3")}) {
    const std::string before = "fSMORoleOwner: " + settings_dn(its_site, its_server) + "\n";
    for (std::size_t at = text.find(before); at != text.npos && before != owner;
         at = text.find(before)) {
      text.replace(at, before.size(), owner);
    }
  }
  return text;
}

struct Located {
  std::string name;
  std::string site;
  std::string flags = R"("LDAP", "DS")";
  bool answers = true;
};
inline const std::vector<Located> kLocated = {
    {"DC1.corp.example", "Hub", R"("PDC", "LDAP", "DS")"},
    {"DC2.corp.example", "Hub", R"("LDAP", "DS", "GOOD_TIMESERV")"},
    {"DC3.corp.example", "Branch"},
};
inline std::string locator_json(const std::vector<Located>& controllers) {
  std::string text;
  for (const Located& one : controllers) {
    text += std::string(text.empty() ? "" : ",") + R"({"name": ")" + one.name + R"(", "site": ")" +
            one.site + R"(", "flags": [)" + one.flags + R"(], "answers": )" +
            (one.answers ? "true" : "false") + "}";
  }
  return R"({"forest": "corp.example", "controllers": [)" + text + "]}";
}

// A naming context and the settings of the server that it comes from.
using Neighbours = std::vector<std::pair<std::string, std::string>>;
inline const Neighbours kNeighbours = {{kDomain, settings_dn("Hub", "DC2")},
                                       {kConfiguration, settings_dn("Hub", "DC2")},
                                       {"CN=Schema," + kConfiguration, settings_dn("Hub", "DC2")},
                                       {kConfiguration, settings_dn("Branch", "DC3")}};
inline std::string replication_json(const Neighbours& neighbours) {
  std::string text;
  for (const auto& [context, source] : neighbours) {
    text += std::string(text.empty() ? "" : ",") + R"({"naming_context": ")" + context +
            R"(", "source_dsa": ")" + source + R"("})";
  }
  return R"({"servers": {"DC1": {"neighbours": [)" + text + "]}}}";
}

inline Command ping_of(const std::string& server, const std::string& average) {
  return {"ping -n 1 -w 2000 -l 32 " + server + ".corp.example",
          {"    Packets: Sent = 1, Received = 1, Lost = 0 (0% loss),",
           "    Minimum = 1ms, Maximum = 9ms, Average = " + average + "ms"}};
}
inline Command lost_ping_of(const std::string& server) {
  return {"ping -n 1 -w 2000 -l 32 " + server + ".corp.example",
          {"    Packets: Sent = 1, Received = 0, Lost = 1 (100% loss),"}};
}
inline Command clock_of(const std::string& offset) {
  return {"w32tm /monitor /computers:DC1.corp.example,*DC2.corp.example",
          {"DC1.corp.example[10.53.1.11:123]:", "    ICMP: 0ms delay",
           "    NTP: " + offset + "s offset from DC2.corp.example"}};
}
inline const std::vector<Command> kCommands = {ping_of("DC1", "1"), ping_of("DC2", "2"),
                                               ping_of("DC3", "3"), clock_of("+0.0123456")};

struct Machine {
  std::string directory = forest();
  std::vector<Located> located = kLocated;
  Neighbours neighbours = kNeighbours;
  std::vector<Command> commands = kCommands;
  std::string time_service = "Running";

  MoreFiles files() const {
    return {{"locator.json", locator_json(located)},
            {"replication.json", replication_json(neighbours)},
            {"commands.json", commands_json(commands)},
            {"services.json",
             R"([{"Name": "W32Time", "StartMode": "Auto", "State": ")" + time_service + R"("}])"}};
  }
};

// A role's columns: who holds it, its ping, whether it could be bound, and who held it before.
struct Role {
  std::string holder;
  std::int32_t ping;
  std::int32_t bound;
  std::string before;
};
// What a row shows.
struct Shown {
  std::int32_t partners = 2, partners_pinged = 2;
  std::int32_t catalogs = 2, catalogs_pinged = 2, catalogs_bound = 2;
  std::int32_t in_site = 1, in_site_pinged = 1, in_site_bound = 1;
  std::string own_role = "Domain_Naming";
  Role rid = {"Branch\\DC3", 3, 1, "Branch\\DC3"};
  Role naming = {"Hub\\DC1", 1, 1, "Hub\\DC1"};
  Role infrastructure = {"Branch\\DC3", 3, 1, "Branch\\DC3"};
  Role schema = {"Hub\\DC1", 1, 1, "Hub\\DC1"};
  Role pdc = {"Hub\\DC1", 1, 1, "Hub\\DC1"};
  std::string site = "Hub";
  std::string is_catalog = "TRUE";
  std::int32_t controllers = 2, controllers_bound = 2;
  std::int32_t difference = 12;
  std::string time_server = "DC2.corp.example";
  std::int32_t time_server_is_good = 1;
};

inline std::string row_of(const Shown& shown, std::int32_t sample = 1,
                          const std::string& stamp = "1110102030405000") {
  std::string row = head(sample, 1, stamp);
  for (const std::int32_t value : {shown.partners, shown.partners_pinged, shown.catalogs,
                                   shown.catalogs_pinged, shown.in_site, shown.in_site_pinged}) {
    row += number(value);
  }
  row += padded(shown.own_role, 64);
  for (const Role* role :
       {&shown.rid, &shown.naming, &shown.infrastructure, &shown.schema, &shown.pdc}) {
    row += padded(role->holder, 64) + number(role->ping);
  }
  for (const Role* role :
       {&shown.rid, &shown.naming, &shown.infrastructure, &shown.schema, &shown.pdc}) {
    row += padded(role->before, 64);
  }
  row += padded(shown.site, 64) + padded("DC1.corp.example", 64) + padded("corp.example", 64) +
         padded("corp.example", 64) + padded(shown.is_catalog, 16);
  row += number(shown.controllers) + number(shown.difference) + padded(shown.time_server, 256) +
         number(shown.time_server_is_good);
  for (const std::int32_t value :
       {shown.pdc.bound, shown.naming.bound, shown.rid.bound, shown.schema.bound,
        shown.infrastructure.bound, shown.in_site_bound, shown.catalogs_bound,
        shown.controllers_bound}) {
    row += number(value);
  }
  return row;
}

class Availability : public testing_support::Sampling {
 protected:
  Availability() : Sampling(forest(), Machine{}.files()) {
    g_pingCount = 1;
    g_pingTimeout = 2000;
    g_pingSize = 32;
    unsetenv("DWA_GETSITEFORSERVER_FLAG");
  }
  void TearDown() override { g_cacheInterval = 0; }

  void record(const Machine& machine) { next_.emplace(machine.directory, "", machine.files()); }
  static std::string sample() {
    const auto rows = xaf::DirectSampler("DCWNTDSDCA").sample();
    return rows.size() == 1 ? rows[0] : std::to_string(rows.size()) + " rows";
  }
  static std::string sample(xaf::DirectSampler& object) {
    const auto rows = object.sample();
    return rows.size() == 1 ? rows[0] : std::to_string(rows.size()) + " rows";
  }
  // The clock's three columns with that offset and state of the time service.
  Shown with_clock(std::int32_t difference, const std::string& server, std::int32_t is_good) {
    Shown shown;
    shown.difference = difference;
    shown.time_server = server;
    shown.time_server_is_good = is_good;
    return shown;
  }
  std::int32_t difference_of(const std::string& offset) {
    Machine machine;
    machine.commands.back() = clock_of(offset);
    record(machine);
    const std::string row = sample();
    std::int32_t value = 0;
    if (row.size() == 1536) std::memcpy(&value, row.data() + 1240, sizeof value);
    return value;
  }

  std::optional<testing_support::SmallRecording> next_;
};

}  // namespace availability_test
