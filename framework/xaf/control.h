#pragma once
// The other side of the local framework, for the command line program, tests and benchmarks: its
// configuration, its sinks and what it measured of itself. The agent never includes this.

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "xaf.h"

namespace xaf {

struct Threshold {
  std::string column;  // upper-case name
  _IntfOper operation = IntfOper_Equal;
  std::string value;
};

struct TableSettings {
  bool enabled = true;
  std::uint32_t interval_ms = 60000;
  std::vector<Threshold> thresholds;  // none: every row passes
  bool match_all = true;              // whether all thresholds must be met, or any one
  std::uint32_t row_limit = 1000000;  // rows that one sample may hold; InsertRow fails beyond
};

// When a sink's file is moved aside.
struct Rotation {
  std::uint64_t bytes = 0;  // once it has grown to this; 0: never
  std::uint32_t keep_files = 5;
};

struct Configuration {
  std::string node_name;  // empty: the computer's own name
  TableSettings defaults;
  std::map<std::string, TableSettings> tables;  // by upper-case table name
  std::vector<std::string> only_tables;         // when not empty, no other table is sampled
  bool once = false;                            // sample each table one time, then end xafmain
  std::uint32_t stop_after_ms = 0;              // end xafmain after this long; 0: never
  std::optional<std::uint32_t> trace_flags;     // not set: as they are (TRC_TRC1, or 128)
  std::map<std::string, std::uint32_t> trace_units;
  std::string trace_path;
  std::uint64_t trace_rotate_bytes = 10u << 20;
  std::uint32_t trace_keep_files = 5;
  bool trace_console = false;
  std::string sink = "table";  // table, json, csv, none
  std::string sink_path;       // empty: standard output
  Rotation sink_rotation;
};

// Reads a TOML file. An unknown name or a value of the wrong kind is an error that names the file,
// the line and the thing at fault; the configuration is then left as it was.
XAF_API bool load_configuration(const std::string& path, Configuration& configuration,
                                std::string& error);
// Applies from the next xafmain on. When it was never called, xafmain reads the file that the
// environment variable DIRWATCH_CONFIG names, if it is set, and else goes by the defaults above.
// Thresholds are checked when xafmain knows the tables: one that names no column, or whose value
// does not suit the column, makes xafmain return an error before the first sample.
XAF_API void configure(const Configuration& configuration);

// A column as the framework learned it from GetColumnInfo.
struct ColumnView {
  std::string name;  // lower case
  std::uint16_t offset = 0, width = 0, type = 0;
};

// One table's rows of one sample, as they leave the framework.
struct Delivery {
  std::string application;
  std::string table;
  std::int64_t time_ms = 0;  // platform clock at the end of the sample
  std::uint32_t row_size = 0;
  std::uint32_t count = 0;
  const char* rows = nullptr;  // count * row_size bytes; good during the call only
  const std::vector<ColumnView>* columns = nullptr;
};

// Deliveries of one sink come one at a time; those of one table in the order of its samples.
class XAF_API Sink {
 public:
  virtual ~Sink();
  virtual void deliver(const Delivery& delivery) = 0;
  virtual void close() {}
};
// With a sink added by this call the configuration's own sink is not made. Every sink's close() is
// called at the end of xafmain, after the last delivery.
XAF_API void add_sink(std::shared_ptr<Sink> sink);
XAF_API void clear_sinks();
// format: table, json or csv; path empty for standard output, which is never rotated. Null, with
// the reason, on failure.
XAF_API std::shared_ptr<Sink> make_sink(const std::string& format, const std::string& path,
                                        std::string& error, const Rotation& rotation = {});

// From now on what the program prints to standard output goes to standard error, and only sinks
// write to what standard output was. False when the system refuses. A second call changes nothing.
XAF_API bool separate_standard_output();

// The latest rows of a table, kept until the next sample that has rows replaces them.
XAF_API std::vector<std::string> latest_rows(const std::string& table);

struct TableMeasure {
  std::string table;
  std::uint64_t samples = 0;
  std::uint64_t rows = 0;
  std::uint64_t failures = 0;  // samples that ended in an exception, deliveries that failed
  std::uint64_t last_duration_us = 0;
  std::uint64_t longest_duration_us = 0;
  std::uint64_t missed_ticks = 0;  // skipped because the sample before still ran
  std::int64_t last_rows_ms = 0;   // platform clock of the last sample with rows; 0: never
  std::int64_t age_ms = -1;        // since then; -1: never
};
XAF_API std::vector<TableMeasure> measures();

// What the agent declared through XAF_SetAffinity, in order.
XAF_API std::vector<std::string> affinities();

// Names of the registered tables, and the columns that a table reports through GetColumnInfo.
XAF_API std::vector<std::string> registered_tables();

// For tests and for asking once: makes one sample object of a registered table (loading the agents
// first, when that has not happened), runs TakeSample on the calling thread as often as asked, and
// gives back the rows that came out of each run, one block of row size bytes a row.
class XAF_API DirectSampler {
 public:
  explicit DirectSampler(const std::string& table, const TableSettings& settings = {});
  ~DirectSampler();
  DirectSampler(const DirectSampler&) = delete;
  DirectSampler& operator=(const DirectSampler&) = delete;
  bool found() const;  // false when no such table is registered, or error() says something
  const std::string& error() const;   // a threshold that does not suit the table; else empty
  std::vector<std::string> sample();  // an exception out of TakeSample passes through
  xaftable* object() const;

 private:
  struct State;
  State* state_;
};

// Forgets managers, sinks, rows and measures, so that a process can run xafmain again. Only while
// xafmain is not running.
XAF_API void reset();

}  // namespace xaf
