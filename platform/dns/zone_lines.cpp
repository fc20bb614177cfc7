#include "platform/dns/zone_lines.h"

#include <utility>

#include "platform/controller.h"

namespace platform {
namespace {

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

class Reader {
 public:
  Reader(std::string_view text, const std::string& file_name) : text_(text), file_(file_name) {}

  std::vector<ZoneLine> read() {
    while (at_ < text_.size()) step();
    if (depth_ != 0) fail("a parenthesis is not closed");
    end_line();
    return std::move(lines_);
  }

 private:
  [[noreturn]] void fail(const std::string& what) const { zone_fault(file_, line_, what); }

  void step() {
    const char c = text_[at_];
    if (c == '\n') {
      ++at_;
      if (depth_ == 0) end_line();
      ++line_;
      at_line_start_ = true;
      return;
    }
    if (c == ';') {
      while (at_ < text_.size() && text_[at_] != '\n') ++at_;
    } else if (is_blank(c)) {
      if (at_line_start_ && depth_ == 0) current_.begins_blank = true;
      ++at_;
    } else if (c == '(' || c == ')') {
      depth_ += c == '(' ? 1 : -1;
      if (depth_ < 0 || depth_ > 1) fail(c == '(' ? "parentheses within parentheses" : "a stray )");
      ++at_;
    } else {
      take_word();
    }
    at_line_start_ = false;
  }

  void take_word() {
    if (current_.words.empty()) current_.number = line_;
    ZoneWord word;
    word.quoted = text_[at_] == '"';
    if (word.quoted) ++at_;
    for (; at_ < text_.size(); ++at_) {
      const char c = text_[at_];
      if (c == '\n') break;
      if (word.quoted ? c == '"' : is_blank(c) || c == ';' || c == '(' || c == ')') break;
      word.text.push_back(c);
      if (c != '\\') continue;
      if (at_ + 1 == text_.size() || text_[at_ + 1] == '\n') fail("nothing behind a backslash");
      word.text.push_back(text_[++at_]);
    }
    if (word.quoted) {
      if (at_ == text_.size() || text_[at_] != '"') fail("a quotation mark is not closed");
      ++at_;
    }
    current_.words.push_back(std::move(word));
  }

  void end_line() {
    if (!current_.words.empty()) lines_.push_back(std::move(current_));
    current_ = {};
  }

  const std::string_view text_;
  const std::string& file_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
  int depth_ = 0;
  bool at_line_start_ = true;
  ZoneLine current_;
  std::vector<ZoneLine> lines_;
};

}  // namespace

std::vector<ZoneLine> read_zone_lines(std::string_view text, const std::string& file_name) {
  return Reader(text, file_name).read();
}

void zone_fault(const std::string& file_name, std::size_t line, const std::string& what) {
  throw ControllerError(file_name + ":" + std::to_string(line) + ": " + what);
}

}  // namespace platform
