#include "platform/counters/pdh_csv.h"

#include <charconv>
#include <cmath>
#include <deque>
#include <limits>
#include <string_view>

#include "platform/counters/counter_path.h"
#include "platform/counters/recorded_text.h"

namespace platform {
namespace {

constexpr double kBlank = std::numeric_limits<double>::quiet_NaN();
constexpr std::string_view kSpace = " \t\r\n\v\f";
constexpr std::string_view kNothing("\0 \t\r\n", 5);  // a log cut by a power failure ends in zeros

std::string_view trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::string shown(std::string_view text) {
  constexpr std::size_t kLongest = 60;
  if (text.size() <= kLongest) return "'" + std::string(text) + "'";
  std::size_t end = kLongest;
  while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0u) == 0x80u) --end;
  return "'" + std::string(text.substr(0, end)) + "...'";
}

struct Cell {
  std::string_view text;
  std::size_t start = 0;  // of its first character in the line
};

struct Line {
  std::string_view text;
  std::size_t number = 0;
  bool ended = false;  // by a line end, and not by the end of the file
};

class PdhCsvParser {
 public:
  PdhCsvParser(std::string_view text, const std::string& file_name)
      : rest_(text.substr(0, text.find_last_not_of(kNothing) + 1)),
        ended_(text.find('\n', rest_.size()) != std::string_view::npos),
        file_name_(file_name) {}

  CounterSeries parse() {
    read_header();
    Line line;
    while (next_line(line)) {
      if (!read_row(line)) break;
    }
    if (series_.rows() == 0) fail(line_number_, 1, "the file holds no whole sample");
    return std::move(series_);
  }

 private:
  [[noreturn]] void fail(std::size_t line, std::size_t column, const std::string& what) const {
    throw ControllerError(file_name_ + ":" + std::to_string(line) + ":" + std::to_string(column) +
                          ": " + what);
  }
  // Columns are told in characters, as editors count them.
  [[noreturn]] void fail(const Line& line, std::size_t start, const std::string& what) const {
    std::size_t column = 1;
    for (std::size_t i = 0; i < start && i < line.text.size(); ++i) {
      if ((static_cast<unsigned char>(line.text[i]) & 0xC0u) != 0x80u) ++column;
    }
    fail(line.number, column, what);
  }

  // The next line that is not blank.
  bool next_line(Line& line) {
    while (!rest_.empty()) {
      const std::size_t end = rest_.find('\n');
      line.text = rest_.substr(0, end);
      line.ended = end != std::string_view::npos || ended_;
      line.number = ++line_number_;
      rest_ = end == std::string_view::npos ? std::string_view() : rest_.substr(end + 1);
      if (line.text.ends_with('\r')) line.text.remove_suffix(1);
      if (!trim(line.text).empty()) return true;
    }
    return false;
  }

  // Takes a line apart; false when a quote is not closed on it.
  bool split(const Line& line) {
    cells_.clear();
    unescaped_.clear();
    std::size_t i = 0;
    while (true) {
      Cell cell{{}, i};
      if (i < line.text.size() && line.text[i] == '"') {
        if (!quoted(line, i, cell)) return false;
      } else {
        const std::size_t end = std::min(line.text.find(',', i), line.text.size());
        cell.text = line.text.substr(i, end - i);
        i = end;
      }
      cells_.push_back(cell);
      if (i == line.text.size()) return true;
      ++i;  // the comma
    }
  }

  bool quoted(const Line& line, std::size_t& i, Cell& cell) {
    const std::size_t start = i;
    bool doubled = false;
    for (++i; i < line.text.size(); ++i) {
      if (line.text[i] != '"') continue;
      if (i + 1 < line.text.size() && line.text[i + 1] == '"') {
        doubled = true;
        ++i;
        continue;
      }
      cell.text = line.text.substr(start + 1, i - start - 1);
      if (doubled) cell.text = without_doubled_quotes(cell.text);
      ++i;
      while (i < line.text.size() && line.text[i] == ' ') ++i;
      if (i < line.text.size() && line.text[i] != ',') {
        fail(line, i, "a comma or the end of the line must follow a closing quote");
      }
      return true;
    }
    return false;
  }

  std::string_view without_doubled_quotes(std::string_view text) {
    std::string& plain = unescaped_.emplace_back();
    for (std::size_t i = 0; i < text.size(); ++i) {
      plain.push_back(text[i]);
      if (text[i] == '"') ++i;
    }
    return plain;
  }

  void read_header() {
    Line line;
    if (!next_line(line)) fail(1, 1, "the file is empty");
    constexpr std::string_view kMark = "(PDH-CSV 4.0)";
    std::string_view start = trim(line.text);
    if (start.starts_with('"')) start.remove_prefix(1);
    if (!trim(start).starts_with(kMark)) {
      fail(line, 0,
           start.starts_with("(PDH-TSV")
               ? "counters separated by tabs; write them as CSV (relog -f CSV)"
               : "not a PDH-CSV file: its first cell must begin with (PDH-CSV 4.0)");
    }
    if (!split(line)) fail(line, cells_.empty() ? 0 : line.text.size(), "a quote is not closed");
    std::size_t count = cells_.size();
    // The performance monitor puts the log's comment behind the last path.
    if (count > 2 && !trim(cells_.back().text).starts_with('\\')) --count;
    for (std::size_t i = 1; i < count; ++i) {
      CounterPath& path = series_.paths.emplace_back();
      if (!parse_counter_path(trim(cells_[i].text), path)) {
        fail(line, cells_[i].start, shown(cells_[i].text) + " is not a counter path");
      }
    }
    if (series_.paths.empty()) fail(line, line.text.size(), "the header names no counter");
  }

