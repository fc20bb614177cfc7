#include "platform/recorded/ldif.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr std::size_t kFoldColumn = 76;
constexpr char kBase64[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

struct LogicalLine {
  std::string text;      // with its continuations joined; empty for a line between records
  std::size_t line = 0;  // where it begins
};

class Fault {
 public:
  explicit Fault(const std::string& file_name) : file_name_(file_name) {}
  [[noreturn]] void raise(std::size_t line, const std::string& why) const {
    throw ControllerError(file_name_ + ":" + std::to_string(line) + ": " + why);
  }

 private:
  const std::string& file_name_;
};

// Joins continuation lines and drops comments, which may be continued as well.
class LineReader {
 public:
  LineReader(std::string_view text, const Fault& fault) : text_(text), fault_(fault) {
    if (text_.starts_with("\xEF\xBB\xBF")) fault_.raise(1, "begins with a byte order mark");
  }

  std::optional<LogicalLine> next() {
    while (position_ < text_.size()) {
      LogicalLine line;
      line.line = ++line_number_;
      line.text = std::string(physical_line());
      if (line.text.starts_with(' ')) {
        fault_.raise(line.line, "a continuation line with nothing before it to continue");
      }
      const bool empty = line.text.empty();
      while (!empty && position_ < text_.size() && text_[position_] == ' ') {
        ++line_number_;
        line.text += physical_line().substr(1);
      }
      if (!line.text.starts_with('#')) return line;
    }
    return std::nullopt;
  }

 private:
  std::string_view physical_line() {
    const std::size_t end = text_.find('\n', position_);
    std::string_view line = text_.substr(position_, end - position_);
    position_ = end == std::string_view::npos ? text_.size() : end + 1;
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.find('\r') != std::string_view::npos) {
      fault_.raise(line_number_, "a carriage return inside a line");
    }
    return line;
  }

  std::string_view text_;
  const Fault& fault_;
  std::size_t position_ = 0;
  std::size_t line_number_ = 0;
};

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_key_character(char c) { return is_letter(c) || is_digit(c) || c == '-'; }

bool is_numeric_oid(std::string_view text) {
  bool digit_before = false;
  for (const char c : text) {
    if (c == '.' ? !digit_before : !is_digit(c)) return false;
    digit_before = c != '.';
  }
  return digit_before;
}

bool is_attribute_description(std::string_view text) {
  const std::size_t type_end = text.find(';');
  const std::string_view type = text.substr(0, type_end);
  if (type.empty()) return false;
  if (is_letter(type[0])) {
    for (const char c : type) {
      if (!is_key_character(c)) return false;
    }
  } else if (!is_numeric_oid(type)) {
    return false;
  }
  std::size_t position = type_end;
  while (position != std::string_view::npos) {
    const std::size_t end = text.find(';', position + 1);
    const std::string_view option = text.substr(position + 1, end - position - 1);
    if (option.empty()) return false;
    for (const char c : option) {
      if (!is_key_character(c)) return false;
    }
    position = end;
  }
  return true;
}

int base64_digit(char c) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (is_digit(c)) return c - '0' + 52;
  if (c == '+') return 62;
  return c == '/' ? 63 : -1;
}

std::optional<std::string> decode_base64(std::string_view text) {
  if (text.size() % 4 != 0) return std::nullopt;
  std::size_t padding = 0;
  while (padding < 2 && padding < text.size() && text[text.size() - 1 - padding] == '=') ++padding;
  std::string bytes;
  bytes.reserve(text.size() / 4 * 3);
  std::uint32_t bits = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool is_padding = i >= text.size() - padding;
    const int digit = is_padding ? 0 : base64_digit(text[i]);
    if (digit < 0) return std::nullopt;
    bits = (bits << 6) | static_cast<std::uint32_t>(digit);
    if (i % 4 != 3) continue;
    bytes.push_back(static_cast<char>(bits >> 16));
    bytes.push_back(static_cast<char>(bits >> 8));
    bytes.push_back(static_cast<char>(bits));
    bits = 0;
  }
  // What the padding cuts off must have been nothing, else two texts would mean the same bytes.
  for (std::size_t i = 0; i < padding; ++i) {
    if (bytes.back() != '\0') return std::nullopt;
    bytes.pop_back();
  }
  return bytes;
}

std::string encode_base64(std::string_view bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t bits = 0;
    for (std::size_t j = 0; j < 3; ++j) {
      bits = (bits << 8) | (i + j < bytes.size() ? static_cast<unsigned char>(bytes[i + j]) : 0u);
    }
    for (std::size_t j = 0; j < 4; ++j) {
      text.push_back(i + j > bytes.size() ? '=' : kBase64[(bits >> (18 - 6 * j)) & 0x3F]);
    }
  }
  return text;
}

struct NameAndValue {
  std::string_view name;
  std::string value;
};

