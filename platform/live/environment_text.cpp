#include "platform/live/environment_text.h"

#include <charconv>
#include <cstdlib>

#include "platform/controller.h"

namespace platform::live {

std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

bool read_number(std::string_view text, int lowest, int highest, int& value) {
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end && value >= lowest && value <= highest;
}

int seconds_from_environment(const char* name, int usual, int highest) {
  const std::string text = environment(name);
  int seconds = usual;
  if (text.empty() || read_number(text, 1, highest, seconds)) return seconds;
  throw ControllerError(std::string(name) + "=" + text + ": give seconds from 1 to " +
                        std::to_string(highest));
}

}  // namespace platform::live
