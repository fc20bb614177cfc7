#pragma once
// What the tables that ask the directory within the sample itself have in common: the timer, the
// head of the row and the short host name. One on the stack of a TakeSample.

#include <string_view>

#include "include/platform/sockets.h"
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

// A record's fixed field into a column of the same width, zeros and all.
template <tables::Name kColumn, typename Row, std::size_t kSize>
void copy_field(Row& row, const char (&field)[kSize]) {
  static_assert(Row::template width<kColumn>() == kSize);
  row.template set_zero_padded<kColumn>(std::string_view(field, kSize));
}

}  // namespace collectors
