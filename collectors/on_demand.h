#pragma once
// What the tables that ask the directory within the sample itself have in common: the timer, the
// head of the row, the names of this server and the numbering of rows. One on the stack of a
// TakeSample.

#include <cstdint>
#include <span>
#include <string_view>

#include "include/platform/sockets.h"
#include "include/trace.h"
#include "tables/ckutil.h"
#include "tables/origin_node.h"
#include "tables/row.h"
#include "tables/timing.h"

namespace collectors {

template <const auto& kTable>
class OnDemandSample {
 public:
  // The first work of a sample: from here its time counts.
  OnDemandSample() { startTimer(&timer_); }
  OnDemandSample(const OnDemandSample&) = delete;
  OnDemandSample& operator=(const OnDemandSample&) = delete;

  tables::Row<kTable> row;
  // The short host name; empty when the machine does not tell it.
  const char* host_name() const { return host_name_; }

  // Fills the row's head and the host name. The origin node is the table's own, kept from its first
  // sample on.
  void begin(tables::OriginNode& localHostPadded) {
    row.template set<"ORIGINNODE">(localHostPadded.padded());
    CKUtil::getMWTimeStamp(row.template field<"TIMESTAMP">());
    if (gethostname(host_name_, int{sizeof host_name_}) != 0) host_name_[0] = '\0';
  }
  // The last work of a sample that got as far as its rows; any other one is not reported.
  void report() {
    stopTimer(&timer_);
    printTimerResults(&timer_, kTable.timing.index, kTable.timing.word, "TakeSample");
  }

 private:
  TimerRecord timer_;
  char host_name_[64] = {};
};

// What the tables keep that number their samples and rows; one a table, static, without a lock: the
// framework never runs two samples of one table at once.
class Numbering {
 public:
  // Writes the numbers of a sample that begins. All its rows carry the same row number, which the
  // rows of the samples before have counted up: deliberately so, the receiving side knows it.
  template <typename Row>
  void begin(Row& row) {
    row.template set<"SAMPLENO">(static_cast<std::int32_t>(++samples_));
    row.template set<"ROWNO">(static_cast<std::int32_t>(next_row_));
  }
  void count_row() { ++next_row_; }

 private:
  std::uint32_t samples_ = 0;
  std::uint32_t next_row_ = 1;
};

// The distinguished name of this server's domain. False, traced, when the server's full name cannot
// be had: such a sample ends there.
bool find_domain(const trace::Scope& trace, std::span<char> ldapDomain);

// A record's fixed field into a column of the same width, zeros and all.
template <tables::Name kColumn, typename Row, std::size_t kSize>
void copy_field(Row& row, const char (&field)[kSize]) {
  static_assert(Row::template width<kColumn>() == kSize);
  row.template set_zero_padded<kColumn>(std::string_view(field, kSize));
}

}  // namespace collectors
