#include "platform/directory_services/recorded_services.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <map>
#include <optional>
#include <utility>

#include "include/platform/directory_services.h"
#include "platform/directory_services/choose.h"
#include "platform/directory_services/flag_names.h"
#include "platform/recorded/json_reader.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

template <std::size_t kCount>
std::uint32_t read_flags(const JsonPlace& place, std::string_view key,
                         const NamedFlag (&known)[kCount]) {
  std::uint32_t flags = 0;
  for (const JsonPlace& item : place.items(key)) {
    const std::string name = item.text();
    const auto* found = std::find_if(std::begin(known), std::end(known),
                                     [&name](const NamedFlag& one) { return one.name == name; });
    if (found == std::end(known)) item.refuse("'" + name + "' is no flag");
    flags |= found->flag;
  }
  return flags;
}

// "S-1-5-21-1-2-3" as the bytes that Windows hands out: revision, count of parts, authority with
// its highest byte first, parts with their lowest byte first.
bool read_sid(std::string_view text, std::string& bytes) {
  std::vector<std::uint64_t> numbers;
  if (!text.starts_with("S-")) return false;
  const char* at = text.data() + 2;
  const char* end = text.data() + text.size();
  while (true) {
    std::uint64_t number = 0;
    const auto [stop, error] = std::from_chars(at, end, number);
    if (error != std::errc()) return false;
    numbers.push_back(number);
    if (stop == end) break;
    if (*stop != '-') return false;
    at = stop + 1;
  }
  constexpr std::size_t kMostParts = 15;
  if (numbers.size() < 2 || numbers.size() > kMostParts + 2) return false;
  if (numbers[0] != 1 || numbers[1] >= (std::uint64_t{1} << 48)) return false;
  bytes = {'\1', static_cast<char>(numbers.size() - 2)};
  for (int shift = 40; shift >= 0; shift -= 8) {
    bytes += static_cast<char>(numbers[1] >> shift);
  }
  for (std::size_t i = 2; i < numbers.size(); ++i) {
    if (numbers[i] > 0xFFFFFFFFu) return false;
    for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(numbers[i] >> shift);
  }
  return true;
}

LocatedController read_controller(const JsonPlace& place, const std::string& forest) {
  place.only({"name", "address", "domain", "forest", "site", "flags", "domain_guid", "answers"});
  LocatedController one;
  one.name = place.text("name");
  if (one.name.empty()) place.at("name").refuse("is empty");
  one.address = place.text("address", "");
  const std::size_t dot = one.name.find('.');
  one.domain = place.text("domain", dot == one.name.npos ? "" : one.name.substr(dot + 1));
  one.forest = place.text("forest", forest.empty() ? one.domain : forest);
  one.site = place.text("site", "");
  one.flags = read_flags(place, "flags", kRoles);
  one.domain_guid = place.guid("domain_guid");
  one.answers = place.flag("answers", true);
  return one;
}

ReplicaNeighbour read_neighbour(const JsonPlace& place) {
  place.only({"naming_context", "source_dsa", "source_address", "transport", "flags",
              "naming_context_guid", "source_guid", "source_invocation_id", "transport_guid",
              "synced_usn", "filter_usn", "last_success", "last_attempt", "last_result",
              "failures"});
  constexpr std::uint64_t kHighestUsn = 0x7FFFFFFFFFFFFFFFu;
  ReplicaNeighbour one;
  one.naming_context = place.text("naming_context");
  one.source_dsa = place.text("source_dsa");
  one.source_address = place.text("source_address", "");
  one.transport = place.text("transport", "");
  one.flags = place.number32("flags");
  one.naming_context_guid = place.guid("naming_context_guid");
  one.source_guid = place.guid("source_guid");
  one.source_invocation = place.guid("source_invocation_id");
  one.transport_guid = place.guid("transport_guid");
  one.synced_usn = static_cast<std::int64_t>(place.number("synced_usn", kHighestUsn, 0));
  one.filter_usn = static_cast<std::int64_t>(place.number("filter_usn", kHighestUsn, 0));
  one.last_success = place.time("last_success");
  one.last_attempt = place.time("last_attempt");
  one.last_result = place.number32("last_result");
  one.failures = place.number32("failures");
  return one;
}

DomainTrust read_trust(const JsonPlace& place) {
  place.only(
      {"netbios_name", "dns_name", "flags", "parent_index", "type", "attributes", "sid", "guid"});
  DomainTrust one;
  one.netbios_name = place.text("netbios_name");
  one.dns_name = place.text("dns_name", "");
  one.flags = read_flags(place, "flags", kTrustFlags);
  one.parent_index = place.number32("parent_index");
  one.type = place.number32("type");
  one.attributes = place.number32("attributes");
  one.guid = place.guid("guid");
  if (place.has("sid") && !read_sid(place.text("sid"), one.sid)) {
    place.at("sid").refuse("is not a security identifier like S-1-5-21-1-2-3");
  }
  return one;
}

// What a server answers a question with: a list, or a status instead.
template <typename Item>
struct Answer {
  Win32Status status = kStatusOk;
  std::vector<Item> items;
};

template <typename Item>
Answer<Item> read_answer(const JsonPlace& place, std::string_view key,
                         Item (*read_item)(const JsonPlace&)) {
  place.only({key, "status"});
  Answer<Item> answer;
  answer.status = place.number32("status");
  for (const JsonPlace& item : place.items(key)) answer.items.push_back(read_item(item));
  return answer;
}

