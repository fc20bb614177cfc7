#pragma once
// Counters from a recording: a PDH-CSV file replayed from its first row.

#include <memory>
#include <string>

#include "platform/controller.h"

namespace platform {

// text: the file's bytes. file_name: for messages. clock: milliseconds since 1970; none means the
// system's. Throws ControllerError, "file:line:column: what".
//
// The row in force is the last whose offset from the first row is not beyond the time since the
// file was read; one interval behind the last row it begins again. A clock that is set back begins
// it anew.
//
// A blank cell is a counter that was not there at that moment, and an instance is there when one of
// its cells is not blank. A rate's first cell is blank in the file, since it takes two samples: it
// reads as the second, and the first collection of a query gives no value for it.
std::unique_ptr<CounterSource> read_counters(const std::string& text, const std::string& file_name,
                                             Clock clock);

}  // namespace platform
