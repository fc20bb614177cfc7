#pragma once
// The commands of dirwatch. Each gives the process's exit status: 0 when it did what was asked, 1
// when it could not or nothing came, 2 when it was asked wrongly. Messages for people go to the
// standard error stream; the standard output holds only what was asked for.

#include <string>
#include <vector>

namespace cli {

struct TablesOptions {
  std::string table;            // empty: all of them
  std::string format = "text";  // text or json
};
int tables_command(const TablesOptions& options);

struct CountersOptions {
  std::string table;            // empty: every table that shows counters
  std::string controller;       // as of sample below
  std::string format = "text";  // text or json
};
// Each counter that the tables want, whether it is there, and its value. 1 when none is there.
int counters_command(const CountersOptions& options);

struct SampleOptions {
  std::vector<std::string> tables;  // none: every table
  std::string controller;           // empty: the environment's, else the embedded recording
  std::string configuration;        // a TOML file; empty: none
  std::string format = "table";     // table, json or csv
  bool agent_output = false;        // show what the agent itself prints, on standard error
  bool real_time = false;           // a recorded controller's waits last as long as they say
};
int sample_command(const SampleOptions& options);

struct RunOptions {
  std::string controller;
  std::string configuration;
  bool agent_output = false;  // as above
};
int run_command(const RunOptions& options);

struct CachesOptions {
  std::string format = "text";  // text or json
};
// What the caches of the agent that runs on this machine do now. 1 when none runs, or when it has
// caching off.
int caches_command(const CachesOptions& options);

struct RecordOptions {
  std::string controller;
  std::string output;  // a folder that does not exist yet, or is empty
};
int record_command(const RecordOptions& options);

}  // namespace cli
