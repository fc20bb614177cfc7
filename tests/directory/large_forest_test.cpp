// Every question asked of every controller of a larger forest; the answers are held against those
// that a script works out from the recording's files without any of our code.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "directory/lost_objects.h"
#include "framework/trc/control.h"
#include "include/platform/adsi.h"
#include "platform/control.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::joined;

const std::string kFolder = std::string(DIRWATCH_SOURCE) + "/tests/recordings/large_forest/";
const std::string kConfiguration = "CN=Configuration,DC=corp,DC=example";
constexpr std::int32_t kUntouched = -77;

struct ControllerOfForest {
  std::string name;
  std::string site;
  std::string full_name;
};

// Short text with its zero end, as callers keep it.
using Text = char[256];

// The answers of one controller, a line each.
class Answers {
 public:
  explicit Answers(ControllerOfForest controller) : controller_(std::move(controller)) {}

  std::string all() {
    ask_root();
    ask_connections();
    ask_kind();
    ask_lists();
    ask_roles();
    ask_lost();
    ask_inventories();
    return lines_;
  }

 private:
  void add(const std::string& question, int result, const std::string& answer) {
    lines_ +=
        controller_.name + " " + question + ": " + std::to_string(result) + " " + answer + "\n";
  }
  // An answer in a caller's buffer.
  template <typename Ask>
  void add_text(const std::string& question, Ask ask) {
    Text text = "untouched";
    const int result = ask(text);
    add(question, result, text);
  }
  template <typename Ask>
  void add_list(const std::string& question, Ask ask) {
    std::vector<std::string> list;
    const int result = ask(list);
    add(question, result, without_last(joined(list)));
  }
  static std::string without_last(std::string text) {
    if (!text.empty()) text.pop_back();
    return text;
  }

  void ask_root() {
    add_text("GetSchemaNamingContext",
             [&](auto& out) { return DNSUtils::GetSchemaNamingContext(server(), out); });
    add_text("GetConfigurationNamingContext",
             [&](auto& out) { return DNSUtils::GetConfigurationNamingContext(server(), out); });
    add_text("GetDefaultNamingContext",
             [&](auto& out) { return DNSUtils::GetDefaultNamingContext(server(), out); });
    add_text("GetDefaultNamingContextOfServer",
             [&](auto& out) { return DNSUtils::GetDefaultNamingContextOfServer(server(), out); });
    RootDSEInfo info;
    const int result = DNSUtils::GetRootDSEInfo(server(), info);
    add("GetRootDSEInfo", result,
        std::to_string(info.dcFunctionality) + " " + std::to_string(info.domainFunctionality) +
            " " + std::to_string(info.forestFunctionality) + " " + info.rootDomainName);
    add_list("GetNamingContexts",
             [&](auto& out) { return DNSUtils::GetNamingContexts(server(), out); });
  }

  void ask_connections() {
    std::int32_t count = kUntouched;
    int result = DNSUtils::GetDSAConnections(server(), controller_.site.c_str(), count);
    add("GetDSAConnections", result, std::to_string(count));
    std::string changed = controller_.name;
    result = DNSUtils::GetInboundConnections(changed.data(), count = kUntouched);
    add("GetInboundConnections", result, std::to_string(count));
    std::int32_t from_this = kUntouched;
    result = DNSUtils::GetInboundConnections(server(), count = kUntouched, from_this);
    add("GetInboundConnections both", result,
        std::to_string(count) + " " + std::to_string(from_this));
    result = DNSUtils::GetBridgeHeadServerCountInSite(server(), count = kUntouched);
    add("GetBridgeHeadServerCountInSite", result, std::to_string(count));
    std::uint8_t flag = 7;
    changed = controller_.name;
    result = DNSUtils::IsBridgeHeadServer(changed.data(), flag);
    add("IsBridgeHeadServer", result, std::to_string(flag));
    result = DNSUtils::GetSiteLinkCount(server(), count = kUntouched);
    add("GetSiteLinkCount", result, std::to_string(count));
    for (const std::string& source : sources()) {
      const char* dsa = source.c_str();
      add_text("GetPartner", [&](auto& out) { return DNSUtils::GetPartner(dsa, out, "cn"); });
      add_text("GetPartner in full",
               [&](auto& out) { return DNSUtils::GetPartner(dsa, out, "dNSHostName"); });
      add_text("GetDirectPartnerSiteName",
               [&](auto& out) { return DNSUtils::GetDirectPartnerSiteName(dsa, out); });
    }
  }

