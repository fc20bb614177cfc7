// ReplicationPartner: one row for each neighbour and naming context that this server replicates
// from: when that last worked, and why it failed.

#include <string>
#include <string_view>

#include "collectors/cache.h"
#include "collectors/neighbours.h"
#include "collectors/prologue.h"
#include "directory/adsi_utils.h"
#include "directory/dsf_utils.h"
#include "directory/patterns.h"
#include "directory/repl_utils.h"
#include "include/platform/text.h"
#include "include/platform/time.h"

namespace {

using tables::DCWNTDSRPL;
using Row = tables::Row<DCWNTDSRPL>;

collectors::CollectorState collector_state;
// Of the next row. Counts on from collection to collection and over everything.
std::uint32_t rowCounter = 1;

// A time that never was, 0, is shown like any other. One that this system cannot convert shows
// zeros in the same form.
std::string time_text(const FILETIME& time) {
  SYSTEMTIME universal{};
  SYSTEMTIME local{};
  if (FileTimeToSystemTime(&time, &universal) != 0) {
    SystemTimeToTzSpecificLocalTime(nullptr, &universal, &local);
  }
  return directory::time_text(local);
}

// The system's text for the last result, also where that is a success.
void set_result_text(DWORD result, Row& row) {
  wchar_t text[4096] = {};
  ReplUtils::GetErrorText(result, text);
  const auto utf16 = utf16_of(text);
  CKUtil::mwUTF16toASCIIcpy(row.field<"RPLFRT">(), utf16.c_str(),
                            std::int32_t{Row::width<"RPLFRT">()}, 0);
  CKUtil::mwUTF16toUTF8cpy(row.field<"RPLFRTU">(), utf16.c_str(),
                           std::int32_t{Row::width<"RPLFRTU">()});
}

// Fills every column that differs from neighbour to neighbour.
void set_neighbour(const DS_REPL_NEIGHBORW& neighbour, std::string_view site, Row& row) {
  row.set<"ROWNO">(static_cast<std::int32_t>(rowCounter));
  char directory_name[256] = {};
  ADSIutils::ConvertLDAPToDNS(collectors::naming_context_of(neighbour).c_str(), directory_name);
  row.set<"RPLDIR">(directory_name);
  const collectors::Partner partner(neighbour);
  row.set<"RPLPART">(partner.host);
  row.set<"RPLPST">(partner.site);
  row.set<"RPLTYPE">(site == partner.site ? "IntraSite" : "InterSite");
  row.set<"RPLPSTM">(time_text(neighbour.ftimeLastSyncSuccess));
  row.set<"RPLPATM">(time_text(neighbour.ftimeLastSyncAttempt));
  row.set<"RPLFAIL">(static_cast<std::int32_t>(neighbour.cNumConsecutiveSyncFailures));
  set_result_text(neighbour.dwLastSyncResult, row);
}

}  // namespace

template <>
void collectors::CollectData<DCWNTDSRPL>() {
  DCW_TRACE("CollectData");
  Row row;
  ServerNames names;
  if (!begin_collection(trace, row, collector_state, names)) return;
  row.set<"RPLHN">(names.server);
  char site[1024] = {};
  DSFUtils::GetSiteName(names.host, site);
  row.set<"RPLSITE">(site);
  Rows<DCWNTDSRPL> rows;
  const Neighbours neighbours(names.domain);
  if (neighbours.answered()) {
    trace.always()("partnerIndex: <%ld>", static_cast<long>(neighbours.all().size()));
  }
  for (const DS_REPL_NEIGHBORW& neighbour : neighbours.all()) {
    set_neighbour(neighbour, site, row);
    trace.always()("RPL Data collection complete.Transfer to global buffer");
    rows.push_back(row);
    ++rowCounter;
  }
  // Also when nobody answered: no rows are better than those of partners that may be gone.
  transfer<DCWNTDSRPL>(trace, rows);
}

template <>
void tables::Agent<DCWNTDSRPL>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this);
}
