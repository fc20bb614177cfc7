#include "framework/xaf/comparison.h"

#include <charconv>
#include <cstddef>

namespace xaf {
namespace {

struct OperatorName {
  const char* name;
  _IntfOper operation;
};

// The first name of an operation is the one shown.
constexpr OperatorName kOperators[] = {
    {"=", IntfOper_Equal},
    {"==", IntfOper_Equal},
    {"!=", IntfOper_NotEqual},
    {"<>", IntfOper_NotEqual},
    {"<", IntfOper_Less},
    {"<=", IntfOper_LessOrEqual},
    {">", IntfOper_Greater},
    {">=", IntfOper_GreaterOrEqual},
    {"contains", IntfOper_Contains},
    {"not contains", IntfOper_NotContains},
    {"like", IntfOper_Like},
};

// The part of the text behind its first character.
std::string_view behind_character(std::string_view text, bool utf8) {
  std::size_t length = 1;
  if (utf8) {
    while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
      ++length;
    }
  }
  return text.substr(length);
}

// '*' any run, '?' any one character. On a mismatch only the last '*' can take more, so this needs
// no recursion and at most one pass over the text for each character of the pattern.
bool like(std::string_view text, std::string_view pattern, bool utf8) {
  std::string_view retry_text;
  std::string_view retry_pattern;
  bool have_star = false;
  while (!text.empty()) {
    if (!pattern.empty() && pattern[0] == '*') {
      have_star = true;
      pattern.remove_prefix(1);
      retry_pattern = pattern;
      retry_text = text;
    } else if (!pattern.empty() && pattern[0] == '?') {
      text = behind_character(text, utf8);
      pattern.remove_prefix(1);
    } else if (!pattern.empty() && pattern[0] == text[0]) {
      text.remove_prefix(1);
      pattern.remove_prefix(1);
    } else if (have_star) {
      retry_text = behind_character(retry_text, utf8);
      text = retry_text;
      pattern = retry_pattern;
    } else {
      return false;
    }
  }
  while (!pattern.empty() && pattern[0] == '*') pattern.remove_prefix(1);
  return pattern.empty();
}

bool order_meets(_IntfOper operation, int order) {
  switch (operation) {
    case IntfOper_Equal:
      return order == 0;
    case IntfOper_NotEqual:
      return order != 0;
    case IntfOper_Less:
      return order < 0;
    case IntfOper_LessOrEqual:
      return order <= 0;
    case IntfOper_Greater:
      return order > 0;
    case IntfOper_GreaterOrEqual:
      return order >= 0;
    default:
      return false;
  }
}

}  // namespace

std::string_view without_padding(std::string_view field) {
  while (!field.empty() && (field.back() == ' ' || field.back() == '\0')) field.remove_suffix(1);
  return field;
}

std::optional<std::int32_t> parse_integer(std::string_view text) {
  std::int32_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, failed] = std::from_chars(text.data(), end, value);
  if (failed != std::errc() || stopped != end) return std::nullopt;
  return value;
}

bool operator_suits_integer(_IntfOper operation) {
  return operation >= IntfOper_Equal && operation <= IntfOper_GreaterOrEqual;
}

bool integer_meets(_IntfOper operation, std::int64_t value, std::int64_t threshold) {
  return order_meets(operation, value < threshold ? -1 : value > threshold ? 1 : 0);
}

bool text_meets(_IntfOper operation, std::string_view field, std::string_view threshold,
                bool utf8) {
  field = without_padding(field);
  threshold = without_padding(threshold);
  switch (operation) {
    case IntfOper_Contains:
      return field.find(threshold) != std::string_view::npos;
    case IntfOper_NotContains:
      return field.find(threshold) == std::string_view::npos;
    case IntfOper_Like:
      return like(field, threshold, utf8);
    default:
      return order_meets(operation, field.compare(threshold));
  }
}

std::optional<_IntfOper> operator_named(std::string_view name) {
  for (const OperatorName& known : kOperators) {
    if (name == known.name) return known.operation;
  }
  return std::nullopt;
}

const char* operator_name(_IntfOper operation) {
  for (const OperatorName& known : kOperators) {
    if (operation == known.operation) return known.name;
  }
  return "?";
}

}  // namespace xaf