  void ask_kind() {
    std::uint8_t flag = 7;
    int result = DNSUtils::IsGlobalCatalogServer(server(), flag);
    add("IsGlobalCatalogServer", result, flag == 7 ? "untouched" : std::to_string(flag));
    result = DNSUtils::IsReadOnlyDC(server(), flag);
    add("IsReadOnlyDC", result, std::to_string(flag));
    const char* context = kConfiguration.c_str();
    add_text("GetDNSHostName",
             [&](auto& out) { return DNSUtils::GetDNSHostName(server(), context, out, false); });
    add_text("GetDNSHostName by host name", [&](auto& out) {
      return DNSUtils::GetDNSHostName(controller_.full_name.c_str(), context, out, true);
    });
  }

  void ask_lists() {
    const char* site = controller_.site.c_str();
    add_list("GetGCList", [&](auto& out) { return DNSUtils::GetGCList(server(), out); });
    add_list("GetGCList of the site",
             [&](auto& out) { return DNSUtils::GetGCList(server(), site, out); });
    add_list("GetGCListOutSite",
             [&](auto& out) { return DNSUtils::GetGCListOutSite(server(), site, out); });
    add_list("GetDCList", [&](auto& out) { return DNSUtils::GetDCList(server(), site, out); });
    add_list("GetDomainControllers",
             [&](auto& out) { return DNSUtils::GetDomainControllers(server(), out); });
  }

  void ask_roles() {
    Text domain = "";
    DNSUtils::GetDefaultNamingContextOfServer(server(), domain);
    add_text("GetPDCFSMO", [&](auto& out) { return DNSUtils::GetPDCFSMO(domain, out, "cn"); });
    add_text("GetPDCFSMO in full",
             [&](auto& out) { return DNSUtils::GetPDCFSMO(domain, out, "dNSHostName"); });
    add_text("GetRIDFSMO", [&](auto& out) { return DNSUtils::GetRIDFSMO(domain, out); });
    add_text("GetInfrastructureFSMO",
             [&](auto& out) { return DNSUtils::GetInfrastructureFSMO(domain, out); });
    add_text("GetSchemaFSMO", [&](auto& out) { return DNSUtils::GetSchemaFSMO(server(), out); });
    add_text("GetDomainNamingFSMO",
             [&](auto& out) { return DNSUtils::GetDomainNamingFSMO(server(), out); });
  }

  void ask_lost() {
    ConsistencyObject record;
    int result = ADSIutils::GetConsistencyObject(server(), "DC=corp,DC=example",
                                                 "BER-DC1.corp.example", record);
    char changed[32] = {};
    std::strftime(changed, sizeof changed, "%Y%m%d%H%M%S", &record.whenChanged);
    add("GetConsistencyObject", result,
        std::string(record.name) + " " + changed + " " + record.description);
    std::string seen;
    const LostObjectsEnum walk(server(), "DC=corp,DC=example", result);
    LostObject object;
    while (LostObjectsEnum::GetObject(object) != ADSI_ENUM_END) {
      seen += (seen.empty() ? "" : ";") + std::string(object.name) + "/" + object.className;
    }
    LostObjectsEnum::FreeLostObject();
    add("LostObjectsEnum", result, seen);
  }

  void ask_inventories() {
    std::vector<ForestTopologyInfo> forest;
    int result = DNSUtils::GetForestTopologyInfo(server(), forest);
    std::string text;
    for (const ForestTopologyInfo& one : forest) {
      for (const char* part : {one.hostName, one.domainName, one.siteName, one.commonName,
                               one.distinguishedName, one.isRODC}) {
        text += std::string(part) + "/";
      }
      text += std::string(one.parentDomain) + ";";
    }
    add("GetForestTopologyInfo", result, without_last(text));

    std::vector<std::string> contexts;
    DNSUtils::GetNamingContexts(server(), contexts);
    std::vector<ContainerInfo> containers;
    result = DNSUtils::GetAllCNTList(contexts, containers, static_cast<int>(contexts.size()));
    text.clear();
    for (const ContainerInfo& one : containers) {
      text += std::string(one.commonName) + "/" + one.className + "/" + one.distinguishedName + ";";
    }
    add("GetAllCNTList", result, without_last(text));

    Text domain = "";
    DNSUtils::GetDefaultNamingContextOfServer(server(), domain);
    std::vector<GPOInfo> policies;
    result = DNSUtils::GetAllGPOList(domain, policies);
    text.clear();
    for (const GPOInfo& one : policies) {
      text += std::string(one.name) + "/" + one.guid + "/" + std::to_string(one.version) + "/" +
              std::to_string(one.sysvolVersion) + "/" + std::to_string(one.status) + "/" +
              one.created + "/" + one.modified + ";";
    }
    add("GetAllGPOList", result, without_last(text));
  }

