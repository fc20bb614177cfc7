#include "platform/recorded/filter.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/recorded/distinguished_name.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

// Deeper than any question asked in earnest, shallow enough for the stack of a small thread.
constexpr int kDeepest = 64;

std::optional<std::int64_t> as_number(std::string_view text) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

// Less than, equal or greater; numbers by their value, all else as text, letter case aside.
int compare_values(std::string_view left, std::string_view right) {
  const std::optional<std::int64_t> left_number = as_number(left);
  const std::optional<std::int64_t> right_number = as_number(right);
  if (left_number && right_number) {
    return *left_number < *right_number ? -1 : (*left_number > *right_number ? 1 : 0);
  }
  return fold_case(left).compare(fold_case(right));
}

std::string letters_and_digits(std::string_view text) {
  std::string kept;
  for (const char c : fold_case(text)) {
    if (c != '-' && c != ' ') kept.push_back(c);
  }
  return kept;
}

enum class Comparison { kEqual, kPresent, kNotLess, kNotGreater, kSubstring, kAllBits, kAnyBit };

bool equal_values(std::string_view attribute, std::string_view value, std::string_view wanted) {
  if (compare_values(value, wanted) == 0) return true;
  if (wanted.find('=') != std::string_view::npos) {
    return value.find('=') != std::string_view::npos && normalise_dn(value) == normalise_dn(wanted);
  }
  // A category is stored as the dn of a class, and may be asked for by the name of that class.
  return equal_without_case(attribute, "objectCategory") &&
         letters_and_digits(leaf_value(value)) == letters_and_digits(wanted);
}

// pieces: what stands between the stars; the first and the last are bound to the ends.
bool matches_substrings(const std::string& value, const std::vector<std::string>& pieces) {
  if (!value.starts_with(pieces.front())) return false;
  std::size_t position = pieces.front().size();
  for (std::size_t i = 1; i + 1 < pieces.size(); ++i) {
    const std::size_t found = value.find(pieces[i], position);
    if (found == std::string::npos) return false;
    position = found + pieces[i].size();
  }
  const std::string& last = pieces.back();
  return value.size() - position >= last.size() && value.ends_with(last);
}

class Assertion : public Filter {
 public:
  std::string attribute;
  Comparison comparison = Comparison::kEqual;
  std::vector<std::string> pieces;  // one value, or what stands between the stars

  bool matches(const Entry& entry) const override {
    // Every object has a class, also where a recording left it out.
    if (comparison == Comparison::kPresent && equal_without_case(attribute, "objectClass")) {
      return true;
    }
    const Attribute* found = entry.find(attribute);
    if (found == nullptr) return false;
    if (comparison == Comparison::kPresent) return !found->values.empty();
    for (const std::string& value : found->values) {
      if (matches_value(value)) return true;
    }
    return false;
  }

 private:
  bool matches_value(const std::string& value) const {
    switch (comparison) {
      case Comparison::kEqual:
        return equal_values(attribute, value, pieces.front());
      case Comparison::kNotLess:
        return compare_values(value, pieces.front()) >= 0;
      case Comparison::kNotGreater:
        return compare_values(value, pieces.front()) <= 0;
      case Comparison::kSubstring:
        return matches_substrings(fold_case(value), pieces);
      default:
        return matches_bits(value);
    }
  }

  bool matches_bits(const std::string& value) const {
    const std::optional<std::int64_t> bits = as_number(value);
    const std::optional<std::int64_t> wanted = as_number(pieces.front());
    if (!bits || !wanted) return false;
    const std::int64_t common = *bits & *wanted;
    return comparison == Comparison::kAllBits ? common == *wanted : common != 0;
  }
};

class Combination : public Filter {
 public:
  char kind = '&';
  std::vector<std::unique_ptr<Filter>> parts;

  bool matches(const Entry& entry) const override {
    if (kind == '!') return !parts.front()->matches(entry);
    for (const auto& part : parts) {
      if (part->matches(entry) != (kind == '&')) return kind == '|';
    }
    return kind == '&';
  }
};

