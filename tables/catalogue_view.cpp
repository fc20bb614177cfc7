#include "tables/catalogue_view.h"

#include <array>
#include <cstddef>

#include "tables/catalogue.h"

namespace tables {

namespace {

template <const auto& kTable>
constexpr auto kColumns = [] {
  std::array<ColumnView, kTable.column_count> result{};
  for (std::size_t i = 0; i < result.size(); ++i) {
    const auto& field = Layout<kTable>::fields[i];
    result[i] = {kTable.columns[i].name,
                 field.lower,
                 kTable.columns[i].sentence,
                 static_cast<std::uint16_t>(field.type),
                 field.offset,
                 field.width};
  }
  return result;
}();

template <const auto& kTable>
constexpr TableView view() {
  return {kTable.name,         Layout<kTable>::lower_table.data(),
          kTable.sentence,     kTable.timing.word,
          kTable.timing.index, static_cast<std::uint32_t>(kTable.row_size()),
          kColumns<kTable>};
}

#define DCW_TABLE_VIEW(lower, definition) view<definition>(),
constexpr std::array kCatalogue = {DCW_FOR_EACH_TABLE(DCW_TABLE_VIEW)};
#undef DCW_TABLE_VIEW

static_assert(kCatalogue.size() == 33);

}  // namespace

std::span<const TableView> catalogue() { return kCatalogue; }

}  // namespace tables
