// The locator and trust calls: the controller's answers as Windows hands them out.

#include <string>

#include "include/platform/directory_services.h"
#include "platform/control.h"
#include "platform/directory_services/block.h"
#include "platform/directory_services/names.h"
#include "platform/directory_services/services.h"
#include "platform/kernel/fault_point.h"

namespace {

using platform::bare_name;
using platform::Block;
using platform::guid_of;
using platform::LocatedController;
using platform::LocatorQuestion;

platform::accounting::Counter network_buffers{"network buffer"};

// Of a machine without these services: nobody there knows of a domain, and no other machine
// answers.
DWORD absent(std::string_view server) {
  return server.empty() ? platform::kStatusNoSuchDomain : platform::kStatusServerUnavailable;
}

char* text_or_null(Block& block, const std::string& text) {
  return text.empty() ? nullptr : block.text(std::string_view(text));
}

DWORD hand_out(const LocatedController& found, const std::string& client_site,
               PDOMAIN_CONTROLLER_INFOA* info) {
  const std::string name = "\\\\" + found.name;
  const std::string address = "\\\\" + found.address;
  std::size_t size = Block::part_size(sizeof(DOMAIN_CONTROLLER_INFOA));
  for (const std::string& text :
       {name, address, found.domain, found.forest, found.site, client_site}) {
    size += Block::text_size(std::string_view(text));
  }
  Block block(network_buffers, size);
  if (!block) return ERROR_NOT_ENOUGH_MEMORY;
  auto* record = static_cast<DOMAIN_CONTROLLER_INFOA*>(block.part(sizeof(DOMAIN_CONTROLLER_INFOA)));
  record->DomainControllerName = block.text(std::string_view(name));
  record->DomainControllerAddress = block.text(std::string_view(address));
  record->DomainControllerAddressType = DS_INET_ADDRESS;
  record->DomainGuid = guid_of(found.domain_guid);
  record->DomainName = block.text(std::string_view(found.domain));
  record->DnsForestName = block.text(std::string_view(found.forest));
  record->Flags = found.flags | DS_DNS_CONTROLLER_FLAG | DS_DNS_DOMAIN_FLAG | DS_DNS_FOREST_FLAG;
  record->DcSiteName = text_or_null(block, found.site);
  record->ClientSiteName = text_or_null(block, client_site);
  block.release();
  *info = record;
  return ERROR_SUCCESS;
}

void fill(Block& block, const platform::DomainTrust& trust, DS_DOMAIN_TRUSTSA& record) {
  record.NetbiosDomainName = block.text(std::string_view(trust.netbios_name));
  record.DnsDomainName = text_or_null(block, trust.dns_name);
  record.Flags = trust.flags;
  record.ParentIndex = trust.parent_index;
  record.TrustType = trust.type;
  record.TrustAttributes = trust.attributes;
  record.DomainGuid = guid_of(trust.guid);
  if (trust.sid.empty()) return;
  record.DomainSid = block.part(trust.sid.size());
  std::memcpy(record.DomainSid, trust.sid.data(), trust.sid.size());
}

}  // namespace

DWORD DsGetDcNameA(LPCSTR computer, LPCSTR domain, GUID*, LPCSTR site, ULONG flags,
                   PDOMAIN_CONTROLLER_INFOA* info) {
  if (info == nullptr) return ERROR_INVALID_PARAMETER;
  *info = nullptr;
  if (const auto fault = platform::fault_point("DsGetDcNameA", ERROR_NO_SUCH_DOMAIN)) {
    return fault->win32();
  }
  const auto holder = platform::controller();
  platform::DirectoryServices* services = holder->directory_services();
  const LocatorQuestion question{bare_name(computer), domain == nullptr ? "" : domain,
                                 site == nullptr ? "" : site, flags};
  if (services == nullptr) return absent(question.computer);
  LocatedController found;
  std::string client_site;
  const DWORD status = services->find_controller(question, found, client_site);
  return status != ERROR_SUCCESS ? status : hand_out(found, client_site, info);
}

DWORD DsGetSiteNameA(LPCSTR computer, LPSTR* site) {
  if (site == nullptr) return ERROR_INVALID_PARAMETER;
  *site = nullptr;
  if (const auto fault = platform::fault_point("DsGetSiteNameA", ERROR_NO_SITENAME)) {
    return fault->win32();
  }
  const std::string_view server = bare_name(computer);
  const auto holder = platform::controller();
  platform::DirectoryServices* services = holder->directory_services();
  if (services == nullptr) return server.empty() ? DWORD{ERROR_NO_SITENAME} : absent(server);
  std::string name;
  const DWORD status = services->site_of(server, name);
  if (status != ERROR_SUCCESS) return status;
  Block block(network_buffers, Block::text_size(std::string_view(name)));
  if (!block) return ERROR_NOT_ENOUGH_MEMORY;
  *site = block.text(std::string_view(name));
  block.release();
  return ERROR_SUCCESS;
}

DWORD DsEnumerateDomainTrustsA(LPSTR server, ULONG flags, PDS_DOMAIN_TRUSTSA* trusts,
                               ULONG* count) {
  if (trusts == nullptr || count == nullptr) return ERROR_INVALID_PARAMETER;
  *trusts = nullptr;
  *count = 0;
  if (const auto fault =
          platform::fault_point("DsEnumerateDomainTrustsA", ERROR_NO_LOGON_SERVERS)) {
    return fault->win32();
  }
  const std::string_view name = bare_name(server);
  const auto holder = platform::controller();
  platform::DirectoryServices* services = holder->directory_services();
  if (services == nullptr) return absent(name);
  std::vector<platform::DomainTrust> found;
  const DWORD status = services->trusts(name, found);
  if (status != ERROR_SUCCESS) return status;
  std::erase_if(found,
                [flags](const platform::DomainTrust& one) { return (one.flags & flags) == 0; });
  std::size_t size = Block::part_size(found.size() * sizeof(DS_DOMAIN_TRUSTSA));
  for (const platform::DomainTrust& one : found) {
    size += Block::text_size(std::string_view(one.netbios_name)) +
            Block::text_size(std::string_view(one.dns_name)) + Block::part_size(one.sid.size());
  }
  Block block(network_buffers, size);
  if (!block) return ERROR_NOT_ENOUGH_MEMORY;
  auto* records =
      static_cast<DS_DOMAIN_TRUSTSA*>(block.part(found.size() * sizeof(DS_DOMAIN_TRUSTSA)));
  for (std::size_t i = 0; i < found.size(); ++i) fill(block, found[i], records[i]);
  block.release();
  *trusts = records;
  *count = static_cast<ULONG>(found.size());
  return ERROR_SUCCESS;
}

DWORD NetApiBufferFree(LPVOID buffer) {
  if (buffer == nullptr) return ERROR_SUCCESS;
  return Block::free(network_buffers, buffer) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}