class Parser {
 public:
  explicit Parser(std::string_view text) : text_(text) {}

  std::unique_ptr<Filter> whole() {
    std::unique_ptr<Filter> filter = parenthesised(0);
    return position_ == text_.size() ? std::move(filter) : nullptr;
  }

 private:
  bool take(char c) {
    if (position_ >= text_.size() || text_[position_] != c) return false;
    ++position_;
    return true;
  }

  std::unique_ptr<Filter> parenthesised(int depth) {
    if (depth > kDeepest || !take('(') || position_ >= text_.size()) return nullptr;
    const char first = text_[position_];
    const bool combines = first == '&' || first == '|' || first == '!';
    std::unique_ptr<Filter> filter = combines ? combination(depth) : assertion();
    return filter && take(')') ? std::move(filter) : nullptr;
  }

  std::unique_ptr<Filter> combination(int depth) {
    auto filter = std::make_unique<Combination>();
    filter->kind = text_[position_++];
    while (position_ < text_.size() && text_[position_] == '(') {
      filter->parts.push_back(parenthesised(depth + 1));
      if (!filter->parts.back()) return nullptr;
    }
    if (filter->kind == '!' && filter->parts.size() != 1) return nullptr;
    return filter;
  }

  std::unique_ptr<Filter> assertion() {
    const std::size_t end = text_.find_first_of("()", position_);
    if (end == std::string_view::npos) return nullptr;
    const std::string_view item = text_.substr(position_, end - position_);
    position_ = end;
    const std::size_t equals = item.find('=');
    if (equals == 0 || equals == std::string_view::npos) return nullptr;
    auto filter = std::make_unique<Assertion>();
    if (!read_left_side(item.substr(0, equals), *filter)) return nullptr;
    if (!read_value(item.substr(equals + 1), *filter)) return nullptr;
    return filter;
  }

  static bool read_left_side(std::string_view left, Assertion& filter) {
    if (left.ends_with('>') || left.ends_with('<')) {
      filter.comparison = left.back() == '>' ? Comparison::kNotLess : Comparison::kNotGreater;
      left.remove_suffix(1);
    } else if (left.ends_with(':')) {
      left.remove_suffix(1);
      const std::size_t colon = left.find(':');
      if (colon == std::string_view::npos) return false;
      const std::string_view rule = left.substr(colon + 1);
      if (rule == "1.2.840.113556.1.4.803") {
        filter.comparison = Comparison::kAllBits;
      } else if (rule == "1.2.840.113556.1.4.804") {
        filter.comparison = Comparison::kAnyBit;
      } else {
        return false;
      }
      left = left.substr(0, colon);
    }
    filter.attribute = std::string(left);
    return !left.empty() && left.find_first_of(" :*<>~") == std::string_view::npos;
  }

  // Undoes \XX, and cuts at stars that stand unescaped.
  static bool read_value(std::string_view text, Assertion& filter) {
    filter.pieces.emplace_back();
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] == '*') {
        filter.pieces.emplace_back();
      } else if (text[i] == '\\') {
        unsigned byte = 0;
        const char* digits = text.data() + i + 1;
        if (text.size() - i < 3) return false;
        if (std::from_chars(digits, digits + 2, byte, 16).ptr != digits + 2) return false;
        filter.pieces.back().push_back(static_cast<char>(byte));
        i += 2;
      } else {
        filter.pieces.back().push_back(text[i]);
      }
    }
    if (filter.pieces.size() == 1) return true;
    if (filter.comparison != Comparison::kEqual) return false;
    const bool only_star = filter.pieces.size() == 2 && text.size() == 1;
    filter.comparison = only_star ? Comparison::kPresent : Comparison::kSubstring;
    for (std::string& piece : filter.pieces) piece = fold_case(piece);
    return true;
  }

  std::string_view text_;
  std::size_t position_ = 0;
};

}  // namespace

std::unique_ptr<Filter> parse_filter(std::string_view text) { return Parser(text).whole(); }

}  // namespace platform
