#include <map>
#include <stdexcept>

#include "framework/iso_time.h"
#include "framework/xaf/field_text.h"
#include "framework/xaf/sinks.h"

namespace xaf {
namespace {

void append_csv(std::string& out, std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    append_utf8(out, text);
    return;
  }
  out += '"';
  while (true) {
    const std::size_t quote = text.find('"');
    append_utf8(out, text.substr(0, quote));
    if (quote == std::string_view::npos) break;
    out += "\"\"";
    text.remove_prefix(quote + 1);
  }
  out += '"';
}

void append_header(std::string& out, const Delivery& delivery) {
  out += "table,time";
  for (const ColumnView& column : *delivery.columns) {
    out += ',';
    append_csv(out, column.name);
  }
  out += "\r\n";
}

void append_row(std::string& out, const Delivery& delivery, const char* row) {
  std::string room;
  for (const ColumnView& column : *delivery.columns) {
    const std::string_view field = field_bytes(column, row, delivery.row_size);
    out += ',';
    if (column.type == 3) {
      append_integer(out, field);
    } else {
      append_csv(out, field_text(column, field, room));
    }
  }
  out += "\r\n";
}

void write_delivery(Output& output, const Delivery& delivery, bool with_header) {
  std::string head;
  append_csv(head, delivery.table);
  head += ',' + iso_time(delivery.time_ms);
  Output::Block block(output);
  std::string text;
  if (with_header) append_header(text, delivery);
  for (std::uint32_t row = 0; row < delivery.count; ++row) {
    text += head;
    append_row(text, delivery, delivery.rows + std::size_t{row} * delivery.row_size);
    if (text.size() < kPieceBytes) continue;
    block.write(text);
    text.clear();
  }
  block.write(text);
  block.flush();
}

class CsvSink : public Sink {
 public:
  explicit CsvSink(std::shared_ptr<Output> output) : output_(std::move(output)) {}

  void deliver(const Delivery& delivery) override {
    const bool other_table = delivery.table != table_ || output_->at_start();
    table_ = delivery.table;
    write_delivery(*output_, delivery, other_table);
  }

 private:
  const std::shared_ptr<Output> output_;
  std::string table_;  // whose rows were written last
};

class CsvFolderSink : public Sink {
 public:
  CsvFolderSink(const std::string& folder, const Rotation& rotation)
      : folder_(folder), rotation_(rotation) {
    if (folder_.back() != '/' && folder_.back() != '\\') folder_ += '/';
  }

  void deliver(const Delivery& delivery) override {
    std::shared_ptr<Output>& output = outputs_[delivery.table];
    if (output == nullptr) {
      std::string error;
      output = Output::file(folder_ + delivery.table + ".csv", rotation_, error);
      if (output == nullptr) throw std::runtime_error(error);
    }
    write_delivery(*output, delivery, output->at_start());
  }

  void close() override { outputs_.clear(); }

 private:
  std::string folder_;
  const Rotation rotation_;
  std::map<std::string, std::shared_ptr<Output>> outputs_;
};

}  // namespace

std::shared_ptr<Sink> make_csv_sink(std::shared_ptr<Output> output) {
  return std::make_shared<CsvSink>(std::move(output));
}

std::shared_ptr<Sink> make_csv_folder_sink(const std::string& folder, const Rotation& rotation) {
  return std::make_shared<CsvFolderSink>(folder, rotation);
}

}  // namespace xaf
