#include "services/service.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cwchar>
#include <new>
#include <stdexcept>
#include <string>

#include "include/platform/files.h"
#include "include/platform/text.h"
#include "include/service_handle.h"
#include "tables/ckutil.h"

namespace {

// Room for these is asked for beyond what is needed, and never told to the platform: a list that
// grows between the two calls fails, as the trace then says, and is whole again the next time.
constexpr std::size_t kSpareElements = 5;

static_assert(sizeof(SERVICE_STATUS) == 28);
static_assert(sizeof(ENUM_SERVICE_STATUSW) == 48);
static_assert(sizeof(QUERY_SERVICE_CONFIGW) == 64);
static_assert(sizeof(ServiceRecord) == 24);

// What the texts of all dummy records are. Nobody writes to it.
wchar_t empty_text[] = L"";

class NoMemory : public std::bad_alloc {
 public:
  const char* what() const noexcept override { return "Memory allocation failed"; }
};

[[noreturn]] void throw_no_memory(const trace::Scope& trace, std::size_t size) {
  trace.error()("Memory allocation failed.  Allocation size: %d bytes", static_cast<int>(size));
  throw NoMemory();
}

[[noreturn]] void throw_failed(const trace::Scope& trace, const char* call, DWORD error,
                               const char* end = "") {
  trace.error()("%s() failed.  Error code: %d [0x%.8x].%s", call, static_cast<int>(error),
                static_cast<unsigned>(error), end);
  throw std::runtime_error(std::string(call) + "() failed");
}

// Null when memory ran out.
WideString copy_of(const wchar_t* text) {
  const std::size_t size = std::wcslen(text) + 1;
  WideString copy(new (std::nothrow) wchar_t[size]);
  if (copy != nullptr) std::copy_n(text, size, copy.get());
  return copy;
}

std::string narrowed(const wchar_t* text) {
  const int length = static_cast<int>(std::wcslen(text));
  std::string narrow(
      static_cast<std::size_t>(
          std::max(0, WideCharToMultiByte(CP_ACP, 0, text, length, nullptr, 0, nullptr, nullptr))),
      '\0');
  WideCharToMultiByte(CP_ACP, 0, text, length, narrow.data(), static_cast<int>(narrow.size()),
                      nullptr, nullptr);
  return narrow;
}

UniqueServiceHandle open_manager(const trace::Scope& trace, const wchar_t* machine, DWORD access) {
  UniqueServiceHandle manager(OpenSCManagerW(machine, nullptr, access));
  if (!manager) throw_failed(trace, "OpenSCManager", GetLastError());
  return manager;
}

// Asks without room for the size, which must fail with sizing_error, and again with exactly that.
// ask: given records, their size in bytes and where the bytes needed go, gives the call's result.
template <typename Record, typename Ask>
std::unique_ptr<Record[]> ask_twice(const trace::Scope& trace, const char* call, DWORD sizing_error,
                                    Ask ask) {
  DWORD bytes_needed = 0;
  // With nothing to tell the platform may succeed, which then is a failure too.
  const DWORD error = ask(nullptr, DWORD{0}, &bytes_needed) ? NO_ERROR : GetLastError();
  if (error != sizing_error) throw_failed(trace, call, error);
  const std::size_t count = (bytes_needed + sizeof(Record)) / sizeof(Record) + kSpareElements;
  std::unique_ptr<Record[]> records(new (std::nothrow) Record[count]());
  if (records == nullptr) throw_no_memory(trace, count * sizeof(Record));
  if (!ask(records.get(), bytes_needed, &bytes_needed)) throw_failed(trace, call, GetLastError());
  return records;
}

void fill_status(const trace::Scope& trace, ServiceRecord& record) {
  constexpr DWORD kNone = static_cast<DWORD>(-1);
  record.status.reset(new (std::nothrow)
                          SERVICE_STATUS{kNone, kNone, kNone, kNone, kNone, kNone, kNone});
  if (record.status == nullptr) throw_no_memory(trace, sizeof(SERVICE_STATUS));
}

void fill_config(const trace::Scope& trace, ServiceRecord& record) {
  constexpr DWORD kNone = static_cast<DWORD>(-1);
  record.config.reset(new (std::nothrow) QUERY_SERVICE_CONFIGW[1]);
  if (record.config == nullptr) throw_no_memory(trace, sizeof(QUERY_SERVICE_CONFIGW));
  record.config[0] = {kNone, kNone,      kNone,      empty_text, empty_text,
                      kNone, empty_text, empty_text, empty_text};
}

}  // namespace