  // The settings that this controller's connections come from, read from the recording itself.
  std::vector<std::string> sources() {
    const std::string settings = "CN=NTDS Settings,CN=" + controller_.name +
                                 ",CN=Servers,CN=" + controller_.site + ",CN=Sites," +
                                 kConfiguration;
    std::unique_ptr<platform::EntryCursor> cursor;
    platform::controller()->directory()->search("", settings, platform::SearchScope::kOneLevel, "",
                                                {}, cursor);
    std::vector<std::string> names;
    platform::Entry entry;
    while (cursor != nullptr && cursor->next(entry) == platform::kDirectoryOk) {
      names.push_back(entry.find("fromServer")->values.front());
    }
    return names;
  }

  const char* server() const { return controller_.name.c_str(); }

  const ControllerOfForest controller_;
  std::string lines_;
};

// The answers to the questions that name no server.
std::string domain_answers() {
  std::string lines;
  const auto add = [&](const std::string& question, int result, const std::string& answer) {
    lines += question + ": " + std::to_string(result) + " " + answer + "\n";
  };
  std::int32_t count = kUntouched;
  int result = DNSUtils::GetNumberOfUsersLocked(count);
  add("GetNumberOfUsersLocked", result, std::to_string(count));
  count = kUntouched;
  result = DNSUtils::GetNumberOfObjectsInDomain(count);
  add("GetNumberOfObjectsInDomain", result, std::to_string(count));
  for (const std::string name : {"Recycle Bin Feature", "Another Feature"}) {
    const std::string path = "LDAP://CN=" + name +
                             ",CN=Optional Features,CN=Directory Service,CN=Windows NT,"
                             "CN=Services," +
                             kConfiguration;
    std::uint8_t enabled = 0xEE;
    result = DNSUtils::IsOptionalFeatureEnabled(path.c_str(), enabled);
    add("IsOptionalFeatureEnabled", result, name + " " + std::to_string(enabled));
  }
  return lines;
}

// The controllers in the order of their sites.
std::vector<ControllerOfForest> controllers() {
  std::vector<ControllerOfForest> all;
  for (const char* site : {"Berlin", "Paris", "Oslo", "Lima", "Quito"}) {
    std::vector<std::string> names;
    DNSUtils::GetDCList("BER-DC1", site, names);
    for (const std::string& name : names)
      all.push_back({name.substr(0, name.find('.')), site, name});
  }
  return all;
}

TEST(LargeForest, AnswersEveryQuestionOfEveryControllerAsItsFilesSay) {
  setenv("TZ", "UTC0", 1);
  tzset();
  trc::set_flags(0);
  platform::install(platform::open_recording(kFolder));
  const auto before = platform::accounting::live();
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  std::string answers;
  const std::vector<ControllerOfForest> all = controllers();
  EXPECT_EQ(10u, all.size());
  for (const ControllerOfForest& controller : all) answers += Answers(controller).all();
  answers += domain_answers();
  CoUninitialize();
  EXPECT_EQ(before, platform::accounting::live());

  std::ifstream file(kFolder + "expected.txt");
  std::istringstream lines(answers);
  std::string wanted;
  std::string line;
  std::size_t count = 0;
  while (std::getline(file, wanted)) {
    ++count;
    if (!std::getline(lines, line)) line = "(nothing)";
    EXPECT_EQ(wanted, line) << "line " << count;
  }
  EXPECT_FALSE(std::getline(lines, line)) << line;
  EXPECT_GT(count, 300u);
}

}  // namespace
