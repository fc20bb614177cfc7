#pragma once
// PDH-CSV 4.0, the text form of counter logs that typeperf, relog and the performance monitor
// write: a header line of counter paths, then a line of values a sample.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/controller.h"

namespace platform {

struct CounterSeries {
  std::vector<CounterPath> paths;        // one a column, in the file's order
  std::vector<std::int64_t> offsets_ms;  // one a row, from the first row, never falling
  std::vector<double> cells;             // row after row; a blank cell is not a number

  std::size_t rows() const { return offsets_ms.size(); }
  double& cell(std::size_t row, std::size_t column) { return cells[row * paths.size() + column]; }
};

// Reads a whole file, given as its bytes. Its last line may be cut short, and is then left out.
// Throws ControllerError, "file:line:column: what", for what is not such a file, and for one
// without a sample.
CounterSeries parse_pdh_csv(const std::string& bytes, const std::string& file_name);

}  // namespace platform
