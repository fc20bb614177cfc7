#include "platform/registry/reg_file.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "platform/counters/recorded_text.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

constexpr std::uint32_t kText = 1, kExpandText = 2, kBinary = 3, kDword = 4, kMultiText = 7;
constexpr std::string_view kSpace = " \t";
constexpr int kDeepest = 512;  // the system's own limit

// The roots by their names and the short forms that the tools also take.
constexpr std::pair<std::string_view, std::string_view> kRoots[] = {
    {"HKEY_CLASSES_ROOT", "HKCR"},   {"HKEY_CURRENT_USER", "HKCU"},
    {"HKEY_LOCAL_MACHINE", "HKLM"},  {"HKEY_USERS", "HKU"},
    {"HKEY_CURRENT_CONFIG", "HKCC"}, {"HKEY_PERFORMANCE_DATA", "HKPD"},
};

std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

class RegFileParser {
 public:
  RegFileParser(std::string_view text, const std::string& file_name)
      : rest_(text), file_name_(file_name) {}

  std::vector<RegFileKey> parse() {
    std::string_view line;
    if (!next_line(line)) fail("the file is empty");
    if (line == "Windows Registry Editor Version 5.00") {
      wide_ = true;
    } else if (line != "REGEDIT4") {
      fail("not a registry file: it must begin with Windows Registry Editor Version 5.00");
    }
    while (next_line(line)) {
      if (line[0] == '[') {
        read_key(line);
      } else if (line[0] == '"' || line[0] == '@') {
        read_value(line);
      } else {
        fail("a line must be a [key], a \"name\"=value, an @=value or a ;comment");
      }
    }
    return std::move(keys_);
  }

 private:
  [[noreturn]] void fail(const std::string& what) const {
    throw ControllerError(file_name_ + ":" + std::to_string(std::max<std::size_t>(1, number_)) +
                          ": " + what);
  }

  bool raw_line(std::string_view& line) {
    if (rest_.empty()) return false;
    ++number_;
    const std::size_t end = rest_.find('\n');
    line = rest_.substr(0, end);
    rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return true;
  }

  // The next line with anything on it but blanks and a comment, without blanks around it.
  bool next_line(std::string_view& line) {
    while (raw_line(line)) {
      line = trim(line);
      if (!line.empty() && line[0] != ';') return true;
    }
    return false;
  }

  void nothing_may_follow(std::string_view text) const {
    text = trim(text);
    if (!text.empty() && text[0] != ';') {
      fail("'" + std::string(text.substr(0, 40)) + "' is left over at the end of the line");
    }
  }

  void read_key(std::string_view line) {
    // A name may hold brackets: the last one closes, unless a comment follows with one of its own.
    const std::size_t comment = line.find("] ;");
    const std::size_t close = comment != std::string_view::npos ? comment : line.rfind(']');
    if (close == std::string_view::npos) fail("the key's bracket is not closed");
    nothing_may_follow(line.substr(close + 1));
    std::string_view path = line.substr(1, close - 1);
    if (path.starts_with('-')) fail("[-...] deletes a key; a recording cannot");
    const std::size_t root_end = std::min(path.find('\\'), path.size());
    const std::string_view root = path.substr(0, root_end);
    for (const auto& [name, short_name] : kRoots) {
      if (!equal_without_case(root, name) && !equal_without_case(root, short_name)) continue;
      const std::string_view below = path.substr(root_end);
      if (below.find("\\\\") != std::string_view::npos || below.ends_with('\\')) {
        fail("a key's name is empty");
      }
      if (std::count(below.begin(), below.end(), '\\') > kDeepest) {
        fail("keys nest at most " + std::to_string(kDeepest) + " deep");
      }
      keys_.push_back({std::string(name) + std::string(below), {}});
      return;
    }
    fail("'" + std::string(root.substr(0, 40)) + "' is not a root of the registry");
  }

  void read_value(std::string_view line) {
    if (keys_.empty()) fail("a value comes before any key");
    RegistryValue value;
    std::string_view text = line;
    if (text[0] == '@') {
      text.remove_prefix(1);
    } else {
      value.name = quoted(text);
    }
    text = trim(text);
    if (!text.starts_with('=')) fail("an = must follow the value's name");
    text = trim(text.substr(1));
    if (text.starts_with('-')) fail("=- deletes a value; a recording cannot");
    read_data(text, value);
    keys_.back().values.push_back(std::move(value));
  }

