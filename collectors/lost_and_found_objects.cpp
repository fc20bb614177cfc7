// What lies in the LostAndFound container of this server's domain.

#include <cstring>
#include <iostream>
#include <string_view>

#include "collectors/on_demand.h"
#include "directory/lost_objects.h"
#include "directory/result_codes.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSLFO;

tables::OriginNode localHostPadded;
collectors::Numbering numbering;

// The front of a field, as wide as its column: the text, its zero end and the blanks behind it.
template <tables::Name kColumn>
void copy_front(tables::Row<DCWNTDSLFO>& row, const char (&field)[256]) {
  row.set_zero_padded<kColumn>({field, tables::Row<DCWNTDSLFO>::width<kColumn>()});
}

}  // namespace

template <>
void tables::Agent<DCWNTDSLFO>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::OnDemandSample<DCWNTDSLFO> sample;
  std::cout << "collecting LostAndFound Objects data" << std::flush;
  sample.begin(localHostPadded);
  numbering.begin(sample.row);
  trace.always()("HostName : <%s>\n", sample.host_name());
  char ldapDomain[256] = {};
  if (!collectors::find_domain(trace, ldapDomain)) return;
  int opened = 0;
  const LostObjectsEnum lost(sample.host_name(), ldapDomain, opened);
  if (opened != 0) trace.always()("Enum failed\n");
  LostObject object;
  while (opened == 0 && LostObjectsEnum::GetObject(object) != ADSI_ENUM_END) {
    copy_front<"LFONAM">(sample.row, object.name);
    copy_front<"LFOTYP">(sample.row, object.className);
    trace.always()("LFO Name:<%.*s>", int{sizeof object.name}, object.name);
    trace.always()("LFO Type:<%.*s>", int{sizeof object.className}, object.className);
    AddData(sample.row.data(), 1);
    numbering.count_row();
    // What the next object does not tell must not show what this one did.
    object = {};
  }
  LostObjectsEnum::FreeLostObject();
  sample.report();
}
