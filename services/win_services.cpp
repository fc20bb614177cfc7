// The Win32 services of this machine, one row a service, all handed over at once.

#include <memory>
#include <new>

#include "services/service.h"
#include "services/words.h"
#include "tables/ckutil.h"
#include "tables/classes.h"
#include "tables/origin_node.h"
#include "tables/row.h"
#include "tables/timing.h"

namespace {

using tables::DCWNTDSSVC;
using ServiceRow = tables::Row<DCWNTDSSVC>;
static_assert(sizeof(ServiceRow) == DCWNTDSSVC.row_size());

tables::OriginNode localHostPadded;

template <tables::Name kColumn>
void set_ascii(ServiceRow& row, const wchar_t* text) {
  CKUtil::mwUTF16toASCIIcpy(row.field<kColumn>(), utf16_of(text).c_str(),
                            static_cast<std::int32_t>(row.width<kColumn>()), 0);
}
template <tables::Name kColumn>
void set_utf8(ServiceRow& row, const wchar_t* text) {
  CKUtil::mwUTF16toUTF8cpy(row.field<kColumn>(), utf16_of(text).c_str(),
                           static_cast<std::int32_t>(row.width<kColumn>()));
}

void fill(ServiceRow& row, std::int32_t number, const ServiceRecord& record) {
  // A service that memory ran out for has neither part; it shows as one that could not be read.
  const DWORD state = record.status ? record.status->dwCurrentState : static_cast<DWORD>(-1);
  QUERY_SERVICE_CONFIGW config = {};
  config.dwStartType = static_cast<DWORD>(-1);
  if (record.config) config = record.config[0];
  row.set<"ORIGINNODE">(localHostPadded.padded());
  row.set<"ROWNO">(number);
  CKUtil::getMWTimeStamp(row.field<"TIMESTAMP">());
  set_ascii<"DISPNAME">(row, config.lpDisplayName);
  char state_word[kServiceWordSize] = {};
  row.set<"CURRSTAT">(GetStateWord(state, state_word));
  char start_type_word[kServiceWordSize] = {};
  row.set<"STARTYPE">(GetStartTypeWord(config.dwStartType, start_type_word));
  set_ascii<"BINARYEX">(row, config.lpBinaryPathName);
  set_ascii<"ACCONTID">(row, config.lpServiceStartName);
  set_ascii<"LORGROUP">(row, config.lpLoadOrderGroup);
  set_ascii<"SRVCNAME">(row, record.name.get());
  set_utf8<"UDISPNAME">(row, config.lpDisplayName);
  set_utf8<"UBINARYEX">(row, config.lpBinaryPathName);
  set_utf8<"UACCONTID">(row, config.lpServiceStartName);
}

// A cleared row for each service, or null when memory ran out.
std::unique_ptr<ServiceRow[]> make_rows(const trace::Scope& trace, std::uint32_t count) {
  std::unique_ptr<ServiceRow[]> rows(new (std::nothrow) ServiceRow[count]);
  if (rows == nullptr) {
    trace.error()("Not enough memory!  (%d bytes requested.)",
                  static_cast<int>(count * sizeof(ServiceRow)));
    return nullptr;
  }
  trace.always()("memset");  // rows are made cleared
  return rows;
}

}  // namespace

template <>
void tables::Agent<DCWNTDSSVC>::TakeSample() {
  DCW_TRACE("TakeSample");
  TimerRecord timer;
  startTimer(&timer);
  CService services(SERVICE_WIN32, nullptr);
  localHostPadded.padded();
  if (services.GetData(nullptr) != 0) {
    trace.always()("GetData...");
    const std::uint32_t count = services.GetRowCount();
    const std::unique_ptr<ServiceRow[]> rows = make_rows(trace, count);
    if (rows == nullptr) return;
    trace.always()("copy data into buffer");
    for (std::uint32_t i = 0; i < count; ++i) {
      fill(rows[i], static_cast<std::int32_t>(i + 1), services.GetRows()[i]);
    }
    this->ClearCount();
    trace.detail()("Returned %d rows.", static_cast<int>(count));
    this->AddData(reinterpret_cast<char*>(rows.get()), static_cast<std::int32_t>(count));
    trace.detail()("Sent %d rows.", static_cast<int>(count));
  }
  stopTimer(&timer);
  printTimerResults(&timer, DCWNTDSSVC.timing.index, DCWNTDSSVC.timing.word, "TakeSample");
}