  // Takes a quoted text from the front.
  std::string quoted(std::string_view& text) const {
    std::string plain;
    for (std::size_t i = 1; i < text.size(); ++i) {
      if (text[i] == '"') {
        text.remove_prefix(i + 1);
        return plain;
      }
      if (text[i] == '\\') {
        ++i;
        if (i == text.size() || (text[i] != '\\' && text[i] != '"')) {
          fail("a backslash in quotes must stand before a backslash or a quote");
        }
      }
      plain.push_back(text[i]);
    }
    fail("a quote is not closed");
  }

  void read_data(std::string_view text, RegistryValue& value) {
    const std::size_t colon = text.find(':');
    const std::string kind = fold_case(text.substr(0, std::min(colon, text.size())));
    if (text.starts_with('"')) {
      value.type = kText;
      value.data = quoted(text);
      value.data.push_back('\0');
      nothing_may_follow(text);
    } else if (colon != std::string_view::npos && kind == "dword") {
      read_dword(text.substr(colon + 1), value);
    } else if (colon != std::string_view::npos && kind == "hex") {
      value.type = kBinary;
      value.data = bytes(text.substr(colon + 1));
    } else if (colon != std::string_view::npos && kind.starts_with("hex(") && kind.ends_with(')')) {
      value.type = hexadecimal(kind.substr(4, kind.size() - 5));
      value.data = bytes(text.substr(colon + 1));
      if (value.type == kText || value.type == kExpandText || value.type == kMultiText) {
        make_text(value);
      }
    } else {
      fail("a value must be \"text\", dword:, hex: or hex(n):");
    }
  }

  std::uint32_t hexadecimal(std::string_view digits) const {
    std::uint32_t number = 0;
    const char* end = digits.data() + digits.size();
    const auto [stopped, error] = std::from_chars(digits.data(), end, number, 16);
    if (digits.empty() || digits.size() > 8 || error != std::errc() || stopped != end) {
      fail("'" + std::string(digits.substr(0, 40)) + "' is not a hexadecimal number of 32 bits");
    }
    return number;
  }

  void read_dword(std::string_view text, RegistryValue& value) const {
    const std::uint32_t number = hexadecimal(trim(text.substr(0, text.find(';'))));
    value.type = kDword;
    for (int shift = 0; shift < 32; shift += 8) {
      value.data.push_back(static_cast<char>((number >> shift) & 0xFFu));
    }
  }

  // Bytes as two-digit numbers with commas between; a backslash at the end leads to the next line.
  std::string bytes(std::string_view text) {
    std::string data;
    bool comma = true;  // before the next number, or none needed
    text = trim(text);
    while (true) {
      text = trim(text);
      if (text.empty() || text[0] == ';') break;
      if (text[0] == '\\') {
        nothing_may_follow(text.substr(1));
        if (!raw_line(text)) fail("the file ends in the middle of a value");
        continue;
      }
      if (!comma) fail("a comma must stand between two bytes");
      const std::size_t end = std::min(text.find_first_of(", \t\\;"), text.size());
      unsigned byte = 0;
      const auto [stopped, error] = std::from_chars(text.data(), text.data() + end, byte, 16);
      if (end == 0 || end > 2 || error != std::errc() || stopped != text.data() + end) {
        fail("'" + std::string(text.substr(0, std::max<std::size_t>(end, 1))) +
             "' is not a byte of two hexadecimal digits");
      }
      data.push_back(static_cast<char>(byte));
      text = trim(text.substr(end));
      comma = text.starts_with(',');
      if (comma) text.remove_prefix(1);
    }
    if (comma && !data.empty()) fail("the value ends with a comma");
    return data;
  }

  // Texts in bytes are UTF-16 since version 5.00, and in the code page before.
  void make_text(RegistryValue& value) const {
    if (wide_ && value.data.size() % 2 != 0) fail("a text of UTF-16 has an even number of bytes");
    value.data = wide_ ? utf16_as_utf8(value.data) : text_as_utf8(value.data);
  }

  std::string_view rest_;
  const std::string& file_name_;
  std::size_t number_ = 0;
  bool wide_ = false;
  std::vector<RegFileKey> keys_;
};

}  // namespace

std::vector<RegFileKey> parse_reg_file(const std::string& bytes, const std::string& file_name) {
  const std::string text = text_as_utf8(bytes);
  return RegFileParser(text, file_name).parse();
}

}  // namespace platform
