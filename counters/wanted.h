#pragma once
// Which counters each table reads on this machine: what people ask when a table is empty or a
// column stays 0.

#include <string>
#include <string_view>
#include <vector>

namespace counters {

// One counter of one table, under the names by which the table asks for it. A collector's list can
// hold a counter that is not there, on purpose: whoever asks finds out.
struct Wanted {
  const char* table;     // upper-case name
  std::string object;    // in the system's own language
  std::string instance;  // empty for none
  std::string counter;
};

// Takes the system's version and translates the counter lists. Once a process, before any
// collector is built; a program that runs the agent has it done by the agent's start.
void prepare_lists();

// Whether the table of that upper-case name shows any counters.
bool reads_counters(std::string_view table);

// The counters of one table in the order of its collector's list; those of a table with a row an
// instance, for each instance that there is now.
std::vector<Wanted> wanted_counters(std::string_view table);

}  // namespace counters