CStrArry::CStrArry(std::int32_t wanted) : names(nullptr), nameCount(0), capacity(1) {
  DCW_TRACE("CStrArry");
  New(wanted);
}

CStrArry::~CStrArry() {
  DCW_TRACE("~CStrArry");
  Clear();
}

void CStrArry::Clear() {
  DCW_TRACE("Clear");
  for (std::int32_t i = 0; i < nameCount; ++i) names[i].reset();
  nameCount = 0;
}

const wchar_t* CStrArry::Add(const wchar_t* text) {
  DCW_TRACE("Add");
  if (names == nullptr || nameCount >= capacity) return nullptr;
  WideString copy = copy_of(text);
  if (copy == nullptr) throw NoMemory();
  names[nameCount] = std::move(copy);
  return names[nameCount++].get();
}

WideString* CStrArry::New(std::int32_t newCapacity) {
  DCW_TRACE("New");
  capacity = std::max(newCapacity, 1);
  Clear();
  names.reset(new (std::nothrow) WideString[static_cast<std::size_t>(capacity)]);
  return names.get();
}

CService::CService(std::uint32_t typeMask, const wchar_t* machine)
    : CStrArry(1), serviceType(typeMask), serviceCount(0), rowCount(0) {
  DCW_TRACE("CService");
  try {
    if (machine != nullptr) {
      machineName = copy_of(machine);
      if (machineName == nullptr) throw_no_memory(trace, std::wcslen(machine) + 1);
    }
    Update();
  } catch (const std::exception& error) {
    trace.always()("Exception raised during object construction, terminating.  Exception text: %s",
                   error.what());
    std::exit(-1);
  }
}

CService::~CService() {
  DCW_TRACE("~CService");
  CleanSvcBuf();
}

std::int32_t CService::Update() {
  DCW_TRACE("Update");
  UniqueServiceHandle manager;
  try {
    manager = open_manager(trace, machineName.get(), SC_MANAGER_ENUMERATE_SERVICE);
    CopyToArray(Call_EnumServiceStatus(manager.get()).get());
    return trace.returns(1);
  } catch (const std::exception& error) {
    trace.error()("Exception raised during data collection.  Exception text: %s", error.what());
    Clear();
    serviceCount = 0;
    return trace.returns(0);
  }
}

std::unique_ptr<ENUM_SERVICE_STATUSW[]> CService::Call_EnumServiceStatus(SC_HANDLE manager) {
  DCW_TRACE("Call_EnumServiceStatus");
  try {
    DWORD returned = 0;
    DWORD resume = 0;
    auto records = ask_twice<ENUM_SERVICE_STATUSW>(
        trace, "EnumServicesStatus", ERROR_MORE_DATA,
        [&](ENUM_SERVICE_STATUSW* buffer, DWORD size, DWORD* bytes_needed) {
          return EnumServicesStatusW(manager, serviceType, SERVICE_STATE_ALL, buffer, size,
                                     bytes_needed, &returned, &resume);
        });
    serviceCount = returned;
    return records;
  } catch (const std::exception& error) {
    trace.error()("Exception raised during status enumeration.  Exception text: %s", error.what());
    throw;
  }
}

void CService::CopyToArray(const ENUM_SERVICE_STATUSW* records) {
  DCW_TRACE("CopyToArray");
  try {
    if (New(static_cast<std::int32_t>(serviceCount)) == nullptr) {
      trace.error()("Array allocation failed.  Elements: %d", static_cast<int>(serviceCount));
      throw NoMemory();
    }
    for (std::uint32_t i = 0; i < serviceCount; ++i) Add(records[i].lpServiceName);
  } catch (const std::exception& error) {
    trace.error()("Exception raised during array copy.  Exception text: %s", error.what());
    Clear();
    throw;
  }
}

std::unique_ptr<QUERY_SERVICE_CONFIGW[]> CService::Call_QueryServiceConfig(SC_HANDLE service) {
  DCW_TRACE("Call_QueryServiceConfig");
  try {
    return ask_twice<QUERY_SERVICE_CONFIGW>(
        trace, "QueryServiceConfig", ERROR_INSUFFICIENT_BUFFER,
        [&](QUERY_SERVICE_CONFIGW* buffer, DWORD size, DWORD* bytes_needed) {
          return QueryServiceConfigW(service, buffer, size, bytes_needed);
        });
  } catch (const std::exception& error) {
    trace.error()("Exception raised during configuration query.  Exception text: %s", error.what());
    throw;
  }
}

