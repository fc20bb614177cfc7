#pragma once
// What every collection begins with: the head of the row, and the names of this server. Which of
// these steps a table takes stands in its entry of collectors/caches.h.

#include <cstdint>
#include <type_traits>

#include "collectors/caches.h"
#include "include/trace.h"
#include "tables/ckutil.h"
#include "tables/origin_node.h"

namespace collectors {

// What a table keeps between collections. One a table, static, without a lock: one thread at a time
// runs a table's collection.
struct CollectorState {
  tables::OriginNode localHostPadded;
  std::uint32_t samples = 0;
};

// This server's names as one collection finds them. Each ends with a zero.
struct ServerNames {
  static constexpr std::int32_t kServerSize = 200;  // without its zero end

  char host[64] = {};                 // "dc1"
  char server[kServerSize + 1] = {};  // "dc1.corp.example"
  char domain[72] = {};               // "corp.example"; empty for a server name without a dot

  // The short name; empty when the machine does not tell it.
  void find_host();
  // The full name of host. False, and told, when it cannot be found: the collection ends there.
  bool find_server(const trace::Scope& trace);
  // The domain of the full name; one that is too long is cut, and told.
  void find_domain(const trace::Scope& trace);
};

template <const auto& kTable>
void set_origin_node(tables::Row<kTable>& row, CollectorState& state) {
  if (!Cached<kTable>::shape.prologue.keeps_origin_node) state.localHostPadded = {};
  row.template set<"ORIGINNODE">(state.localHostPadded.padded());
}

// Head of the row: node, sample number and, in the tables of one row, row number 1, and time.
template <const auto& kTable>
void begin_row(tables::Row<kTable>& row, CollectorState& state) {
  set_origin_node(row, state);
  if constexpr (Cached<kTable>::shape.prologue.numbers_samples) {
    row.template set<"SAMPLENO">(static_cast<std::int32_t>(++state.samples));
  }
  if constexpr (std::is_same_v<std::remove_cvref_t<decltype(Cached<kTable>::buffer)>,
                               OneRow<kTable>>) {
    row.template set<"ROWNO">(1);
  }
  CKUtil::getMWTimeStamp(row.template field<"TIMESTAMP">());
}

// The whole prologue. False when the collection ends here, with nothing transferred.
template <const auto& kTable>
bool begin_collection(const trace::Scope& trace, tables::Row<kTable>& row, CollectorState& state,
                      ServerNames& names) {
  begin_row(row, state);
  names.find_host();
  if (!names.find_server(trace)) return false;
  names.find_domain(trace);
  return true;
}

}  // namespace collectors
