#include <map>

#include "framework/iso_time.h"
#include "framework/xaf/field_text.h"
#include "framework/xaf/sinks.h"

namespace xaf {
namespace {

class JsonSink : public Sink {
 public:
  explicit JsonSink(std::shared_ptr<Output> output) : output_(std::move(output)) {}

  void deliver(const Delivery& delivery) override {
    const std::vector<std::string>& names = names_of(delivery);
    std::string head = "{\"table\":";
    append_json(head, delivery.table);
    head += ",\"time\":\"" + iso_time(delivery.time_ms) + '"';
    Output::Block block(*output_);
    text_.clear();
    for (std::uint32_t row = 0; row < delivery.count; ++row) {
      text_ += head;
      append_row(delivery, delivery.rows + std::size_t{row} * delivery.row_size, names);
      text_ += "}\n";
      if (text_.size() >= kPieceBytes) {
        block.write(text_);
        text_.clear();
      }
    }
    block.write(text_);
    block.flush();
  }

 private:
  void append_row(const Delivery& delivery, const char* row,
                  const std::vector<std::string>& names) {
    for (std::size_t index = 0; index < names.size(); ++index) {
      const ColumnView& column = (*delivery.columns)[index];
      const std::string_view field = field_bytes(column, row, delivery.row_size);
      text_ += names[index];
      if (column.type == 3) {
        append_integer(text_, field);
      } else {
        append_json(text_, field_text(column, field, room_));
      }
    }
  }

  // ,"column": for each column, made once a table.
  const std::vector<std::string>& names_of(const Delivery& delivery) {
    std::vector<std::string>& names = names_[delivery.table];
    if (names.size() == delivery.columns->size()) return names;
    names.clear();
    for (const ColumnView& column : *delivery.columns) {
      std::string name = ",";
      append_json(name, column.name);
      names.push_back(name + ':');
    }
    return names;
  }

  const std::shared_ptr<Output> output_;
  std::map<std::string, std::vector<std::string>> names_;
  std::string text_;
  std::string room_;  // of field_text
};

}  // namespace

std::shared_ptr<Sink> make_json_sink(std::shared_ptr<Output> output) {
  return std::make_shared<JsonSink>(std::move(output));
}

}  // namespace xaf