NameAndValue split_line(const LogicalLine& line, const Fault& fault) {
  const std::string_view text = line.text;
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) fault.raise(line.line, "a line without a colon");
  NameAndValue result{text.substr(0, colon), {}};
  if (!is_attribute_description(result.name)) {
    fault.raise(line.line, "\"" + std::string(result.name) + "\" is not an attribute name");
  }
  std::string_view value = text.substr(colon + 1);
  if (value.starts_with('<')) {
    fault.raise(line.line, "a value from a URL, which a recording may not hold");
  }
  const bool is_base64 = value.starts_with(':');
  if (is_base64) value.remove_prefix(1);
  value.remove_prefix(std::min(value.find_first_not_of(' '), value.size()));
  if (is_base64) {
    std::optional<std::string> bytes = decode_base64(value);
    if (!bytes) fault.raise(line.line, "a value that is not base64");
    result.value = std::move(*bytes);
    return result;
  }
  if (value.starts_with(':') || value.starts_with('<')) {
    fault.raise(line.line, "a value that begins with : or < must be base64");
  }
  for (const char c : value) {
    if (c == '\0') fault.raise(line.line, "a value with a zero byte must be base64");
    if (static_cast<unsigned char>(c) > 127) {
      fault.raise(line.line, "a value beyond ASCII must be base64");
    }
  }
  result.value = std::string(value);
  return result;
}

// Gathers the lines of one record.
class RecordBuilder {
 public:
  explicit RecordBuilder(const Fault& fault) : fault_(fault) {}

  bool is_open() const { return record_.line != 0; }

  void open(const LogicalLine& line) {
    NameAndValue dn = split_line(line, fault_);
    if (!equal_without_case(dn.name, "dn")) {
      fault_.raise(line.line, "a record must begin with its dn");
    }
    if (!is_utf8(dn.value)) fault_.raise(line.line, "a dn that is not UTF-8");
    record_.entry.dn = std::move(dn.value);
    record_.line = line.line;
  }

  void add(const LogicalLine& line) {
    NameAndValue pair = split_line(line, fault_);
    std::string key = fold_case(pair.name);
    // The system's own export tool writes every entry as one to be added.
    if (key == "changetype" && pair.value == "add" && record_.entry.attributes.empty()) return;
    if (key == "changetype" || key == "control") {
      fault_.raise(line.line, "a change record; a recording holds entries only");
    }
    if (key == "dn") fault_.raise(line.line, "a second dn; an empty line must stand before it");
    const auto [place, is_new] = places_.try_emplace(std::move(key), places_.size());
    if (is_new) record_.entry.attributes.push_back({std::string(pair.name), {}});
    record_.entry.attributes[place->second].values.push_back(std::move(pair.value));
  }

  LdifRecord close() {
    if (record_.entry.attributes.empty()) {
      fault_.raise(record_.line, "an entry without attributes");
    }
    places_.clear();
    return std::exchange(record_, {});
  }

 private:
  const Fault& fault_;
  LdifRecord record_;
  std::map<std::string, std::size_t> places_;
};

bool is_safe(std::string_view value) {
  if (value.empty()) return true;
  if (value.front() == ' ' || value.front() == ':' || value.front() == '<') return false;
  if (value.back() == ' ') return false;
  for (const char c : value) {
    if (c == '\0' || c == '\n' || c == '\r' || static_cast<unsigned char>(c) > 127) return false;
  }
  return true;
}

void append_line(std::string& text, std::string_view name, std::string_view value) {
  std::string line(name);
  if (is_safe(value)) {
    line.append(value.empty() ? ":" : ": ").append(value);
  } else {
    line.append(":: ").append(encode_base64(value));
  }
  text.append(line, 0, kFoldColumn).push_back('\n');
  for (std::size_t i = kFoldColumn; i < line.size(); i += kFoldColumn - 1) {
    text.append(" ").append(line, i, kFoldColumn - 1).push_back('\n');
  }
}

}  // namespace

std::vector<LdifRecord> read_ldif(std::string_view text, const std::string& file_name) {
  const Fault fault(file_name);
  LineReader lines(text, fault);
  RecordBuilder builder(fault);
  std::vector<LdifRecord> records;
  bool at_start = true;
  while (const std::optional<LogicalLine> line = lines.next()) {
    if (line->text.empty()) {
      if (builder.is_open()) records.push_back(builder.close());
      continue;
    }
    if (at_start && fold_case(line->text).starts_with("version:")) {
      if (split_line(*line, fault).value != "1") fault.raise(line->line, "only version 1 is known");
    } else if (builder.is_open()) {
      builder.add(*line);
    } else {
      builder.open(*line);
    }
    at_start = false;
  }
  if (builder.is_open()) records.push_back(builder.close());
  return records;
}

std::string ldif_version_line() { return "version: 1\n"; }

std::string ldif_record(const Entry& entry) {
  std::string text = "\n";
  append_line(text, "dn", entry.dn);
  for (const Attribute& attribute : entry.attributes) {
    for (const std::string& value : attribute.values) append_line(text, attribute.name, value);
  }
  return text;
}

}  // namespace platform
