#include <algorithm>
#include <array>

#include "framework/iso_time.h"
#include "framework/xaf/field_text.h"
#include "framework/xaf/sinks.h"

namespace xaf {
namespace {

constexpr std::size_t kLineWidth = 120;
constexpr std::size_t kWidthSampleRows = 1000;  // rows looked at to choose the form and the widths

// Columns that every table begins with; they say who and when, which stands in the heading.
constexpr std::array<std::string_view, 6> kHeadColumns = {"originnode", "sampleno", "rowno",
                                                          "timestamp",  "zattrib",  "zvalue"};

bool is_head(const ColumnView& column) {
  return std::find(kHeadColumns.begin(), kHeadColumns.end(), column.name) != kHeadColumns.end();
}

struct Shown {
  const ColumnView* column;
  std::size_t width;  // characters
};

class TableSink : public Sink {
 public:
  explicit TableSink(std::shared_ptr<Output> output) : output_(std::move(output)) {}

  void deliver(const Delivery& delivery) override {
    const std::vector<Shown> shown = choose_columns(delivery);
    std::size_t line_width = 0;
    for (const Shown& column : shown) line_width += column.width + 2;

    Output::Block block(*output_);
    std::string text = heading(delivery);
    const bool wide = line_width > kLineWidth + 2;
    if (!wide) append_names(text, shown);
    for (std::uint32_t row = 0; row < delivery.count; ++row) {
      const char* const bytes = delivery.rows + std::size_t{row} * delivery.row_size;
      if (wide) {
        append_list(text, delivery, bytes, shown, row);
      } else {
        append_line(text, delivery, bytes, shown);
      }
      if (text.size() < kPieceBytes) continue;
      block.write(text);
      text.clear();
    }
    text += '\n';
    block.write(text);
    block.flush();
  }

 private:
  static std::string cell(const Delivery& delivery, const ColumnView& column, const char* row) {
    return readable(column, field_bytes(column, row, delivery.row_size));
  }

  static std::vector<Shown> choose_columns(const Delivery& delivery) {
    std::vector<Shown> shown;
    const std::size_t rows = std::min<std::size_t>(delivery.count, kWidthSampleRows);
    for (const ColumnView& column : *delivery.columns) {
      if (is_head(column)) continue;
      std::size_t width = column.name.size();
      for (std::size_t row = 0; row < rows; ++row) {
        const std::string text = cell(delivery, column, delivery.rows + row * delivery.row_size);
        width = std::max(width, character_count(text));
      }
      shown.push_back({&column, width});
    }
    return shown;
  }

  static std::string heading(const Delivery& delivery) {
    std::string text = delivery.table;
    for (const ColumnView& column : *delivery.columns) {
      if (column.name == "originnode") text += "  " + cell(delivery, column, delivery.rows);
    }
    text += "  " + iso_time(delivery.time_ms) + "  " + std::to_string(delivery.count);
    text += delivery.count == 1 ? " row\n" : " rows\n";
    return text;
  }

  // Numbers stand right, text stands left; a line carries no blanks at its end.
  static void append_cell(std::string& out, const std::string& text, const Shown& shown) {
    const std::size_t length = character_count(text);
    const std::size_t pad = shown.width > length ? shown.width - length : 0;
    out += "  ";
    if (shown.column->type == 3) {
      out.append(pad, ' ');
      out += text;
    } else {
      out += text;
      out.append(pad, ' ');
    }
  }

  static void end_line(std::string& out) {
    out.erase(out.find_last_not_of(' ') + 1);
    out += '\n';
  }

  static void append_names(std::string& out, const std::vector<Shown>& shown) {
    for (const Shown& column : shown) append_cell(out, column.column->name, column);
    end_line(out);
  }

  static void append_line(std::string& out, const Delivery& delivery, const char* row,
                          const std::vector<Shown>& shown) {
    for (const Shown& column : shown) append_cell(out, cell(delivery, *column.column, row), column);
    end_line(out);
  }

  static void append_list(std::string& out, const Delivery& delivery, const char* row,
                          const std::vector<Shown>& shown, std::uint32_t index) {
    std::size_t name_width = 0;
    for (const Shown& column : shown) {
      name_width = std::max(name_width, column.column->name.size());
    }
    if (delivery.count > 1) out += "  row " + std::to_string(index + 1) + '\n';
    for (const Shown& column : shown) {
      out += "  " + column.column->name;
      out.append(name_width - column.column->name.size() + 2, ' ');
      out += cell(delivery, *column.column, row);
      end_line(out);
    }
  }

  const std::shared_ptr<Output> output_;
};

}  // namespace

std::shared_ptr<Sink> make_table_sink(std::shared_ptr<Output> output) {
  return std::make_shared<TableSink>(std::move(output));
}

}  // namespace xaf
