// The system's DNS calls over the controller's name server.

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "include/platform/dns.h"
#include "platform/control.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"

namespace {

platform::accounting::Counter live_records{"dns record"};

constexpr DWORD kAnswer = 1;
constexpr DWORD kAdditional = 3;

char* copy_text(const std::string& text) {
  auto copy = std::make_unique<char[]>(text.size() + 1);
  std::memcpy(copy.get(), text.c_str(), text.size() + 1);
  return copy.release();
}

void fill_data(const platform::DnsRecord& record, DNS_RECORDA& filled) {
  switch (record.type) {
    case DNS_TYPE_A:
      filled.wDataLength = sizeof filled.Data.A;
      std::memcpy(&filled.Data.A.IpAddress, record.address.data(), sizeof(IP4_ADDRESS));
      break;
    case DNS_TYPE_AAAA:
      filled.wDataLength = sizeof filled.Data.AAAA;
      std::memcpy(&filled.Data.AAAA.Ip6Address, record.address.data(), record.address.size());
      break;
    case DNS_TYPE_SRV:
      filled.wDataLength = sizeof filled.Data.SRV;
      filled.Data.SRV = {copy_text(record.target), record.priority, record.weight, record.port, 0};
      break;
    default:
      filled.wDataLength = sizeof filled.Data.PTR;
      filled.Data.PTR.pNameHost = copy_text(record.target);
      break;
  }
}

PDNS_RECORD make_record(const platform::DnsRecord& record) {
  auto made = std::make_unique<DNS_RECORDA>();
  made->pName = copy_text(record.name);
  made->wType = record.type;
  made->Flags.S.Section = record.is_answer ? kAnswer : kAdditional;
  made->dwTtl = record.ttl_s;
  fill_data(record, *made);
  live_records.add();
  return made.release();
}

}  // namespace

DNS_STATUS DnsQuery_A(PCSTR name, WORD type, DWORD, IP4_ARRAY*, PDNS_RECORD* results, PVOID*) {
  if (results != nullptr) *results = nullptr;
  if (const auto fault = platform::fault_point("DnsQuery_A", DNS_ERROR_RCODE_SERVER_FAILURE)) {
    return static_cast<DNS_STATUS>(fault->code);
  }
  if (name == nullptr || results == nullptr) return ERROR_INVALID_PARAMETER;
  const auto holder = platform::controller();
  platform::DnsSource* dns = holder->dns();
  if (dns == nullptr) return platform::kDnsTimeout;
  std::vector<platform::DnsRecord> records;
  const DNS_STATUS status = dns->query(name, type, records);
  if (status != 0) return status;
  PDNS_RECORD* next = results;
  for (const platform::DnsRecord& record : records) {
    *next = make_record(record);
    next = &(*next)->pNext;
  }
  return 0;
}

void DnsRecordListFree(PDNS_RECORD records, DNS_FREE_TYPE) {
  while (records != nullptr) {
    const std::unique_ptr<DNS_RECORDA> record(records);
    records = record->pNext;
    delete[] record->pName;
    if (record->wType == DNS_TYPE_SRV) {
      delete[] record->Data.SRV.pNameTarget;
    } else if (record->wType != DNS_TYPE_A && record->wType != DNS_TYPE_AAAA) {
      delete[] record->Data.PTR.pNameHost;
    }
    live_records.remove();
  }
}
