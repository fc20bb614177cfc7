#pragma once
// Every setting of the configuration file, for `dirwatch config` and docs/settings.md. Tests hold
// it against the reader and against docs/dirwatch.toml.

#include <array>

namespace xaf {

struct ConfigurationSetting {
  const char* name;    // with its table in front
  const char* preset;  // as the file would say it; empty for one that has none
  const char* unit;    // what the value is
  const char* sentence;
};

inline constexpr std::array kConfigurationSettings = {
    ConfigurationSetting{"framework.node_name", "''", "text",
                         "What stands in ORIGINNODE of every row; empty: the computer's name."},
    ConfigurationSetting{"framework.interval", "'60s'", "duration",
                         "How often each table is sampled."},
    ConfigurationSetting{"framework.row_limit", "1000000", "rows",
                         "Rows that one sample may hold."},
    ConfigurationSetting{"framework.tables", "[]", "names", "Sample only these; empty: all."},
    ConfigurationSetting{"framework.once", "false", "flag",
                         "Sample each table one time, then end."},
    ConfigurationSetting{"framework.stop_after", "'0s'", "duration",
                         "End after this long; 0s: never."},
    ConfigurationSetting{"trace.flags", "", "sum of flags",
                         "Which traces are written; TRC_TRC1 decides when it is not set."},
    ConfigurationSetting{"trace.path", "''", "path", "The trace file; empty: none."},
    ConfigurationSetting{"trace.rotate", "'10MiB'", "size",
                         "The trace file is rotated before it grows beyond this."},
    ConfigurationSetting{"trace.keep", "5", "files", "Rotated trace files that stay."},
    ConfigurationSetting{"trace.console", "false", "flag", "Write traces to standard error, too."},
    ConfigurationSetting{"sink.format", "'table'", "table, json, csv or none",
                         "How rows are written."},
    ConfigurationSetting{"sink.path", "''", "path", "Where rows go; empty: standard output."},
    ConfigurationSetting{"sink.rotate", "'0B'", "size",
                         "The rows' file is moved aside when it has grown to this; 0B: never."},
    ConfigurationSetting{"sink.keep", "5", "files", "Files of rows moved aside that stay."},
};

}  // namespace xaf
