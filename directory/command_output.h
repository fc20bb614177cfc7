#pragma once
// What the lines say that the commands ping and w32tm print. Only marks that are the same in every
// language count; the bytes around them may be of any code page. No access to anything.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace directory {

inline constexpr std::int32_t kPingNothing = -1;  // the name is unknown, or the output told nothing
inline constexpr std::int32_t kPingLost = -2;     // every request was lost

// The output of ping, line by line.
class PingOutput {
 public:
  struct Line {
    int marks = 0;         // how many marks the line held that had not been seen before
    bool is_last = false;  // the rest of the output tells nothing more
  };
  Line take(std::string_view line);

  // The average round trip in milliseconds, or one of the two above.
  std::int32_t result() const { return result_; }
  // Whether the result is a time that a summary line told.
  bool has_time() const { return has_time_; }
  // Whether the number of that line had more digits than there is room for.
  bool was_cut() const { return was_cut_; }

 private:
  void take_summary(std::string_view line);

  bool seen_none_lost_ = false;
  bool has_time_ = false;
  bool was_cut_ = false;
  std::int32_t result_ = kPingNothing;
};

// The first line of w32tm's output that tells an offset is the only one that counts.
inline constexpr std::string_view kOffsetMark = "NTP:";
struct TimeOffset {
  bool is_error = false;
  std::optional<std::string> text;  // the number as it stands
};
TimeOffset read_time_offset(std::string_view line);

}  // namespace directory
