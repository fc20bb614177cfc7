// How often each directory question goes to the server, beside the least that one who knew the
// answer's place could do: one read for each object and one search for each level that has to be
// listed. Printed as a table; counted, not timed, so the figures are the same on every machine.

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "bench/generated_forest.h"
#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "include/platform/adsi.h"
#include "include/settings.h"
#include "platform/control.h"

namespace {

using platform::DirectoryResult;

// A directory that counts what is asked of it. A search is one trip: a page holds the answers.
class CountingDirectory : public platform::Directory {
 public:
  explicit CountingDirectory(platform::Directory& inner) : inner_(inner) {}

  DirectoryResult read_root(std::string_view server, platform::Entry& entry) override {
    ++trips;
    return inner_.read_root(server, entry);
  }
  DirectoryResult read(std::string_view server, std::string_view dn,
                       const std::vector<std::string>& names, platform::Entry& entry) override {
    ++trips;
    return inner_.read(server, dn, names, entry);
  }
  DirectoryResult search(std::string_view server, std::string_view base,
                         platform::SearchScope scope, std::string_view filter,
                         const std::vector<std::string>& names,
                         std::unique_ptr<platform::EntryCursor>& cursor) override {
    ++trips;
    return inner_.search(server, base, scope, filter, names, cursor);
  }
  DirectoryResult add(std::string_view server, const platform::Entry& entry) override {
    ++trips;
    return inner_.add(server, entry);
  }
  DirectoryResult modify(std::string_view server, std::string_view dn,
                         const std::vector<platform::Attribute>& attributes) override {
    ++trips;
    return inner_.modify(server, dn, attributes);
  }
  DirectoryResult remove(std::string_view server, std::string_view dn) override {
    ++trips;
    return inner_.remove(server, dn);
  }

  std::int64_t trips = 0;

 private:
  platform::Directory& inner_;
};

class CountingController : public platform::Controller {
 public:
  explicit CountingController(std::shared_ptr<platform::Controller> inner)
      : inner_(std::move(inner)), directory_(*inner_->directory()) {}

  std::string description() const override { return inner_->description(); }
  const platform::MachineFacts& machine() const override { return inner_->machine(); }
  platform::Directory* directory() override { return &directory_; }
  platform::CounterSource* counters() override { return inner_->counters(); }
  platform::RegistryHive* registry() override { return inner_->registry(); }
  std::int64_t trips() const { return directory_.trips; }

 private:
  std::shared_ptr<platform::Controller> inner_;
  CountingDirectory directory_;
};

struct Forest {
  int sites;
  int servers;  // in all
};

struct Question {
  const char* name;
  std::function<void()> ask;
  std::function<int(Forest)> least;  // trips
};

char text[2048];
char server_name[] = "SRV0-0";
std::int32_t number = 0;
std::int32_t second_number = 0;
std::uint8_t flag = 0;

// The least: the root object tells the contexts (1), a search of one level lists it (1), and one
// of a whole branch with a filter lists all of its objects (1).
const std::vector<Question> kQuestions = {
    {"GetConfigurationNamingContext",
     [] { DNSUtils::GetConfigurationNamingContext(server_name, text); }, [](Forest) { return 1; }},
    {"GetRootDSEInfo",
     [] {
       RootDSEInfo info;
       DNSUtils::GetRootDSEInfo(server_name, info);
     },
     [](Forest) { return 1; }},
    {"GetDSAConnections", [] { DNSUtils::GetDSAConnections(server_name, "SITE0", number); },
     [](Forest) { return 2; }},
    {"GetInboundConnections, one server",
     [] { DNSUtils::GetInboundConnections(server_name, number); }, [](Forest) { return 3; }},
    {"GetInboundConnections, all servers",
     [] { DNSUtils::GetInboundConnections(server_name, number, second_number); },
     [](Forest) { return 3; }},
    {"GetBridgeHeadServerCountInSite",
     [] { DNSUtils::GetBridgeHeadServerCountInSite(server_name, number); },
     [](Forest) { return 2; }},
    {"GetSiteLinkCount", [] { DNSUtils::GetSiteLinkCount(server_name, number); },
     [](Forest) { return 2; }},
    {"GetPartner",
     [] { DNSUtils::GetPartner(bench::GeneratedForest::settings(0, 1).c_str(), text, "cn"); },
     [](Forest) { return 1; }},
    {"GetDirectPartnerSiteName",
     [] {
       DNSUtils::GetDirectPartnerSiteName(bench::GeneratedForest::settings(0, 1).c_str(), text);
     },
     [](Forest) { return 1; }},
    {"IsGlobalCatalogServer", [] { DNSUtils::IsGlobalCatalogServer(server_name, flag); },
     [](Forest) { return 3; }},
    {"GetDNSHostName",
     [] { DNSUtils::GetDNSHostName(server_name, bench::kConfiguration.c_str(), text, false); },
     [](Forest) { return 1; }},
    {"GetGCList of the forest",
     [] {
       std::vector<std::string> names;
       DNSUtils::GetGCList(server_name, names);
     },
     [](Forest) { return 3; }},
    {"GetGCList of a site",
     [] {
       std::vector<std::string> names;
       DNSUtils::GetGCList(server_name, "SITE0", names);
     },
     [](Forest) { return 3; }},
    {"GetDCList",
     [] {
       std::vector<std::string> names;
       DNSUtils::GetDCList(server_name, "SITE0", names);
     },
     [](Forest) { return 3; }},
    {"GetPDCFSMO", [] { DNSUtils::GetPDCFSMO(bench::kDomain.c_str(), text, "cn"); },
     [](Forest) { return 2; }},
    {"GetSchemaFSMO", [] { DNSUtils::GetSchemaFSMO(server_name, text); }, [](Forest) { return 3; }},
    {"GetForestName", [] { ADSIutils::GetForestName(server_name, text); },
     [](Forest) { return 1; }},
};

void print_table(Forest forest) {
  const bench::GeneratedForest generated(forest.sites, forest.servers / forest.sites);
  const auto controller = std::make_shared<CountingController>(generated.open());
  platform::install(controller);
  std::printf("\nround trips in a forest of %d sites and %d servers\n", forest.sites,
              forest.servers);
  std::printf("%-36s %8s %8s %8s\n", "question", "trips", "least", "ratio");
  for (const Question& question : kQuestions) {
    const std::int64_t before = controller->trips();
    question.ask();
    const std::int64_t trips = controller->trips() - before;
    const int least = question.least(forest);
    std::printf("%-36s %8lld %8d %8.1f\n", question.name, static_cast<long long>(trips), least,
                static_cast<double>(trips) / least);
  }
  platform::install(nullptr);
}

}  // namespace

int main() {
  g_sleepWhileIterating = 0;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  print_table({1, 2});
  print_table({5, 50});
  print_table({50, 1000});
  CoUninitialize();
}