  // False when the samples end here.
  bool read_row(const Line& line) {
    const bool last = rest_.empty();
    const bool whole = split(line);
    if (closing_words(line)) return false;
    const std::size_t wanted = series_.paths.size() + 1;
    const bool cut = last && !line.ended;
    if (cut && line.text.ends_with(',') && cells_.size() <= wanted) return false;
    if (!whole || cells_.size() < wanted) {
      if (last) return false;  // cut short
      if (!whole) fail(line, line.text.size(), "a quote is not closed");
      fail(line, line.text.size(),
           std::to_string(cells_.size()) + " cells where the header has " + std::to_string(wanted));
    }
    for (std::size_t i = wanted; i < cells_.size(); ++i) {
      if (trim(cells_[i].text).empty()) continue;
      fail(line, cells_[i].start, "more cells than the header's " + std::to_string(wanted));
    }
    const std::int64_t stamp_ms = read_stamp(line);
    for (std::size_t i = 1; i < wanted; ++i) {
      double value = kBlank;
      if (!read_value(trim(cells_[i].text), value)) {
        if (cut && i + 1 == wanted) {  // cut within the last number
          series_.cells.resize(series_.rows() * series_.paths.size());
          return false;
        }
        fail(line, cells_[i].start, shown(cells_[i].text) + " is not a number");
      }
      series_.cells.push_back(value);
    }
    add_offset(stamp_ms);
    return true;
  }

  // typeperf's own last words, when its output was sent to a file: no sample may follow.
  bool closing_words(const Line& line) const {
    const auto begins_sample = [](char c) { return c == '"' || (c >= '0' && c <= '9'); };
    if (series_.rows() == 0 || begins_sample(trim(line.text).front())) return false;
    for (std::size_t i = 0; i < rest_.size();) {
      if (begins_sample(rest_[i])) return false;
      const std::size_t end = rest_.find('\n', i);
      if (end == std::string_view::npos) break;
      i = end + 1;
    }
    return true;
  }

  static bool read_value(std::string_view text, double& value) {
    value = kBlank;
    if (text.empty()) return true;
    if (text.find('#') != std::string_view::npos && (text.find("#QNAN") != std::string_view::npos ||
                                                     text.find("#IND") != std::string_view::npos ||
                                                     text.find("#INF") != std::string_view::npos)) {
      return true;  // the C library's words for a division by nothing
    }
    if (text.starts_with('+')) text.remove_prefix(1);
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    return error == std::errc() && stopped == end && std::isfinite(value);
  }

  // "MM/DD/YYYY HH:MM:SS.mmm" as milliseconds since 1970 of the clock on the wall there.
  std::int64_t read_stamp(const Line& line) const {
    const std::string_view text = trim(cells_[0].text);
    constexpr std::string_view kForm = "00/00/0000 00:00:00.000";
    constexpr std::size_t kWithoutMilliseconds = 19;
    bool good = text.size() == kForm.size() || text.size() == kWithoutMilliseconds;
    for (std::size_t i = 0; good && i < text.size(); ++i) {
      good = kForm[i] == '0' ? text[i] >= '0' && text[i] <= '9' : text[i] == kForm[i];
    }
    const auto number = [text](std::size_t start, std::size_t length) {
      std::int64_t value = 0;
      for (const char digit : text.substr(start, length)) value = value * 10 + (digit - '0');
      return value;
    };
    if (good) {
      const std::int64_t month = number(0, 2), day = number(3, 2), year = number(6, 4);
      const std::int64_t hour = number(11, 2), minute = number(14, 2), second = number(17, 2);
      const std::int64_t ms = text.size() == kForm.size() ? number(20, 3) : 0;
      if (month >= 1 && month <= 12 && day >= 1 && day <= 31 && year >= 1601 && hour <= 23 &&
          minute <= 59 && second <= 59) {
        return (((days(year, month, day) * 24 + hour) * 60 + minute) * 60 + second) * 1000 + ms;
      }
    }
    fail(line, cells_[0].start,
         shown(text) + " is not a time stamp of the form MM/DD/YYYY HH:MM:SS.mmm");
  }

  // Days since 1970 in the Gregorian calendar.
  static std::int64_t days(std::int64_t year, std::int64_t month, std::int64_t day) {
    if (month <= 2) --year;
    const std::int64_t era = year / 400, year_of_era = year % 400;
    const std::int64_t day_of_year = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    return era * 146097 + year_of_era * 365 + year_of_era / 4 - year_of_era / 100 + day_of_year -
           719468;
  }

  // Stamps are local time: in autumn they jump back an hour, and the samples go on all the same.
  void add_offset(std::int64_t stamp_ms) {
    std::int64_t step_ms = series_.rows() == 0 ? 0 : stamp_ms - previous_stamp_ms_;
    if (step_ms < 0) step_ms = step_ms_;
    series_.offsets_ms.push_back(series_.rows() == 0 ? 0 : series_.offsets_ms.back() + step_ms);
    previous_stamp_ms_ = stamp_ms;
    step_ms_ = step_ms;
  }

  std::string_view rest_;
  bool ended_;
  const std::string& file_name_;
  std::size_t line_number_ = 0;
  std::vector<Cell> cells_;
  std::deque<std::string> unescaped_;
  CounterSeries series_;
  std::int64_t previous_stamp_ms_ = 0;
  std::int64_t step_ms_ = 0;
};

}  // namespace

CounterSeries parse_pdh_csv(const std::string& bytes, const std::string& file_name) {
  const std::string text = text_as_utf8(bytes);
  return PdhCsvParser(text, file_name).parse();
}

}  // namespace platform
