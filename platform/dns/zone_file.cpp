#include "platform/dns/zone_file.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <iterator>
#include <optional>
#include <utility>

#include "platform/dns/zone_lines.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

struct TypeName {
  const char* name;
  std::uint16_t number;
};
constexpr TypeName kTypes[] = {
    {"A", 1},      {"NS", 2},     {"CNAME", 5},    {"SOA", 6},     {"PTR", 12},
    {"HINFO", 13}, {"MX", 15},    {"TXT", 16},     {"RP", 17},     {"AAAA", 28},
    {"LOC", 29},   {"SRV", 33},   {"NAPTR", 35},   {"DNAME", 39},  {"DS", 43},
    {"SSHFP", 44}, {"RRSIG", 46}, {"NSEC", 47},    {"DNSKEY", 48}, {"NSEC3", 50},
    {"TLSA", 52},  {"CDS", 59},   {"CDNSKEY", 60}, {"SPF", 99},    {"CAA", 257}};
constexpr std::uint16_t kA = 1, kNs = 2, kCname = 5, kPtr = 12, kAaaa = 28, kSrv = 33;
constexpr std::size_t kLongestName = 253;
constexpr std::size_t kLongestLabel = 63;

template <typename Number>
std::optional<Number> number(std::string_view text) {
  Number value{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<std::uint16_t> type_number(std::string_view word) {
  for (const TypeName& type : kTypes) {
    if (equal_without_case(type.name, word)) return type.number;
  }
  if (word.size() > 4 && equal_without_case(word.substr(0, 4), "TYPE")) {
    return number<std::uint16_t>(word.substr(4));
  }
  return std::nullopt;
}

// Seconds, or a number with units: 1h30m.
std::optional<std::uint32_t> ttl_seconds(std::string_view word) {
  if (word.empty() || word.front() < '0' || word.front() > '9') return std::nullopt;
  std::uint64_t total = 0;
  while (!word.empty()) {
    std::uint32_t count = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), count);
    if (error != std::errc()) return std::nullopt;
    word.remove_prefix(static_cast<std::size_t>(end - word.data()));
    std::uint64_t unit = 1;
    if (!word.empty()) {
      switch (word.front() | 0x20) {
        case 's':
          unit = 1;
          break;
        case 'm':
          unit = 60;
          break;
        case 'h':
          unit = 3600;
          break;
        case 'd':
          unit = 86400;
          break;
        case 'w':
          unit = 604800;
          break;
        default:
          return std::nullopt;
      }
      word.remove_prefix(1);
    }
    total += unit * count;
    if (total > 0x7FFFFFFF) return std::nullopt;
  }
  return static_cast<std::uint32_t>(total);
}

class Zone {
 public:
  explicit Zone(const std::string& file_name) : file_(file_name) {}

