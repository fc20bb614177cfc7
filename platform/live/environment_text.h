#pragma once
// Settings of the live parts, read from the environment. A value that cannot be meant ends the
// start with a ControllerError that names the variable and says what it takes.

#include <string>
#include <string_view>

namespace platform::live {

// The variable's text; empty when it is not set.
std::string environment(const char* name);

// A whole decimal number within the bounds, or false with value unspecified.
bool read_number(std::string_view text, int lowest, int highest, int& value);

// The variable as seconds from 1 to highest; usual when it is not set or empty.
int seconds_from_environment(const char* name, int usual, int highest);

}  // namespace platform::live
