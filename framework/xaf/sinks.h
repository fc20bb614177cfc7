#pragma once
// The sinks that write text. make_sink (control.h) chooses among them.

#include <memory>
#include <string>

#include "framework/xaf/control.h"
#include "framework/xaf/output.h"

namespace xaf {

// For people: a block a delivery, columns aligned; a table too wide for a line as a list of names
// and values.
std::shared_ptr<Sink> make_table_sink(std::shared_ptr<Output> output);

// One JSON object a row and line: "table", "time", then the columns by their lower-case names.
std::shared_ptr<Sink> make_json_sink(std::shared_ptr<Output> output);

// RFC 4180: columns "table" and "time", then the table's own, with a header line wherever the table
// changes. With a folder, one file a table ("DCWNTDSAB.csv"), each with one header.
std::shared_ptr<Sink> make_csv_sink(std::shared_ptr<Output> output);
std::shared_ptr<Sink> make_csv_folder_sink(const std::string& folder, const Rotation& rotation);

// Text is handed on in pieces of about this size, so that a large delivery is never whole in
// memory.
inline constexpr std::size_t kPieceBytes = 64 * 1024;

}  // namespace xaf
