#pragma once
// The directory's text forms of time against COM's dates.

#include <optional>
#include <string>
#include <string_view>

namespace platform {

// "20110102030405.0Z" or "110102030405Z", also with an offset ("+0100") in place of the Z; the date
// is in universal time, in days since 30 December 1899. Nothing for other text.
std::optional<double> date_from_directory_time(std::string_view text);

// "20110102030405.0Z", rounded to the second.
std::string directory_time_from_date(double date);

}  // namespace platform
