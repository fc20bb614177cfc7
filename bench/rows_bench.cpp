// Rows on their way from AddData to the row store and to JSON Lines, against a bare copy of the
// same bytes that keeps the latest sample, too.

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "framework/xaf/control.h"
#include "tables/catalogue.h"
#include "tables/classes.h"
#include "tables/row.h"

namespace {

// The widest and the narrowest rows, and one in between.
template <const auto& kTable>
std::string block_of(std::size_t rows) {
  tables::Row<kTable> row;
  row.template set<"ORIGINNODE">("DC1");
  row.template set<"TIMESTAMP">("1261121103000000");
  std::string block;
  for (std::size_t i = 0; i < rows; ++i) block.append(row.data(), row.kSize);
  return block;
}

template <const auto& kTable>
void bare_copy(benchmark::State& state) {
  const auto rows = static_cast<std::size_t>(state.range(0));
  const std::string block = block_of<kTable>(rows);
  // Two, by turns: the rows of the sample before must stay whole while the next are written.
  std::vector<char> targets[] = {std::vector<char>(block.size()), std::vector<char>(block.size())};
  std::size_t turn = 0;
  for (auto _ : state) {
    std::vector<char>& target = targets[turn ^= 1];
    std::memcpy(target.data(), block.data(), block.size());
    benchmark::DoNotOptimize(target.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * rows));
}

template <const auto& kTable>
void add_data(benchmark::State& state) {
  const auto rows = static_cast<std::size_t>(state.range(0));
  std::string block = block_of<kTable>(rows);
  xaf::DirectSampler sampler(kTable.name);
  if (!sampler.found()) {
    state.SkipWithError("the table is not registered");
    return;
  }
  for (auto _ : state) {
    sampler.object()->AddData(block.data(), static_cast<std::int32_t>(rows));
    sampler.object()->Dispatch();
    sampler.object()->ClearCount();
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * rows));
}

template <const auto& kTable>
void to_row_store(benchmark::State& state) {
  xaf::reset();
  tables::init<kTable>();
  add_data<kTable>(state);
}

template <const auto& kTable>
void to_json_lines(benchmark::State& state) {
  xaf::reset();
  tables::init<kTable>();
  std::string error;
  auto sink = xaf::make_sink("json", "/dev/null", error);
  if (sink == nullptr) {
    state.SkipWithError(error.c_str());
    return;
  }
  xaf::add_sink(sink);
  add_data<kTable>(state);
  xaf::clear_sinks();
}

}  // namespace

BENCHMARK(bare_copy<tables::DCWNTDSCNT>)->Name("copy/DCWNTDSCNT")->Arg(10000);
BENCHMARK(to_row_store<tables::DCWNTDSCNT>)->Name("row_store/DCWNTDSCNT")->Arg(10000);
BENCHMARK(to_json_lines<tables::DCWNTDSCNT>)->Name("json_lines/DCWNTDSCNT")->Arg(10000);
BENCHMARK(bare_copy<tables::DCWNTDSAB>)->Name("copy/DCWNTDSAB")->Arg(10000);
BENCHMARK(to_row_store<tables::DCWNTDSAB>)->Name("row_store/DCWNTDSAB")->Arg(10000);
BENCHMARK(to_json_lines<tables::DCWNTDSAB>)->Name("json_lines/DCWNTDSAB")->Arg(10000);
BENCHMARK(bare_copy<tables::DCWNTDSFRT>)->Name("copy/DCWNTDSFRT")->Arg(1000);
BENCHMARK(to_row_store<tables::DCWNTDSFRT>)->Name("row_store/DCWNTDSFRT")->Arg(1000);
BENCHMARK(to_json_lines<tables::DCWNTDSFRT>)->Name("json_lines/DCWNTDSFRT")->Arg(1000);
