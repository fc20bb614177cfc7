// Bindings to a controller's replication interface, and its neighbours as Windows hands them out.

#include <memory>
#include <string>
#include <vector>

#include "include/platform/directory_services.h"
#include "platform/adsi/wide_text.h"
#include "platform/control.h"
#include "platform/directory_services/block.h"
#include "platform/directory_services/names.h"
#include "platform/directory_services/services.h"
#include "platform/kernel/fault_point.h"

namespace {

using platform::bare_name;
using platform::Block;
using platform::guid_of;
using platform::ReplicaNeighbour;

platform::accounting::Counter bindings{"directory service binding"};
platform::accounting::Counter replica_records{"replica information"};

// Keeps its controller alive, as a connection keeps its server.
struct Binding {
  std::shared_ptr<platform::Controller> controller;
  std::string server;
};

FILETIME file_time(std::uint64_t time) {
  return {static_cast<DWORD>(time), static_cast<DWORD>(time >> 32)};
}

struct WideNames {
  explicit WideNames(const ReplicaNeighbour& neighbour)
      : naming_context(platform::wide_text(neighbour.naming_context)),
        source_dsa(platform::wide_text(neighbour.source_dsa)),
        source_address(platform::wide_text(neighbour.source_address)),
        transport(platform::wide_text(neighbour.transport)) {}
  std::size_t size() const {
    std::size_t size = 0;
    for (const std::wstring* text : {&naming_context, &source_dsa, &source_address, &transport}) {
      size += Block::text_size(std::wstring_view(*text));
    }
    return size;
  }
  std::wstring naming_context;
  std::wstring source_dsa;
  std::wstring source_address;
  std::wstring transport;
};

void fill(Block& block, const ReplicaNeighbour& neighbour, const WideNames& names,
          DS_REPL_NEIGHBORW& record) {
  record.pszNamingContext = block.text(std::wstring_view(names.naming_context));
  record.pszSourceDsaDN = block.text(std::wstring_view(names.source_dsa));
  record.pszSourceDsaAddress = block.text(std::wstring_view(names.source_address));
  if (!names.transport.empty()) {
    record.pszAsyncIntersiteTransportDN = block.text(std::wstring_view(names.transport));
  }
  record.dwReplicaFlags = neighbour.flags;
  record.uuidNamingContextObjGuid = guid_of(neighbour.naming_context_guid);
  record.uuidSourceDsaObjGuid = guid_of(neighbour.source_guid);
  record.uuidSourceDsaInvocationID = guid_of(neighbour.source_invocation);
  record.uuidAsyncIntersiteTransportObjGuid = guid_of(neighbour.transport_guid);
  record.usnLastObjChangeSynced = neighbour.synced_usn;
  record.usnAttributeFilter = neighbour.filter_usn;
  record.ftimeLastSyncSuccess = file_time(neighbour.last_success);
  record.ftimeLastSyncAttempt = file_time(neighbour.last_attempt);
  record.dwLastSyncResult = neighbour.last_result;
  record.cNumConsecutiveSyncFailures = neighbour.failures;
}

}  // namespace

DWORD DsBindA(LPCSTR controller, LPCSTR domain, HANDLE* binding) {
  if (binding == nullptr) return ERROR_INVALID_PARAMETER;
  *binding = nullptr;
  if (const auto fault = platform::fault_point("DsBindA", RPC_S_SERVER_UNAVAILABLE)) {
    return fault->win32();
  }
  const std::string_view server = bare_name(controller);
  auto made = std::make_unique<Binding>();
  made->controller = platform::controller();
  platform::DirectoryServices* services = made->controller->directory_services();
  if (services == nullptr) {
    return server.empty() ? DWORD{ERROR_NO_SUCH_DOMAIN} : DWORD{RPC_S_SERVER_UNAVAILABLE};
  }
  const DWORD status = services->bind(server, domain == nullptr ? "" : domain, made->server);
  if (status != ERROR_SUCCESS) return status;
  bindings.add();
  *binding = made.release();
  return ERROR_SUCCESS;
}

DWORD DsUnBindA(HANDLE* binding) {
  if (binding == nullptr || *binding == nullptr) return ERROR_SUCCESS;
  delete static_cast<Binding*>(*binding);
  bindings.remove();
  *binding = nullptr;
  return ERROR_SUCCESS;
}

DWORD DsReplicaGetInfoW(HANDLE binding, DS_REPL_INFO_TYPE kind, LPCWSTR, UUID*, void** info) {
  if (info == nullptr) return ERROR_INVALID_PARAMETER;
  *info = nullptr;
  if (const auto fault = platform::fault_point("DsReplicaGetInfoW", RPC_S_SERVER_UNAVAILABLE)) {
    return fault->win32();
  }
  if (binding == nullptr) return ERROR_INVALID_HANDLE;
  if (kind != DS_REPL_INFO_NEIGHBORS) return ERROR_NOT_SUPPORTED;
  const auto& bound = *static_cast<const Binding*>(binding);
  std::vector<ReplicaNeighbour> found;
  const DWORD status = bound.controller->directory_services()->neighbours(bound.server, found);
  if (status != ERROR_SUCCESS) return status;
  const std::vector<WideNames> names(found.begin(), found.end());
  // The record has room for one neighbour of its own, also where there is none.
  const std::size_t record_size =
      sizeof(DS_REPL_NEIGHBORSW) + found.size() * sizeof(DS_REPL_NEIGHBORW);
  std::size_t size = Block::part_size(record_size);
  for (const WideNames& one : names) size += one.size();
  Block block(replica_records, size);
  if (!block) return ERROR_NOT_ENOUGH_MEMORY;
  auto* record = static_cast<DS_REPL_NEIGHBORSW*>(block.part(record_size));
  record->cNumNeighbors = static_cast<DWORD>(found.size());
  for (std::size_t i = 0; i < found.size(); ++i) {
    fill(block, found[i], names[i], *(record->rgNeighbor + i));
  }
  block.release();
  *info = record;
  return ERROR_SUCCESS;
}

void DsReplicaFreeInfo(DS_REPL_INFO_TYPE, void* info) {
  if (info != nullptr) Block::free(replica_records, info);
}
