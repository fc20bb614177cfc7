// A few facts of the domain, and the number of its objects as the counting thread left it.

#include <cstdio>
#include <cstring>
#include <string>

#include "collectors/object_count.h"
#include "collectors/on_demand.h"
#include "directory/adsi_utils.h"
#include "directory/automation.h"
#include "directory/dns_utils.h"
#include "directory/files.h"
#include "include/decimal.h"
#include "tables/classes.h"

namespace {

using tables::DCWNTDSLDA;

constexpr int kLastLevelWithoutRecycleBin = 3;

tables::OriginNode localHostPadded;

// The forest's distinguished name. It is given with a newline behind it, which no name has.
std::string find_forest(const char* host) {
  char forest[256] = {};
  ADSIutils::GetForestName(host, forest);
  forest[std::strcspn(forest, "\n")] = '\0';
  return forest;
}

// 0 when it cannot be read.
int functional_level(const trace::Scope& trace, const std::string& forest) {
  char level[64] = {};
  if (ADSIutils::GetAttributeValue(forest.c_str(), "msDS-Behavior-Version", level) == -1) {
    trace.always()("Functional Level fetching failed: error");
  }
  return decimal_number(level);
}

void fill_recycle_bin(const trace::Scope& trace, const std::string& forest,
                      tables::Row<DCWNTDSLDA>& row) {
  if (functional_level(trace, forest) <= kLastLevelWithoutRecycleBin) {
    row.set<"LDAPARCBS">(2);
    row.set<"LDAPAOFDJ">(1);
    return;
  }
  row.set<"LDAPAOFDJ">(0);
  const std::string path =
      "LDAP://CN=Recycle Bin Feature,CN=Optional Features,CN=Directory Service,CN=Windows NT,"
      "CN=Services,CN=Configuration," +
      forest;
  std::uint8_t enabled = 0;
  DNSUtils::IsOptionalFeatureEnabled(path.c_str(), enabled);
  row.set<"LDAPARCBS">(enabled != 0 ? 1 : 0);
}

// The query layer raises its failures; here they are a count that failed like any other.
std::int32_t locked_users(const trace::Scope& trace) {
  std::int32_t count = 0;
  try {
    if (DNSUtils::GetNumberOfUsersLocked(count) != -1) return count;
  } catch (const directory::AutomationError& error) {
    trace.error()("%s", error.what());
  }
  trace.always()("GetNumberOfUsersLocked failed: error");
  return 0;
}

std::int32_t objects_in_domain(const trace::Scope& trace) {
  const std::string path = collectors::object_count_path();
  trace.always()("Path for NumberOfObjects file :%s", path.c_str());
  // One byte more tells whether anything is cut.
  auto file = directory::read_file(path, collectors::kObjectCountSize + 1);
  if (!file) {
    trace.always()("Error: Number Of Objects file open failed: NumberOfObjects.txt");
    return 0;
  }
  if (file->size() > collectors::kObjectCountSize) {
    file->resize(collectors::kObjectCountSize);
    trace.error()("The file is cut at %zu characters", file->size());
  }
  trace.always()("String from file : %s", file->c_str());
  const std::int32_t count = collectors::object_count(*file);
  trace.always()("Integer : %d", static_cast<int>(count));
  return count;
}

}  // namespace

template <>
void tables::Agent<DCWNTDSLDA>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::OnDemandSample<DCWNTDSLDA> sample;
  sample.begin(localHostPadded);
  fill_recycle_bin(trace, find_forest(sample.host_name()), sample.row);
  sample.row.set<"LDAPAUSLK">(locked_users(trace));
  sample.row.set<"LDAPAOBDM">(objects_in_domain(trace));
  trace.always()("LDAP Attributes Data collection complete. Transfer to global buffer");
  AddData(sample.row.data(), 1);
  sample.report();
}
