#pragma once
// Cached tables of the tests' own, one for each entry of collectors/caches.h: the real cycle with
// that entry, over a table of one number, whose collection does what the test says.

#include <functional>
#include <string>
#include <vector>

#include "collectors/cache.h"
#include "collectors/prologue.h"
#include "include/unique_handle.h"
#include "tests/collectors/sampling.h"

namespace probes {

// What a table's collection does now. Set before anything samples or collects.
template <const auto& kTable>
inline std::function<void(const trace::Scope&)> collect;
// What happens while a sample holds the cache, before it hands the rows over.
template <const auto& kTable>
inline std::function<void()> while_held;

template <const auto& kTable>
struct HandOver : collectors::HandOver<kTable> {
  template <typename Buffer>
  void rows(const trace::Scope& trace, tables::Agent<kTable>& agent, Buffer& buffer) {
    if (while_held<kTable>) while_held<kTable>();
    collectors::HandOver<kTable>::rows(trace, agent, buffer);
  }
};

}  // namespace probes

#define DCW_PROBE_TABLE(definition, word, kind, suffix)                                         \
  namespace probes {                                                                            \
  inline constexpr auto k##word =                                                               \
      tables::define(tables::kLongHead, "PROBE" #word, "A probe.", tables::Timing{"Probe", 98}, \
                     tables::integer("PRBNUM", "A number."));                                   \
  inline collectors::CacheEvent g_##word##Event;                                                \
  inline collectors::kind<k##word> g_##word##suffix;                                            \
  }                                                                                             \
  template <>                                                                                   \
  struct collectors::Cached<probes::k##word> {                                                  \
    static constexpr const CacheShape& shape = k##word##Cache;                                  \
    static constexpr CacheEvent& event = probes::g_##word##Event;                               \
    static constexpr kind<probes::k##word>& buffer = probes::g_##word##suffix;                  \
  };                                                                                            \
  template <>                                                                                   \
  inline void collectors::CollectData<probes::k##word>() {                                      \
    DCW_TRACE("CollectData");                                                                   \
    probes::collect<probes::k##word>(trace);                                                    \
  }                                                                                             \
  template <>                                                                                   \
  struct tables::AgentState<probes::k##word> {                                                  \
    std::int32_t instanceNumber = 7;                                                            \
  };                                                                                            \
  template <>                                                                                   \
  inline void tables::Agent<probes::k##word>::TakeSample() {                                    \
    DCW_TRACE("TakeSample");                                                                    \
    collectors::take_sample(trace, *this, probes::HandOver<probes::k##word>{});                 \
  }
DCW_FOR_EACH_CACHE(DCW_PROBE_TABLE)
#undef DCW_PROBE_TABLE

namespace probes {

template <const auto& kTable>
tables::Row<kTable> row(std::int32_t number) {
  tables::Row<kTable> made;
  made.template set<"PRBNUM">(number);
  return made;
}

// A whole collection: that number in the one row, or that many rows of it.
template <const auto& kTable>
void transfer_number(const trace::Scope& trace, std::int32_t number, std::size_t rows = 1) {
  std::remove_cvref_t<decltype(collectors::Cached<kTable>::buffer)> finished;
  if constexpr (std::is_same_v<decltype(finished), collectors::OneRow<kTable>>) {
    finished = row<kTable>(number);
  } else {
    finished.assign(rows, row<kTable>(number));
  }
  collectors::transfer<kTable>(trace, finished);
}

// The number that a sampled row shows.
inline std::int32_t number_of(const std::string& row) {
  std::int32_t number;
  std::memcpy(&number, row.data() + row.size() - sizeof number, sizeof number);
  return number;
}
inline std::vector<std::int32_t> numbers_of(const std::vector<std::string>& rows) {
  std::vector<std::int32_t> numbers;
  for (const std::string& row : rows) numbers.push_back(number_of(row));
  return numbers;
}

// Caching is on, and the agent runs.
class CachedProbes : public testing_support::Sampling {
 protected:
  static constexpr int kInterval_ms = 60000;

  CachedProbes() {
#define DCW_REGISTER(definition, word, kind, suffix) tables::init<k##word>();
    DCW_FOR_EACH_CACHE(DCW_REGISTER)
#undef DCW_REGISTER
    g_cacheInterval = kInterval_ms;
    hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  }
  // Before the test's own things go: its threads use them.
  void TearDown() override {
    close_now(hTerminateEvent.exchange(nullptr));
    g_cacheInterval = 0;
    // The cache threads notice the end only after their pause.
    for (const HANDLE thread : threads_) {
      WaitForSingleObject(thread, INFINITE);
      CloseHandle(thread);
    }
  }

  HANDLE start(std::function<void()> body) {
    bodies_.push_back(std::make_unique<std::function<void()>>(std::move(body)));
    const auto handle = reinterpret_cast<HANDLE>(_beginthreadex(
        nullptr, 0,
        [](void* run) -> unsigned {
          (*static_cast<std::function<void()>*>(run))();
          return 0;
        },
        bodies_.back().get(), 0, nullptr));
    threads_.push_back(handle);
    return handle;
  }
  // The table's cache thread, as Main starts it.
  template <const auto& kTable>
  HANDLE start_cache_thread() {
    return start([] {
      DCW_TRACE("cache thread");
      collectors::run_cache_thread<kTable>(trace);
    });
  }
  // One collection, here and now.
  template <const auto& kTable>
  static void collect_now() {
    collectors::CollectData<kTable>();
  }
  // Another sample that holds the cache for that long; the framework itself never runs two samples
  // of a table at once.
  template <const auto& kTable>
  void start_slow_sample(DWORD held_ms) {
    start([held_ms] {
      DCW_TRACE("slow sample");
      using Table = collectors::Cached<kTable>;
      collectors::CacheHold hold(trace, Table::event, Table::shape.texts);
      ASSERT_TRUE(hold.take_for_sample(collectors::kSampleWait_ms));
      Sleep(held_ms);
      hold.release(Table::shape.texts.sample_release_failed);
    });
  }
  // A collector that holds the cache for that long before it transfers the number.
  template <const auto& kTable>
  void start_slow_transfer(DWORD held_ms, std::int32_t number) {
    start([held_ms, number] {
      DCW_TRACE("slow transfer");
      using Table = collectors::Cached<kTable>;
      collectors::CacheHold hold(trace, Table::event, Table::shape.texts);
      hold.take_for_transfer(Table::shape.event_name);
      Sleep(held_ms);
      Table::buffer = row<kTable>(number);
      hold.release(Table::shape.texts.collector_release_failed);
    });
  }

  template <const auto& kTable>
  static std::vector<std::string> sample() {
    return xaf::DirectSampler(kTable.name).sample();
  }
  std::int64_t now() const { return time_->elapsed_ms(); }

 private:
  std::vector<std::unique_ptr<std::function<void()>>> bodies_;
  std::vector<HANDLE> threads_;
};

}  // namespace probes