std::unique_ptr<SERVICE_STATUS> CService::Call_QueryServiceStatus(SC_HANDLE service) {
  DCW_TRACE("Call_QueryServiceStatus");
  std::unique_ptr<SERVICE_STATUS> status(new (std::nothrow) SERVICE_STATUS());
  if (status == nullptr) throw_no_memory(trace, sizeof(SERVICE_STATUS));
  if (!QueryServiceStatus(service, status.get())) {
    // The receiving side knows this line by the blank at its end.
    throw_failed(trace, "QueryServiceStatus", GetLastError(), " ");
  }
  return status;
}

void CService::GetRow(const wchar_t* serviceName, SC_HANDLE manager, ServiceRecord& record) {
  DCW_TRACE("GetRow");
  UniqueServiceHandle service;
  char narrow[64 + 1] = {};  // padded with blanks, in the trace too
  try {
    record.name = copy_of(serviceName);
    if (record.name == nullptr) {
      throw_no_memory(trace, (std::wcslen(serviceName) + 1) * sizeof(wchar_t));
    }
    CKUtil::mwUTF16toASCIIcpy(narrow, utf16_of(serviceName).c_str(), 64, 0);
    trace.detail()("Processing <%s>", narrow);
    service = UniqueServiceHandle(OpenServiceW(manager, serviceName, GENERIC_READ));
    if (!service) {
      const DWORD error = GetLastError();
      trace.error()("OpenService(%s) failed.  Error code: %d [0x%.8x].", narrow,
                    static_cast<int>(error), static_cast<unsigned>(error));
      throw std::runtime_error("OpenService() failed");
    }
    record.status = Call_QueryServiceStatus(service.get());
    record.config = Call_QueryServiceConfig(service.get());
  } catch (const std::runtime_error& error) {
    trace.error()("Exception raised during row evaluation.  Exception text: %s", error.what());
    trace.error()("Adding dummy row for <%s>", narrow);
    if (record.status == nullptr) fill_status(trace, record);
    if (record.config == nullptr) fill_config(trace, record);
    throw;
  } catch (const std::bad_alloc& error) {
    trace.error()("Exception raised during row evaluation.  Exception text: %s", error.what());
    throw;
  }
}

void CService::GetOneRow(const trace::Scope& trace, const wchar_t* serviceName, SC_HANDLE manager) {
  rows.reset(new (std::nothrow) ServiceRecord[1]);
  if (rows == nullptr) throw_no_memory(trace, sizeof(ServiceRecord));
  if (trace.on(trace::kDetail)) {
    trace.detail()("Collecting information for specified service <%s>",
                   narrowed(serviceName).c_str());
  }
  try {
    GetRow(serviceName, manager, rows[0]);
  } catch (const std::exception& error) {
    trace.error()("Exception raised GetRow.  Exception text: %s", error.what());
  }
  rowCount = 1;
}

void CService::GetAllRows(const trace::Scope& trace, SC_HANDLE manager) {
  rows.reset(new (std::nothrow) ServiceRecord[serviceCount]);
  if (rows == nullptr) throw_no_memory(trace, serviceCount * sizeof(ServiceRecord));
  trace.detail()("Services list contains %d entries", static_cast<int>(serviceCount));
  for (std::uint32_t i = 0; i < serviceCount; ++i) {
    const wchar_t* const name = GetName(static_cast<std::int32_t>(i));
    if (trace.on(trace::kDetail)) trace.detail()("Processing <%s>", narrowed(name).c_str());
    try {
      GetRow(name, manager, rows[i]);
    } catch (const std::exception& error) {
      trace.error()("Exception raised GetRow.  Exception text: %s", error.what());
    }
  }
  rowCount = serviceCount;
}

std::int32_t CService::GetData(const wchar_t* serviceName) {
  DCW_TRACE("GetData");
  CleanSvcBuf();
  UniqueServiceHandle manager;
  try {
    manager = open_manager(trace, machineName.get(), GENERIC_READ);
    if (serviceName != nullptr) {
      GetOneRow(trace, serviceName, manager.get());
    } else {
      GetAllRows(trace, manager.get());
    }
    return trace.returns(1);
  } catch (const std::exception& error) {
    trace.error()("Exception raised during data collection.  Exception text: %s", error.what());
    CleanSvcBuf();
    rowCount = 0;
    return trace.returns(0);
  }
}

void CService::CleanSvcBuf() {
  DCW_TRACE("CleanSvcBuf");
  if (rowCount == 0) return;
  rows.reset();
}
