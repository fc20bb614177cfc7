#include "platform/live/directory_services_text.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "platform/directory_services/flag_names.h"
#include "platform/live/json_text.h"

namespace platform {
namespace {

using Json = nlohmann::ordered_json;

template <std::size_t kCount>
void add_flags(Json& object, std::uint32_t flags, const NamedFlag (&known)[kCount]) {
  Json names = Json::array();
  for (const NamedFlag& one : known) {
    if ((flags & one.flag) != 0) names.push_back(one.name);
  }
  if (!names.empty()) object["flags"] = std::move(names);
}

void add_text(Json& object, const char* key, const std::string& text) {
  if (!text.empty()) object[key] = text;
}

void add_number(Json& object, const char* key, std::uint64_t number) {
  if (number != 0) object[key] = number;
}

void add_guid(Json& object, const char* key, const GuidBytes& guid) {
  if (guid == GuidBytes{}) return;
  std::string text;
  for (const std::size_t place : kGuidTextOrder) {
    char digits[4];
    std::snprintf(digits, sizeof digits, "%02x", unsigned{guid[place]});
    if (text.size() == 8 || text.size() == 13 || text.size() == 18 || text.size() == 23) {
      text += '-';
    }
    text += digits;
  }
  object[key] = text;
}

// time: 100 ns since 1601, 0 for never. The file has whole seconds, and so has the directory.
void add_time(Json& object, const char* key, std::uint64_t time) {
  constexpr std::uint64_t kTicksInSecond = 10'000'000;
  constexpr std::uint64_t kSecondsTo10000 = 265'046'774'400;  // from 1601 on
  const std::uint64_t seconds = time / kTicksInSecond;
  if (time == 0 || seconds >= kSecondsTo10000) return;
  using std::chrono::days;
  constexpr std::uint64_t kSecondsInDay = 86400;
  const auto day = std::chrono::sys_days(std::chrono::year{1601} / 1 / 1) +
                   days(static_cast<days::rep>(seconds / kSecondsInDay));
  const std::chrono::year_month_day date(day);
  const auto of_day = static_cast<unsigned>(seconds % kSecondsInDay);
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02u-%02uT%02u:%02u:%02uZ", int{date.year()},
                unsigned{date.month()}, unsigned{date.day()}, of_day / 3600, of_day / 60 % 60,
                of_day % 60);
  object[key] = text;
}

// The bytes of a security identifier as "S-1-5-21-1-2-3".
void add_sid(Json& object, const char* key, const std::string& bytes) {
  constexpr std::size_t kHead = 8;
  constexpr std::size_t kPart = 4;
  constexpr unsigned kMostParts = 15;
  const auto at = [&bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  if (bytes.size() < kHead || at(0) != 1 || at(1) > kMostParts ||
      bytes.size() != kHead + kPart * at(1)) {
    return;
  }
  std::uint64_t authority = 0;
  for (std::size_t i = 2; i < kHead; ++i) authority = authority << 8 | at(i);
  std::string text = "S-1-" + std::to_string(authority);
  for (std::size_t from = kHead; from < bytes.size(); from += kPart) {
    std::uint32_t part = 0;
    for (std::size_t i = kPart; i-- > 0;) part = part << 8 | at(from + i);
    text += "-" + std::to_string(part);
  }
  object[key] = text;
}

Json written(const LocatedController& one) {
  Json object;
  object["name"] = one.name;
  add_text(object, "address", one.address);
  add_text(object, "domain", one.domain);
  add_text(object, "forest", one.forest);
  add_text(object, "site", one.site);
  add_flags(object, one.flags, kRoles);
  add_guid(object, "domain_guid", one.domain_guid);
  object["answers"] = one.answers;
  return object;
}

Json written(const ReplicaNeighbour& one) {
  Json object;
  object["naming_context"] = one.naming_context;
  object["source_dsa"] = one.source_dsa;
  add_text(object, "source_address", one.source_address);
  add_text(object, "transport", one.transport);
  add_number(object, "flags", one.flags);
  add_guid(object, "naming_context_guid", one.naming_context_guid);
  add_guid(object, "source_guid", one.source_guid);
  add_guid(object, "source_invocation_id", one.source_invocation);
  add_guid(object, "transport_guid", one.transport_guid);
  add_number(object, "synced_usn",
             static_cast<std::uint64_t>(std::max<std::int64_t>(one.synced_usn, 0)));
  add_number(object, "filter_usn",
             static_cast<std::uint64_t>(std::max<std::int64_t>(one.filter_usn, 0)));
  add_time(object, "last_success", one.last_success);
  add_time(object, "last_attempt", one.last_attempt);
  add_number(object, "last_result", one.last_result);
  add_number(object, "failures", one.failures);
  return object;
}

Json written(const DomainTrust& one) {
  Json object;
  object["netbios_name"] = one.netbios_name;
  add_text(object, "dns_name", one.dns_name);
  add_flags(object, one.flags, kTrustFlags);
  add_number(object, "parent_index", one.parent_index);
  add_number(object, "type", one.type);
  add_number(object, "attributes", one.attributes);
  add_sid(object, "sid", one.sid);
  add_guid(object, "guid", one.guid);
  return object;
}

template <typename Item>
Json list_of(const std::vector<Item>& items) {
  Json list = Json::array();
  for (const Item& one : items) list.push_back(written(one));
  return list;
}

template <typename Item>
std::string servers_text(const std::map<std::string, ServerAnswer<Item>>& servers,
                         const char* key) {
  Json list = Json::object();
  for (const auto& [name, answer] : servers) {
    Json object;
    if (answer.status != kStatusOk) object["status"] = answer.status;
    object[key] = list_of(answer.items);
    list[name] = std::move(object);
  }
  return json_text({{"servers", std::move(list)}});
}

}  // namespace

std::string locator_text(const std::vector<LocatedController>& controllers) {
  return json_text({{"controllers", list_of(controllers)}});
}

std::string replication_text(const std::map<std::string, ServerAnswer<ReplicaNeighbour>>& servers) {
  return servers_text(servers, "neighbours");
}

std::string trusts_text(const std::map<std::string, ServerAnswer<DomainTrust>>& servers) {
  return servers_text(servers, "trusts");
}

}  // namespace platform