  std::vector<DnsRecord> read(std::string_view text) {
    for (const ZoneLine& line : read_zone_lines(text, file_)) {
      line_ = line.number;
      words_ = &line.words;
      at_ = 0;
      if (!line.words[0].quoted && line.words[0].text.starts_with('$') && !line.begins_blank) {
        directive();
      } else {
        record(line.begins_blank);
      }
    }
    return std::move(records_);
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { zone_fault(file_, line_, what); }

  const std::string& next(const char* wanted) {
    if (at_ == words_->size()) fail(std::string("the ") + wanted + " is missing");
    return (*words_)[at_++].text;
  }
  void expect_end() const {
    if (at_ != words_->size()) fail("'" + (*words_)[at_].text + "' stands behind the end");
  }

  void directive() {
    const std::string word = next("directive");
    if (equal_without_case(word, "$ORIGIN")) {
      origin_ = full_name(next("origin"));
      has_origin_ = true;
    } else if (equal_without_case(word, "$TTL")) {
      const auto seconds = ttl_seconds(next("time to live"));
      if (!seconds) fail("no time to live");
      ttl_s_ = *seconds;
    } else {
      fail(word + " is not known here");
    }
    expect_end();
  }

  void record(bool begins_blank) {
    if (!begins_blank) {
      owner_ = full_name(next("owner"));
      has_owner_ = true;
    }
    if (!has_owner_) fail("the first record has no owner");
    DnsRecord found;
    found.name = owner_;
    found.ttl_s = ttl_s_;
    found.type = take_type(found.ttl_s);
    take_data(found);
    records_.push_back(std::move(found));
  }

  // Time to live and class may stand before the type, in either order.
  std::uint16_t take_type(std::uint32_t& ttl) {
    for (int before = 0;; ++before) {
      const std::string& word = next("record's type");
      if (const auto type = type_number(word)) return *type;
      if (before == 2) fail("'" + word + "' is no type of record");
      if (equal_without_case(word, "IN")) continue;
      const auto seconds = ttl_seconds(word);
      if (!seconds) fail("'" + word + "' is no type of record");
      ttl = *seconds;
    }
  }

  void take_data(DnsRecord& found) {
    switch (found.type) {
      case kA:
      case kAaaa:
        found.address = take_address(found.type);
        break;
      case kSrv:
        found.priority = take_short("priority");
        found.weight = take_short("weight");
        found.port = take_short("port");
        found.target = full_name(next("target"));
        break;
      case kNs:
      case kCname:
      case kPtr:
        found.target = full_name(next("target"));
        break;
      default:
        next("record's data");
        return;
    }
    expect_end();
  }

  std::uint16_t take_short(const char* wanted) {
    const auto value = number<std::uint16_t>(next(wanted));
    if (!value) fail(std::string("the ") + wanted + " is no number from 0 to 65535");
    return *value;
  }

  std::string take_address(std::uint16_t type) {
    const std::string& word = next("address");
    char bytes[16];
    if (inet_pton(type == kA ? AF_INET : AF_INET6, word.c_str(), bytes) != 1) {
      fail("'" + word + "' is no address of this type");
    }
    return {bytes, type == kA ? 4u : 16u};
  }

  // The whole name without a dot at its end; the root is empty.
  std::string full_name(const std::string& word) {
    if (word == "@") return need_origin();
    if (word == ".") return {};
    bool ends_with_dot = false;
    std::string name = unescaped(word, ends_with_dot);
    if (!ends_with_dot) {
      const std::string& origin = need_origin();
      if (!origin.empty()) name += "." + origin;
    }
    check_name(name);
    return name;
  }
  const std::string& need_origin() const {
    if (!has_origin_) fail("a relative name before the first $ORIGIN");
    return origin_;
  }

  // \DDD and \X become themselves. A dot within a label is refused: no host has one.
  std::string unescaped(std::string_view word, bool& ends_with_dot) const {
    std::string name;
    for (std::size_t i = 0; i < word.size(); ++i) {
      char c = word[i];
      ends_with_dot = c == '.' && i + 1 == word.size();
      if (c == '\\') {
        const auto code = number<std::uint8_t>(word.substr(i + 1, 3));
        const bool three = i + 3 < word.size() && code.has_value();
        c = three ? static_cast<char>(*code) : word[i + 1];
        i += three ? 3 : 1;
        if (c == '.' || c == '\0') fail("'" + std::string(word) + "' has no host's characters");
      }
      if (!ends_with_dot) name.push_back(c);
    }
    return name;
  }

  void check_name(std::string_view name) const {
    if (name.size() > kLongestName) fail("a name of more than 253 characters");
    while (!name.empty()) {
      const std::string_view label = name.substr(0, name.find('.'));
      if (label.empty()) fail("a name with an empty part");
      if (label.size() > kLongestLabel) fail("a part of a name of more than 63 characters");
      if (label.size() == name.size()) return;
      name.remove_prefix(label.size() + 1);
      if (name.empty()) fail("a name with an empty part");
    }
    fail("an empty name");
  }

  const std::string& file_;
  std::string origin_;
  bool has_origin_ = false;
  std::string owner_;
  bool has_owner_ = false;
  std::uint32_t ttl_s_ = 3600;
  std::size_t line_ = 0;
  const std::vector<ZoneWord>* words_ = nullptr;
  std::size_t at_ = 0;
  std::vector<DnsRecord> records_;
};

}  // namespace

std::vector<DnsRecord> read_zone(std::string_view text, const std::string& file_name) {
  return Zone(file_name).read(text);
}

}  // namespace platform
