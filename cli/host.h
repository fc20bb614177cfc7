#pragma once
// What differs between the systems that dirwatch runs on: where the controller comes from. On Linux
// the platform layer answers from one; on Windows the operating system itself does.

#include <memory>
#include <string>

namespace cli {

// Opens the controller of that place and lets it answer from now on; an empty place keeps the
// default. False, with the reason and what to do next, when it cannot be opened.
bool use_controller(const std::string& place, std::string& error);

// While the result lives, waits of a recorded controller pass at once: no thread has anything to
// wait for but its turn, and the clock moves on by what they wait. Null, and nothing changes, when
// a live controller answers, and on Windows.
std::shared_ptr<void> pass_waits_at_once();

// Writes a recording of the live controller of that place into the folder, with progress on the
// standard error stream. False, with the reason, on failure; no half-written folder is left.
bool record_controller(const std::string& place, const std::string& folder, std::string& error);

// Keeps the standard output for rows: what the agent itself prints goes to the standard error
// stream when it is to be shown, and nowhere when not. False when the system refuses.
bool keep_standard_output_for_rows(bool show_agent_output);

}  // namespace cli