// The servers of a file, their names in small letters.
template <typename Item>
std::map<std::string, Answer<Item>> read_servers(const std::string* text, const char* file_name,
                                                 std::string_view key,
                                                 Item (*read_item)(const JsonPlace&)) {
  std::map<std::string, Answer<Item>> servers;
  if (text == nullptr) return servers;
  const JsonPlace root = JsonPlace::read(*text, file_name);
  root.only({"servers"});
  const JsonPlace list = root.at("servers");
  for (const std::string& name : list.keys()) {
    servers[fold_case(name)] = read_answer(list.at(name), key, read_item);
  }
  return servers;
}

class RecordedServices : public DirectoryServices {
 public:
  RecordedServices(const ServiceFiles& files, const MachineFacts& machine)
      : machine_(machine.host_name),
        domain_(machine.dns_suffix),
        replication_(
            read_servers(files.replication, "replication.json", "neighbours", read_neighbour)),
        trusts_(read_servers(files.trusts, "trusts.json", "trusts", read_trust)) {
    if (files.locator == nullptr) return;
    const JsonPlace root = JsonPlace::read(*files.locator, "locator.json");
    root.only({"forest", "controllers"});
    const std::string forest = root.text("forest", "");
    for (const JsonPlace& item : root.items("controllers")) {
      controllers_.push_back(read_controller(item, forest));
    }
  }

  Win32Status site_of(std::string_view computer, std::string& site) override {
    const LocatedController* asked = find(computer);
    if (asked == nullptr || !asked->answers) {
      return computer.empty() ? kStatusNoSiteName : kStatusServerUnavailable;
    }
    if (asked->site.empty()) return kStatusNoSiteName;
    site = asked->site;
    return kStatusOk;
  }

  Win32Status find_controller(const LocatorQuestion& question, LocatedController& found,
                              std::string& client_site) override {
    const LocatedController* asked = find(question.computer);
    if (asked != nullptr && !asked->answers) asked = nullptr;
    if (asked == nullptr && !question.computer.empty()) return kStatusServerUnavailable;
    std::string_view domain = question.domain;
    if (domain.empty()) domain = asked == nullptr ? domain_ : asked->domain;
    if (asked != nullptr) client_site = asked->site;
    LocatorQuestion resolved = question;
    if (resolved.computer.empty()) resolved.computer = machine_;
    const LocatedController* chosen =
        choose_controller(controllers_, resolved, domain,
                          question.site.empty() ? std::string_view(client_site) : question.site);
    if (chosen == nullptr) return kStatusNoSuchDomain;
    found = *chosen;
    return kStatusOk;
  }

  Win32Status bind(std::string_view controller, std::string_view domain,
                   std::string& full_name) override {
    const LocatedController* bound = nullptr;
    if (controller.empty()) {
      bound = choose_controller(controllers_, {machine_, domain, "", 0},
                                domain.empty() ? std::string_view(domain_) : domain, "");
      if (bound == nullptr) return kStatusNoSuchDomain;
    } else {
      bound = find(controller);
      // A domain's own name leads to one of its controllers.
      if (bound == nullptr) {
        bound = choose_controller(controllers_, {machine_, controller, "", 0}, controller, "");
      }
      if (bound == nullptr || !bound->answers) return kStatusServerUnavailable;
    }
    full_name = bound->name;
    return kStatusOk;
  }

  std::vector<LocatedController> controllers() override { return controllers_; }

  Win32Status neighbours(std::string_view server, std::vector<ReplicaNeighbour>& found) override {
    return answer(replication_, server, found);
  }

  Win32Status trusts(std::string_view server, std::vector<DomainTrust>& found) override {
    const LocatedController* asked = find(server);
    // A recording may tell the trusts alone.
    if (!controllers_.empty() && (asked == nullptr || !asked->answers)) {
      return kStatusServerUnavailable;
    }
    return answer(trusts_, server, found);
  }

 private:
  const LocatedController* find(std::string_view name) const {
    if (name.empty()) name = machine_;
    for (const LocatedController& one : controllers_) {
      if (is_named(one, name)) return &one;
    }
    return nullptr;
  }

  // Servers stand in the files by their short or by their full name; "*" stands for all that do
  // not. A server that no name fits has nothing to tell.
  template <typename Item>
  Win32Status answer(const std::map<std::string, Answer<Item>>& servers, std::string_view server,
                     std::vector<Item>& found) const {
    if (server.empty()) server = machine_;
    const std::string name = fold_case(server);
    auto place = servers.find(name);
    if (place == servers.end()) place = servers.find(name.substr(0, name.find('.')));
    if (place == servers.end() && name.find('.') == name.npos) {
      place = servers.find(name + "." + fold_case(domain_));
    }
    if (place == servers.end()) place = servers.find("*");
    if (place == servers.end()) return kStatusOk;
    found = place->second.items;
    return place->second.status;
  }

  const std::string machine_;
  const std::string domain_;
  std::vector<LocatedController> controllers_;
  const std::map<std::string, Answer<ReplicaNeighbour>> replication_;
  const std::map<std::string, Answer<DomainTrust>> trusts_;
};

}  // namespace

std::unique_ptr<DirectoryServices> read_directory_services(const ServiceFiles& files,
                                                           const MachineFacts& machine) {
  if (files.locator == nullptr && files.replication == nullptr && files.trusts == nullptr) {
    return nullptr;
  }
  return std::make_unique<RecordedServices>(files, machine);
}

}  // namespace platform
