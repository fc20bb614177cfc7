#include "directory/command_output.h"

#include <cstdlib>

namespace directory {
namespace {

// Digits of a time; what is longer is cut.
constexpr std::size_t kMostDigits = 9;

bool holds(std::string_view line, std::string_view mark) { return line.find(mark) != line.npos; }

}  // namespace

PingOutput::Line PingOutput::take(std::string_view line) {
  Line taken;
  if (!seen_none_lost_ && holds(line, "(0%")) {
    seen_none_lost_ = true;
    ++taken.marks;
  }
  if (holds(line, "(100%")) {
    ++taken.marks;
    taken.is_last = true;
    result_ = kPingLost;
    return taken;
  }
  if (holds(line, "ms,")) {
    ++taken.marks;
    taken.is_last = true;
    take_summary(line);
  }
  return taken;
}

// "Minimum = 1ms, Maximum = 3ms, Average = 2ms", in any language: the number behind the last equals
// sign. The first character of the line and colons among the digits are deliberately treated as the
// receivers of the times know it: the one is never looked at, the others end the number.
void PingOutput::take_summary(std::string_view line) {
  std::string digits;
  for (std::size_t at = line.size(); at-- > 1 && line[at] != '=';) {
    if (line[at] < '0' || line[at] > ':') continue;
    if (digits.size() == kMostDigits) {
      was_cut_ = true;
      break;
    }
    digits.insert(digits.begin(), line[at]);
  }
  if (digits.empty()) return;
  has_time_ = true;
  result_ = std::atoi(digits.c_str());
}

TimeOffset read_time_offset(std::string_view line) {
  TimeOffset offset;
  const std::size_t mark = line.find(kOffsetMark);
  if (mark == line.npos) return offset;
  offset.is_error = holds(line, "error");
  const std::size_t unit = line.find('s', mark);
  if (offset.is_error || unit == line.npos) return offset;
  // Deliberately from the blank behind the mark to one character before the unit, which drops the
  // number's last digit: the offsets shown have always been so.
  const std::size_t start = mark + kOffsetMark.size();
  const std::size_t end = unit == 0 ? 0 : unit - 1;
  offset.text = end > start ? std::string(line.substr(start, end - start)) : std::string();
  return offset;
}

}  // namespace directory
