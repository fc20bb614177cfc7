// Asks a live controller the directory questions that no table shows by itself, the way the
// collectors ask them. One line of standard input is one question, its words parted by '|'; every
// answer is one line of JSON.
//
//   connections|SERVER|SITE          inbound|SERVER            bridgeheads|SERVER
//   site_links|SERVER                is_bridgehead|SERVER      is_catalog|SERVER
//   is_read_only|SERVER              site|SERVER               inter_site_checker|SERVER
//   catalogs|SERVER                  catalogs_in|SERVER|SITE   catalogs_outside|SERVER|SITE
//   controllers_in|SERVER|SITE       domain_controllers|SERVER
//   roles|SERVER|DOMAIN_DN           neighbours|FULL_NAME      partners_in_domain|FULL_NAME
//   create|SERVER|DOMAIN_DN          update|SERVER|DOMAIN_DN   consistency|FROM|DOMAIN_DN|NAME
//   locked_users                     objects                   reach|FULL_NAME

#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "directory/dsf_utils.h"
#include "directory/reachability.h"
#include "directory/repl_utils.h"
#include "framework/trc/control.h"
#include "include/platform/adsi.h"
#include "platform/control.h"
#include "trace.h"

namespace {

using nlohmann::json;
using Words = std::vector<std::string>;
using Text = char[1024];

// The callee upper-cases some of its names in place, so it gets a copy of its own.
struct Name {
  explicit Name(const std::string& text) {
    std::snprintf(buffer, sizeof buffer, "%s", text.c_str());
  }
  Text buffer;
};

json counted(const std::function<int(std::int32_t&)>& ask) {
  std::int32_t count = -1;
  const int result = ask(count);
  return {{"result", result}, {"count", count}};
}

json flagged(const std::function<int(std::uint8_t&)>& ask) {
  std::uint8_t flag = 2;
  const int result = ask(flag);
  return {{"result", result}, {"flag", flag}};
}

json listed(const std::function<int(std::vector<std::string>&)>& ask) {
  std::vector<std::string> names;
  const int result = ask(names);
  return {{"result", result}, {"names", names}};
}

json inbound(const Words& words) {
  std::int32_t of_server = -1;
  std::int32_t known = -1;
  std::int32_t from_server = -1;
  Name name(words[1]);
  const int one = DNSUtils::GetInboundConnections(name.buffer, of_server);
  const int two = DNSUtils::GetInboundConnections(name.buffer, known, from_server);
  return {{"result", one},
          {"count", of_server},
          {"second_result", two},
          {"known", known},
          {"from_server", from_server}};
}

json roles(const Words& words) {
  Text pdc = {}, pdc_full = {}, rid = {}, infrastructure = {}, schema = {}, naming = {};
  const char* server = words[1].c_str();
  const char* domain = words[2].c_str();
  const json results = {
      DNSUtils::GetPDCFSMO(domain, pdc, "cn"),
      DNSUtils::GetPDCFSMO(domain, pdc_full, "dNSHostName"),
      DNSUtils::GetRIDFSMO(domain, rid),
      DNSUtils::GetInfrastructureFSMO(domain, infrastructure),
      DNSUtils::GetSchemaFSMO(server, schema),
      DNSUtils::GetDomainNamingFSMO(server, naming),
  };
  return {{"results", results},
          {"pdc", pdc},
          {"pdc_full", pdc_full},
          {"rid", rid},
          {"infrastructure", infrastructure},
          {"schema", schema},
          {"naming", naming}};
}

std::string narrow(const wchar_t* text) {
  char buffer[2048];
  std::snprintf(buffer, sizeof buffer, "%ls", text == nullptr ? L"" : text);
  return buffer;
}

json neighbours(const Words& words) {
  DS_REPL_NEIGHBORSW* info = nullptr;
  std::uint8_t ok = 2;
  const DWORD status = ReplUtils::GetReplicationPartnersInfo(words[1].c_str(), 0, &info, ok);
  json list = json::array();
  for (DWORD i = 0; ok == 1 && i < info->cNumNeighbors; ++i) {
    const DS_REPL_NEIGHBORW& neighbour = info->rgNeighbor[i];
    list.push_back({{"context", narrow(neighbour.pszNamingContext)},
                    {"source", narrow(neighbour.pszSourceDsaDN)},
                    {"failures", neighbour.cNumConsecutiveSyncFailures},
                    {"last_result", neighbour.dwLastSyncResult},
                    {"ever_succeeded", neighbour.ftimeLastSyncSuccess.dwHighDateTime != 0}});
  }
  if (ok == 1) DsReplicaFreeInfo(DS_REPL_INFO_NEIGHBORS, info);
  return {{"status", status}, {"ok", ok}, {"neighbours", list}};
}

json consistency(const Words& words) {
  ConsistencyObject object = {};
  const int result =
      ADSIutils::GetConsistencyObject(words[1].c_str(), words[2].c_str(), words[3].c_str(), object);
  char changed[32] = {};
  std::strftime(changed, sizeof changed, "%Y-%m-%d %H:%M:%S", &object.whenChanged);
  return {{"result", result},
          {"name", object.name},
          {"description", object.description},
          {"changed", changed}};
}

json partners_in_domain(const Words& words) {
  std::vector<std::string> partners;
  ReplUtils().GetReplicationPartnerInDomain(words[1].c_str(), partners);
  return {{"names", partners}};
}

// Whether the server answers a ping, and lets itself be bound then.
json reach(const Words& words) {
  unsigned char bound = 2;
  const std::int32_t average_ms = ping(words[1].c_str(), "", 1, 1, &bound);
  return {{"average_ms", average_ms}, {"bound", bound}};
}

json site(const Words& words) {
  Text name = {};
  const std::uint32_t status = DSFUtils::GetSiteName(words[1].c_str(), name);
  return {{"status", status}, {"site", name}};
}

using Question = std::function<json(const Words&)>;

const std::map<std::string, Question> kQuestions = {
    {"connections",
     [](const Words& w) {
       return counted([&](std::int32_t& count) {
         return DNSUtils::GetDSAConnections(w[1].c_str(), w[2].c_str(), count);
       });
     }},
    {"inbound", &inbound},
    {"bridgeheads",
     [](const Words& w) {
       return counted([&](std::int32_t& count) {
         return DNSUtils::GetBridgeHeadServerCountInSite(w[1].c_str(), count);
       });
     }},
    {"site_links",
     [](const Words& w) {
       return counted(
           [&](std::int32_t& count) { return DNSUtils::GetSiteLinkCount(w[1].c_str(), count); });
     }},
    {"is_bridgehead",
     [](const Words& w) {
       Name name(w[1]);
       return flagged(
           [&](std::uint8_t& flag) { return DNSUtils::IsBridgeHeadServer(name.buffer, flag); });
     }},
    {"is_catalog",
     [](const Words& w) {
       return flagged(
           [&](std::uint8_t& flag) { return DNSUtils::IsGlobalCatalogServer(w[1].c_str(), flag); });
     }},
    {"is_read_only",
     [](const Words& w) {
       return flagged(
           [&](std::uint8_t& flag) { return DNSUtils::IsReadOnlyDC(w[1].c_str(), flag); });
     }},
    {"inter_site_checker",
     [](const Words& w) {
       return flagged(
           [&](std::uint8_t& flag) { return DSFUtils::IsKCCEnabled(w[1].c_str(), flag); });
     }},
    {"catalogs",
     [](const Words& w) {
       return listed([&](auto& names) { return DNSUtils::GetGCList(w[1].c_str(), names); });
     }},
    {"catalogs_in",
     [](const Words& w) {
       return listed(
           [&](auto& names) { return DNSUtils::GetGCList(w[1].c_str(), w[2].c_str(), names); });
     }},
    {"catalogs_outside",
     [](const Words& w) {
       return listed([&](auto& names) {
         return DNSUtils::GetGCListOutSite(w[1].c_str(), w[2].c_str(), names);
       });
     }},
    {"controllers_in",
     [](const Words& w) {
       return listed(
           [&](auto& names) { return DNSUtils::GetDCList(w[1].c_str(), w[2].c_str(), names); });
     }},
    {"domain_controllers",
     [](const Words& w) {
       return listed(
           [&](auto& names) { return DNSUtils::GetDomainControllers(w[1].c_str(), names); });
     }},
    {"site", &site},
    {"roles", &roles},
    {"reach", &reach},
    {"neighbours", &neighbours},
    {"partners_in_domain", &partners_in_domain},
    {"consistency", &consistency},
    {"create",
     [](const Words& w) {
       return json{{"result", ADSIutils::CreateConsistencyObject(w[1].c_str(), w[2].c_str())}};
     }},
    {"update",
     [](const Words& w) {
       return json{{"result", ADSIutils::UpdateConsistencyObject(w[1].c_str(), w[2].c_str())}};
     }},
    {"locked_users",
     [](const Words&) {
       return counted([](std::int32_t& count) { return DNSUtils::GetNumberOfUsersLocked(count); });
     }},
    {"objects",
     [](const Words&) {
       return counted(
           [](std::int32_t& count) { return DNSUtils::GetNumberOfObjectsInDomain(count); });
     }},
};

json answer_to(const std::string& line) {
  Words words;
  std::istringstream text(line);
  for (std::string word; std::getline(text, word, '|');) words.push_back(word);
  const auto question = words.empty() ? kQuestions.end() : kQuestions.find(words[0]);
  if (question == kQuestions.end()) return {{"error", "unknown question " + line}};
  words.resize(4);
  return question->second(words);
}

}  // namespace

int main(int argument_count, char** arguments) try {
  if (argument_count != 2) {
    std::cerr << "usage: question_probe URL\n";
    return 2;
  }
  trc::set_console(true);
  trc::set_flags(trace::kError);
  platform::install(platform::open_live(arguments[1]));
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  for (std::string line; std::getline(std::cin, line);) std::cout << answer_to(line) << std::endl;
  CoUninitialize();
  return 0;
} catch (const platform::ControllerError& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
