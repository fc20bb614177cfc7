// Whether a domain controller is a read-only one.

#include <array>
#include <memory>
#include <string>

#include "directory/adsi_utils.h"
#include "directory/dns_utils.h"
#include "include/platform/directory_services.h"
#include "include/trace.h"

namespace {

struct FreeRecord {
  void operator()(DOMAIN_CONTROLLER_INFOA* record) const { NetApiBufferFree(record); }
};

constexpr ULONG kReadOnly = 0x800;

}  // namespace

int DNSUtils::IsReadOnlyDC(const char* server, std::uint8_t& flag) {
  DCW_TRACE("IsReadOnlyDC");
  flag = 0;
  std::array<char, 260> forest{};
  if (ADSIutils::GetForestName(server, forest) != 0) {
    trace.error()("GetConfigurationNamingContext failed\n");
    return trace.returns(ADSI_OBJECT_ERR);
  }
  std::array<char, 260> name{};
  if (ADSIutils::ConvertLDAPToDNS(forest.data(), name) != 0) {
    trace.error()("ADSIutils::ConvertLDAPToDNS failed\n");
    return trace.returns(ADSI_OBJECT_ERR);
  }
  std::string domain(name.data());
  if (!domain.empty()) domain.pop_back();  // the newline that the forest's name ends in
  trace.error()("DNS Domain Name = [%s]", domain.c_str());
  PDOMAIN_CONTROLLER_INFOA info = nullptr;
  const DWORD status = DsGetDcNameA(nullptr, domain.c_str(), nullptr, nullptr, 0, &info);
  const std::unique_ptr<DOMAIN_CONTROLLER_INFOA, FreeRecord> controller(info);
  if (status != ERROR_SUCCESS || controller == nullptr) {
    trace.error()("DsGetDcName failed, GetLastError() value = %d\n", int(GetLastError()));
    return trace.returns(ADSI_OBJECT_ERR);
  }
  if ((controller->Flags & kReadOnly) != 0) flag = 1;
  return trace.returns(0);
}
