#include "platform/recorded/json_reader.h"

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>
#include <set>
#include <utility>

#include "platform/controller.h"

namespace platform {
namespace {

using Json = nlohmann::json;

// Deep enough for any recording, shallow enough for the stack of whoever walks it.
constexpr int kDeepest = 32;

// The reader of JSON keeps the last of two values with the same key, and says nothing.
class KeyWatch {
 public:
  bool operator()(int depth, Json::parse_event_t event, const Json& parsed) {
    if (depth > kDeepest) too_deep = true;
    if (event == Json::parse_event_t::object_start) keys_.emplace_back();
    if (event == Json::parse_event_t::object_end) keys_.pop_back();
    if (event == Json::parse_event_t::key && !keys_.back().insert(parsed).second && twice.empty()) {
      twice = parsed.get<std::string>();
    }
    return true;
  }
  std::string twice;
  bool too_deep = false;

 private:
  std::vector<std::set<std::string>> keys_;
};

const Json& json(const void* value) { return *static_cast<const Json*>(value); }

bool read_digits(std::string_view text, std::size_t at, std::size_t count, int& number) {
  number = 0;
  for (std::size_t i = at; i < at + count; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    number = number * 10 + (text[i] - '0');
  }
  return true;
}

// Days from 1 January 1601 to the date, by the calendar in force; the month counts from 1.
std::int64_t days_since_1601(int year, int month, int day) {
  const int shifted = month <= 2 ? year - 1 : year;
  const int era_year = shifted % 400;
  const int day_of_year = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
  const int day_of_era = era_year * 365 + era_year / 4 - era_year / 100 + day_of_year;
  return std::int64_t{shifted / 400} * 146097 + day_of_era - 584694;
}

int days_in(int year, int month) {
  constexpr int kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = (year % 4 == 0 && year % 100 != 0) || year % 400 == 0;
  return kDays[month - 1] + (month == 2 && leap ? 1 : 0);
}

bool read_time(std::string_view text, std::uint64_t& time) {
  constexpr std::string_view kForm = "0000-00-00T00:00:00Z";
  if (text.size() != kForm.size()) return false;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    if (kForm[i] != '0' && text[i] != kForm[i]) return false;
  }
  int year, month, day, hour, minute, second;
  if (!read_digits(text, 0, 4, year) || !read_digits(text, 5, 2, month) ||
      !read_digits(text, 8, 2, day) || !read_digits(text, 11, 2, hour) ||
      !read_digits(text, 14, 2, minute) || !read_digits(text, 17, 2, second)) {
    return false;
  }
  if (year < 1601 || month < 1 || month > 12 || day < 1 || day > days_in(year, month)) return false;
  if (hour > 23 || minute > 59 || second > 59) return false;
  const std::int64_t seconds =
      days_since_1601(year, month, day) * 86400 + hour * 3600 + minute * 60 + second;
  time = static_cast<std::uint64_t>(seconds) * 10'000'000u;
  return true;
}

bool read_guid(std::string_view text, GuidBytes& guid) {
  if (text.size() != 36) return false;
  std::size_t byte = 0;
  for (std::size_t i = 0; i < text.size();) {
    if (i == 8 || i == 13 || i == 18 || i == 23) {
      if (text[i++] != '-') return false;
      continue;
    }
    unsigned value = 0;
    for (const char digit : text.substr(i, 2)) {
      const std::size_t nibble =
          std::string_view("0123456789abcdef").find(static_cast<char>(digit | 0x20));
      if (nibble == std::string_view::npos) return false;
      value = value * 16 + static_cast<unsigned>(nibble);
    }
    guid[kGuidTextOrder[byte++]] = static_cast<std::uint8_t>(value);
    i += 2;
  }
  return true;
}

}  // namespace

struct JsonPlace::Node {
  Json value;
};

JsonPlace::JsonPlace(std::shared_ptr<const Node> document, const void* value, std::string file,
                     std::string path)
    : document_(std::move(document)),
      value_(value),
      file_(std::move(file)),
      path_(std::move(path)) {}

JsonPlace JsonPlace::child(const void* value, const std::string& path) const {
  return {document_, value, file_, path};
}

