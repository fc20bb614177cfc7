#include "directory/repl_utils.h"

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "directory/dns_utils.h"
#include "directory/patterns.h"
#include "directory/service_binding.h"
#include "directory/side_library.h"
#include "directory/text.h"
#include "include/platform/system.h"
#include "include/platform/text.h"

using directory::copy_out;
using directory::ServiceBinding;
using directory::SideLibrary;
using directory::view;

namespace {

constexpr std::size_t kDomainSize = 64;
// Of the configuration, which every partner replicates: one such neighbour is one partner.
constexpr std::string_view kConfiguration = "CN=Configuration";

constexpr DWORD kFirstNetworkCode = 2100;
constexpr DWORD kLastNetworkCode = 2999;
constexpr DWORD kUsersLanguage = 0x400;

// What follows the first dot; nothing for a name without one.
std::string_view behind_dot(std::string_view name) {
  const std::size_t dot = name.find('.');
  return dot == name.npos ? std::string_view() : name.substr(dot + 1);
}

std::string narrow_or_empty(const wchar_t* text) {
  return text == nullptr ? std::string() : directory::narrowed(text);
}

// Binds the server, or, when that fails, this machine with the server's name where the domain's
// belongs: deliberately so, and deliberately once only.
DWORD bind_either(const trace::Scope& trace, const char* server, const char* domain,
                  ServiceBinding& binding) {
  char local_name[128] = {};
  DWORD size = sizeof local_name;
  if (!GetComputerNameExA(ComputerNamePhysicalDnsFullyQualified, local_name, &size)) {
    trace.error()("GetComputerNameEx Failed, Error Code: %d", static_cast<int>(GetLastError()));
  }
  DWORD status = binding.bind(server, domain);
  if (status == ERROR_SUCCESS) return status;
  trace.error()("Error: DsBind failed. Error code: <%ld>\n", static_cast<long>(status));
  status = binding.bind(local_name, server);
  if (status != ERROR_SUCCESS) {
    trace.error()("2nd Error: DsBind failed. Error code: <%ld>\n", static_cast<long>(status));
  }
  return status;
}

struct FreeNeighbours {
  void operator()(DS_REPL_NEIGHBORSW* record) const {
    DsReplicaFreeInfo(DS_REPL_INFO_NEIGHBORS, record);
  }
};

// The partner's full name when it is of that domain, or nothing.
std::string name_in_domain(const trace::Scope& trace, const DS_REPL_NEIGHBORW& neighbour,
                           const char* domain) {
  if (!narrow_or_empty(neighbour.pszNamingContext).starts_with(kConfiguration)) return {};
  const std::string source = narrow_or_empty(neighbour.pszSourceDsaDN);
  char full_name[256] = {};
  DNSUtils::GetPartner(source.c_str(), full_name, "dNSHostName");
  trace.error()("partner FQDN: %s", full_name);
  const std::string_view name = full_name;
  if (name.find('.') == name.npos) return {};
  const std::string partners_domain(behind_dot(name));
  return _stricmp(partners_domain.c_str(), domain) == 0 ? std::string(name) : std::string();
}

struct FreeLocally {
  void operator()(wchar_t* memory) const { LocalFree(memory); }
};

}  // namespace

ReplUtils::ReplUtils() { DCW_TRACE("ReplUtils"); }
ReplUtils::~ReplUtils() { DCW_TRACE("~ReplUtils"); }

DWORD ReplUtils::GetReplicationPartnersInfo(const char* server, int,
                                            DS_REPL_NEIGHBORSW** neighbours, unsigned char& ok) {
  DCW_TRACE("GetReplicationPartnersInfo");
  ok = 0;
  char domain[kDomainSize] = {};
  copy_out(trace, domain, behind_dot(view(server)));
  trace.detail()("DNS Domain Name: <%s>\n", domain);
  ServiceBinding binding;
  DWORD status = bind_either(trace, server, domain, binding);
  if (status != ERROR_SUCCESS) return trace.returns(status);
  void* info = nullptr;
  status = DsReplicaGetInfoW(binding.get(), DS_REPL_INFO_NEIGHBORS, nullptr, nullptr, &info);
  if (status != ERROR_SUCCESS) {
    trace.error()("Error: DsReplicaGetInfoW failed. Error Code: <%ld>\n",
                  static_cast<long>(status));
    return trace.returns(status);
  }
  *neighbours = static_cast<DS_REPL_NEIGHBORSW*>(info);
  ok = 1;
  return trace.returns(status);
}

void ReplUtils::GetReplicationPartnerInDomain(const char* server,
                                              std::vector<std::string>& partners) {
  DCW_TRACE("GetReplicationPartnerInDomain");
  char domain[kDomainSize] = {};
  copy_out(trace, domain, behind_dot(view(server)));
  trace.error()(" DCName: %s", server == nullptr ? "" : server);
  trace.error()(" dnsDomainName: %s", domain);
  DS_REPL_NEIGHBORSW* record = nullptr;
  unsigned char ok = 0;
  GetReplicationPartnersInfo(server, 0, &record, ok);
  if (ok == 0) return;
  const std::unique_ptr<DS_REPL_NEIGHBORSW, FreeNeighbours> neighbours(record);
  trace.error()(" partner Index = %d", static_cast<int>(neighbours->cNumNeighbors));
  const DS_REPL_NEIGHBORW* first = neighbours->rgNeighbor;
  for (DWORD i = 0; i < neighbours->cNumNeighbors; ++i) {
    std::string name = name_in_domain(trace, first[i], domain);
    if (name.empty()) continue;
    trace.error()("partner Added: %s", name.c_str());
    partners.push_back(std::move(name));
  }
}

int ReplUtils::GetErrorText(DWORD code, std::span<wchar_t> text) {
  DCW_TRACE("GetErrorText");
  DWORD flags =
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  const bool is_network_code = code >= kFirstNetworkCode && code <= kLastNetworkCode;
  const SideLibrary texts(
      is_network_code ? LoadLibraryExA("netmsg.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE) : nullptr);
  if (texts) flags |= FORMAT_MESSAGE_FROM_HMODULE;
  wchar_t* message = nullptr;
  const DWORD length = FormatMessageW(flags, texts.get(), code, kUsersLanguage,
                                      reinterpret_cast<wchar_t*>(&message), 0, nullptr);
  const std::unique_ptr<wchar_t, FreeLocally> owner(length == 0 ? nullptr : message);
  if (text.empty()) return trace.returns(0);
  if (length == 0) {
    trace.error()("No message found");
    text[0] = L'\0';
    return trace.returns(0);
  }
  const std::size_t copied = std::min<std::size_t>(length, text.size() - 1);
  if (copied < length) {
    trace.error()("Text of %u characters cut to %zu", static_cast<unsigned>(length), copied);
  }
  std::copy_n(message, copied, text.data());
  text[copied] = L'\0';
  return trace.returns(0);
}
