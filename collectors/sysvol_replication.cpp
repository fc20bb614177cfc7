// Sysvol replication: a live test. A small file is written to this controller's SYSVOL share; after
// a while it is looked for on every partner's, and then deleted everywhere. A partner is a row.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "collectors/background.h"
#include "collectors/cache.h"
#include "collectors/prologue.h"
#include "collectors/sysvol_test_files.h"
#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "directory/repl_utils.h"
#include "include/command_pipe.h"
#include "include/platform/files.h"
#include "include/unique_handle.h"

namespace {

using collectors::ServerNames;
using collectors::SysvolTest;
using tables::DCWSYSRPL;
using PartnerRow = tables::Row<DCWSYSRPL>;
using PartnerRows = collectors::Rows<DCWSYSRPL>;

collectors::CollectorState collector_state;

// False when the collection ends here.
bool begin_test(const trace::Scope& trace, PartnerRow& row, SysvolTest& test) {
  collectors::set_origin_node(row, collector_state);
  ServerNames names;
  names.find_host();
  // Deliberately asked for although no row shows it: the trace then tells whether the directory
  // answered while a test ran.
  char configuration[256] = {};
  DNSUtils::GetConfigurationNamingContext(names.host, configuration);
  if (!names.find_server(trace)) return false;
  names.find_domain(trace);
  char ldap_domain[256] = {};
  ADSIutils::ConvertDNSToLDAP(names.domain, ldap_domain);
  test.host = names.host;
  test.server = names.server;
  test.domain = names.domain;
  ReplUtils::GetReplicationPartnerInDomain(names.server, test.partners);
  return true;
}

PartnerRows rows_of(const trace::Scope& trace, PartnerRow row, const SysvolTest& test) {
  trace.always()("Copying replication partner info and timestamp in Temp Vector");
  PartnerRows rows;
  for (const std::string& partner : test.partners) {
    row.set<"SYSPN">(std::string_view(partner).substr(0, partner.find('.')));
    CKUtil::getMWTimeStamp(row.field<"TIMESTAMP">());
    rows.push_back(row);
  }
  return rows;
}

std::string stamp_now() {
  char stamp[32] = {};
  DWAGetCurrentTime(stamp);
  return stamp;
}

// Writes this controller's file and lets ClearData know of it. False when it could not be created.
bool write_file(const trace::Scope& trace, const SysvolTest& test) {
  const std::string path = test.own_path();
  trace.always()("Temp. File Name: %s", path.c_str());
  const HANDLE opened = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr,
                                    OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  const DWORD error = GetLastError();
  const UniqueHandle file{opened == INVALID_HANDLE_VALUE ? nullptr : opened};
  collectors::remember_sysvol_test(trace, test);
  if (!file) {
    trace.always()("CreateFile() failed: %ld", static_cast<long>(error));
    return false;
  }
  DWORD written = 0;
  if (!WriteFile(file.get(), test.stamp.data(), static_cast<DWORD>(test.stamp.size()), &written,
                 nullptr)) {
    // The test goes on and finds the file empty, here and everywhere.
    trace.error()("WriteFile failed: %ld", static_cast<long>(GetLastError()));
  }
  return true;
}

// Has the partner pull from this controller at once.
void force_partner(const trace::Scope& trace, const std::string& partner,
                   const std::string& server) {
  const std::string command = "ntfrsutl.exe forcerepl " + partner +
                              " /r \"Domain System Volume (SYSVOL share)\" /p " + server;
  collectors::ClearEventHold hold(trace);
  if (hold.is_held()) {
    trace.always()("ntfrsutl Command: %s", command.c_str());
    CommandPipe pipe(command);
    char line[1024];
    while (pipe.read_line(line)) trace.always()("NTFRSUTL : %s", line);
    pipe.close();
    hold.release();
  }
  // Deliberately said of every wait, the successful ones included.
  trace.always()("WaitForSingleObject Returned error: %ld",
                 static_cast<long>(static_cast<std::int32_t>(hold.wait_result())));
}

void start_replication(const trace::Scope& trace, const SysvolTest& test, PartnerRows& rows) {
  for (std::size_t i = 0; i < rows.size(); ++i) {
    CKUtil::getMWTimeStamp(rows[i].field<"SYSRTST">());
    if (g_forceReplication != 0) force_partner(trace, test.partners[i], test.server);
  }
}

// The partner's copy against ours, which is null where it could not be read.
bool has_arrived(const trace::Scope& trace, const std::string& path, const std::string* own) {
  trace.always()("File Name on replication partner: %s", path.c_str());
  if (_access(path.c_str(), 0) != 0) {
    trace.always()("Can not access file '%s'", path.c_str());
    return false;
  }
  std::string content;
  const bool is_read = GetFileContent(path, content) == ERROR_SUCCESS;
  return is_read && own != nullptr && content == *own;
}

void verify(const trace::Scope& trace, const SysvolTest& test, PartnerRows& rows) {
  std::string own;
  const bool is_read = GetFileContent(test.own_path(), own) == ERROR_SUCCESS;
  if (!is_read) trace.always()("GetFileContent failed for %s", test.own_path().c_str());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const std::string path = test.path_on(test.partners[i]);
    status::step("looks for the test file on", test.partners[i]);
    rows[i].set<"SYSRS">(has_arrived(trace, path, is_read ? &own : nullptr) ? 1 : 0);
    CKUtil::getMWTimeStamp(rows[i].field<"SYSRTVT">());
  }
}

// A sample always looks fresh, however old the test's own times are.
struct HandOverPartners : collectors::HandOver<DCWSYSRPL> {
  void rows(const trace::Scope& /*trace*/, tables::Agent<DCWSYSRPL>& agent,
            const PartnerRows& all) {
    for (PartnerRow row : all) {
      CKUtil::getMWTimeStamp(row.field<"TIMESTAMP">());
      agent.AddData(row.data(), 1);
    }
  }
};

}  // namespace

template <>
void collectors::CollectData<DCWSYSRPL>() {
  DCW_TRACE("CollectData");
  PartnerRow row;
  SysvolTest test;
  if (!begin_test(trace, row, test)) return;
  PartnerRows rows = rows_of(trace, row, test);
  test.stamp = stamp_now();
  status::step("writes the test file");
  if (!write_file(trace, test)) return;
  status::step("lets the test file stand before it forces replication");
  Sleep(static_cast<DWORD>(g_fileCreationGap.load()));
  start_replication(trace, test, rows);
  status::step("waits for the test file to replicate");
  Sleep(static_cast<DWORD>(g_sysvolVerificationInterval.load()));
  verify(trace, test, rows);
  transfer<DCWSYSRPL>(trace, rows);
  status::step("deletes the test file everywhere");
  ClearData();
}

// Takes no g_collectLock: the other tables would wait for its pauses.
unsigned CollectAndCacheSPRLData(void* /*argument*/) {
  DCW_TRACE("CollectAndCacheSPRLData");
  while (hTerminateEvent != nullptr) {
    collectors::collect_without_lock<DCWSYSRPL>();
    Sleep(static_cast<DWORD>(g_sysvolTestInterval - g_sysvolVerificationInterval));
  }
  return trace.returns(0u);
}

template <>
void tables::Agent<DCWSYSRPL>::TakeSample() {
  DCW_TRACE("TakeSample");
  collectors::take_sample(trace, *this, HandOverPartners{});
}