JsonPlace JsonPlace::read(std::string_view text, const std::string& file_name) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  auto document = std::make_shared<Node>();
  KeyWatch watch;
  try {
    document->value = Json::parse(text, std::ref(watch));
  } catch (const Json::exception& error) {
    throw ControllerError(file_name + ": " + error.what());
  }
  if (watch.too_deep) throw ControllerError(file_name + ": is nested too deep");
  if (!watch.twice.empty())
    throw ControllerError(file_name + ": " + watch.twice + ": stands twice");
  const void* value = &document->value;
  JsonPlace place(std::move(document), value, file_name, "");
  if (!json(value).is_object()) place.refuse("is not an object");
  return place;
}

void JsonPlace::refuse(const std::string& reason) const {
  throw ControllerError(file_ + ": " + (path_.empty() ? "" : path_ + ": ") + reason);
}

void JsonPlace::only(std::initializer_list<std::string_view> keys) const {
  if (!json(value_).is_object()) refuse("is not an object");
  for (const auto& item : json(value_).items()) {
    if (std::find(keys.begin(), keys.end(), item.key()) == keys.end()) {
      child(&item.value(), path_.empty() ? item.key() : path_ + "." + item.key())
          .refuse("is not known");
    }
  }
}

bool JsonPlace::has(std::string_view key) const {
  if (!json(value_).is_object()) refuse("is not an object");
  return json(value_).contains(key);
}

JsonPlace JsonPlace::at(std::string_view key) const {
  const std::string path = path_.empty() ? std::string(key) : path_ + "." + std::string(key);
  if (!has(key)) child(value_, path).refuse("is missing");
  return child(&json(value_)[std::string(key)], path);
}

std::vector<std::string> JsonPlace::keys() const {
  if (!json(value_).is_object()) refuse("is not an object");
  std::vector<std::string> keys;
  for (const auto& item : json(value_).items()) keys.push_back(item.key());
  return keys;
}

std::vector<JsonPlace> JsonPlace::items() const {
  if (!json(value_).is_array()) refuse("is not a list");
  std::vector<JsonPlace> items;
  for (const Json& item : json(value_)) {
    items.push_back(child(&item, path_ + "[" + std::to_string(items.size()) + "]"));
  }
  return items;
}

std::vector<JsonPlace> JsonPlace::items(std::string_view key) const {
  return has(key) ? at(key).items() : std::vector<JsonPlace>();
}

bool JsonPlace::is_text() const { return json(value_).is_string(); }

std::string JsonPlace::text() const {
  if (!is_text()) refuse("is not a text");
  std::string text = json(value_).get<std::string>();
  if (text.find('\0') != std::string::npos) refuse("holds a zero character");
  return text;
}

std::uint64_t JsonPlace::number(std::uint64_t highest) const {
  if (!json(value_).is_number_unsigned()) refuse("is not a whole number from 0 on");
  const auto number = json(value_).get<std::uint64_t>();
  if (number > highest) refuse("is over " + std::to_string(highest));
  return number;
}

bool JsonPlace::flag() const {
  if (!json(value_).is_boolean()) refuse("is neither true nor false");
  return json(value_).get<bool>();
}

std::string JsonPlace::text(std::string_view key, std::string_view missing) const {
  return has(key) ? at(key).text() : std::string(missing);
}

std::uint64_t JsonPlace::number(std::string_view key, std::uint64_t highest,
                                std::uint64_t missing) const {
  return has(key) ? at(key).number(highest) : missing;
}

bool JsonPlace::flag(std::string_view key, bool missing) const {
  return has(key) ? at(key).flag() : missing;
}

GuidBytes JsonPlace::guid(std::string_view key) const {
  GuidBytes guid{};
  if (has(key) && !read_guid(text(key), guid)) {
    at(key).refuse("is not an identifier like 3f2504e0-4f89-11d3-9a0c-0305e82c3301");
  }
  return guid;
}

std::uint64_t JsonPlace::time(std::string_view key) const {
  std::uint64_t time = 0;
  if (has(key) && !read_time(text(key), time)) {
    at(key).refuse("is not a time like 2026-11-01T08:55:00Z");
  }
  return time;
}

}  // namespace platform
