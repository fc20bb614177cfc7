#pragma once
// Every cached table: its buffer, its event, and how its cycle differs from the others', as data.
// The cycle itself is written once, in collectors/cache.h.

#include <cstdint>
#include <vector>

#include "collectors/cache_event.h"
#include "include/collection_status.h"
#include "tables/classes.h"
#include "tables/row.h"

namespace collectors {

// Which of a collection's first steps a table takes, and how.
struct PrologueShape {
  bool keeps_origin_node;  // asks the framework for the node name once, not at every collection
  bool numbers_samples;    // counts its collections and shows the number
};

struct CacheShape {
  status::Job job;
  const char* event_name;
  CacheTexts texts;
  PrologueShape prologue;
  // Two letters that tell the sample object's number; null for tables that number none.
  const char* instance = nullptr;
  // Told around the transfer; null is not told.
  const char* transfer = nullptr;
  const char* transferred = nullptr;
  const char* hand_over = nullptr;
  // Without caching a sample collects by itself first.
  bool collects_in_sample = true;
  // A sample that finds no event says so.
  const char* no_event = nullptr;
  // A sample tells when its object takes the cache and gives it up.
  bool tells_lock_by_instance = false;
  // Both sides tell how many rows there are, in these words; and the collector when there is none.
  const char* row_count = nullptr;
  const char* no_rows = nullptr;
};

template <const auto& kTable>
using OneRow = tables::Row<kTable>;
template <const auto& kTable>
using Rows = std::vector<tables::Row<kTable>>;

// X(definition, word in the names of event and buffer, kind of buffer, Row or Rows in its name)
#define DCW_FOR_EACH_CACHE(X)       \
  X(DCWNTDSDCA, DCA, OneRow, Row)   \
  X(DCWNTDSDAI, DNSAd, OneRow, Row) \
  X(DCWNTDSDRA, DRA, OneRow, Row)   \
  X(DCWNTDSDCP, DCP, OneRow, Row)   \
  X(DCWNTDSRLT, RLT, Rows, Rows)    \
  X(DCWNTDSRPL, RPL, Rows, Rows)    \
  X(DCWNTDSTRS, TRS, Rows, Rows)    \
  X(DCWNTDSTTP, TTP, Rows, Rows)    \
  X(DCWSYSRPL, sysvol, Rows, Rows)

inline constexpr PrologueShape kKept = {true, true};
inline constexpr PrologueShape kRefreshed = {false, true};

inline constexpr CacheShape kDCACache = {
    .job = status::Job::kDCA,
    .event_name = "DCA",
    // Both sides leave a failed reset untold; a sample tells its steps by its object's number.
    .texts = {.word = "DCA", .tells_failed_lock = false},
    .prologue = kRefreshed,
    .instance = "CA",
    .transfer = "DCA Data collection complete.Transfer to global buffer",
    .transferred = "DCA Transfer to global buffer complete",
    .hand_over = "AddData Global DCA buffer",
    .tells_lock_by_instance = true,
};
inline constexpr CacheShape kDNSAdCache = {
    .job = status::Job::kDNSAd,
    .event_name = "DNS",
    .texts = {.word = "DNSAd"},
    .prologue = kKept,
    .instance = "DA",
    .transfer = "DNSAd Data collection complete.Transfer to global buffer",
    .transferred = "DNSAd Transfer to global buffer complete",
    .hand_over = "AddData Global DNSAd buffer",
};
inline constexpr CacheShape kDRACache = {
    .job = status::Job::kDRA,
    .event_name = "DRA",
    .texts = {.word = "DRA",
              .collector_release_failed = "Unlock cache lock failed: ",
              // The same words as for the failed reset.
              .sample_release_failed = "Lock cache lock failed: "},
    .prologue = kRefreshed,
    .transfer = "DRA Data collection complete. Transfer to global buffer",
    .transferred = "DRA Transfer to global buffer complete",
    .hand_over = "AddData Global DRA buffer",
};
inline constexpr CacheShape kDCPCache = {
    .job = status::Job::kDCP,
    .event_name = "DCP",
    .texts = {.word = "DCP"},
    .prologue = kKept,
    .transfer = "DCP Data collection complete.Transfer to global buffer",
    .transferred = "DCP Transfer to global buffer complete",
    .hand_over = "AddData Global DCP buffer",
};
inline constexpr CacheShape kRLTCache = {
    .job = status::Job::kRLT,
    .event_name = "RLT",
    .texts = {.word = "RLT"},
    .prologue = kKept,
    .instance = "LA",
    .transferred = "RLT Transfer to global buffer complete",
    .hand_over = "AddData Global RLT buffer",
};
inline constexpr CacheShape kRPLCache = {
    .job = status::Job::kRPL,
    .event_name = "RPL",
    .texts = {.word = "RPL"},
    .prologue = kKept,
    // Its collector tells each row as it is finished, and so nothing is left for the transfer.
    .transferred = "RPL Transfer to global buffer complete",
    .hand_over = "AddData Global RPL buffer",
};
inline constexpr CacheShape kTRSCache = {
    .job = status::Job::kTRS,
    .event_name = "TRS",
    .texts = {.word = "TRS"},
    .prologue = {.keeps_origin_node = true, .numbers_samples = false},
    .instance = "TR",
    .transfer = "TRS Data writing to global buffer ",
    .transferred = "TRS Transfer to global buffer complete",
    .hand_over = "AddData Global TRS buffer",
};
inline constexpr CacheShape kTTPCache = {
    .job = status::Job::kTTP,
    .event_name = "TTP",
    .texts = {.word = "TTP"},
    .prologue = {.keeps_origin_node = false, .numbers_samples = false},
    .transfer = "TTP Data writing to global buffer ",
    .transferred = "TTP Transfer to global buffer complete",
    .hand_over = "AddData Global TTL buffer",
};
// Says RPL in two places, where the partner table says it too.
inline constexpr CacheShape ksysvolCache = {
    .job = status::Job::kSysvol,
    .event_name = "SYSRPL",
    .texts = {.word = "SYSRPL",
              .creating = "Creaeting Event",
              .tells_error_numbers = true,
              // Deliberately without the number that the sample tells.
              .collector_release_failed = "Release cache lock failed: ld"},
    .prologue = {.keeps_origin_node = false, .numbers_samples = false},
    .transferred = "RPL Transfer to global buffer complete",
    .hand_over = "AddData Global RPL buffer",
    .collects_in_sample = false,
    .no_event = "Event is not initilized",
    .row_count = "Sysvol Replication partner Count: ",
    .no_rows = "Error No Data in global vector1",
};

// Where a cached table's things are: Cached<tables::DCWNTDSDCP>::shape, event and buffer.
template <const auto& kTable>
struct Cached;

// Makes the table's rows and transfers them, or returns without a transfer. One thread at a time: a
// cache thread under g_collectLock or, without caching, the table's lane of the framework. Each
// table's source unit has its own.
template <const auto& kTable>
void CollectData();

}  // namespace collectors

// g_DCPEvent, g_DCPRow and so on: written by the table's collection under the table's event, and
// there to the end of the process.
#define DCW_DECLARE_CACHE(definition, word, kind, suffix)                 \
  extern collectors::CacheEvent g_##word##Event;                          \
  extern collectors::kind<tables::definition> g_##word##suffix;           \
  template <>                                                             \
  struct collectors::Cached<tables::definition> {                         \
    static constexpr const CacheShape& shape = k##word##Cache;            \
    static constexpr CacheEvent& event = g_##word##Event;                 \
    static constexpr kind<tables::definition>& buffer = g_##word##suffix; \
  };                                                                      \
  template <>                                                             \
  void collectors::CollectData<tables::definition>();
DCW_FOR_EACH_CACHE(DCW_DECLARE_CACHE)
#undef DCW_DECLARE_CACHE
