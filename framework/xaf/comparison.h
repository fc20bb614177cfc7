#pragma once
// What a threshold means: comparing a field of a row with the threshold's text.

#include <cstdint>
#include <optional>
#include <string_view>

#include "xaf.h"

namespace xaf {

// Blanks and zeros at the end of a field are padding and never part of its text.
std::string_view without_padding(std::string_view field);

// A whole decimal number within 32 bits, with nothing around it; nothing else counts.
std::optional<std::int32_t> parse_integer(std::string_view text);

// The operators that ask for parts of a text have no meaning for an integer: false for those.
bool operator_suits_integer(_IntfOper operation);

bool integer_meets(_IntfOper operation, std::int64_t value, std::int64_t threshold);

// Letter case counts. utf8: whether '?' of a pattern stands for a character or for a byte; the
// order of texts is the same either way.
bool text_meets(_IntfOper operation, std::string_view field, std::string_view threshold, bool utf8);

// "=", "!=", "<", "<=", ">", ">=", "contains", "not contains", "like"; "==" and "<>" too.
std::optional<_IntfOper> operator_named(std::string_view name);
const char* operator_name(_IntfOper operation);

}  // namespace xaf
