#pragma once
// What services a machine has and how each stands, read from its service manager into one array of
// records. Knows nothing of tables.
//
//   CService services(SERVICE_WIN32, nullptr);
//   if (services.GetData(L"DHCPServer") == 1) {
//     const ServiceRecord& record = services.GetRows()[0];
//     const bool installed = record.config && record.config[0].dwStartType != DWORD(-1);
//
// A service that cannot be read still has its record, a dummy of -1 values. An object belongs to
// the thread that built it.

#include <cstdint>
#include <memory>

#include "include/platform/service_manager.h"
#include "include/trace.h"

using WideString = std::unique_ptr<wchar_t[]>;

// An array of fixed capacity that owns its wide strings.
class CStrArry {
 public:
  explicit CStrArry(std::int32_t capacity);
  ~CStrArry();
  CStrArry(const CStrArry&) = delete;
  CStrArry& operator=(const CStrArry&) = delete;

  // Lets go of the strings; the array stays.
  void Clear();
  // Copies the text to the end and gives the copy, which stays the array's; null with the array
  // full. Throws std::bad_alloc.
  const wchar_t* Add(const wchar_t* text);
  // Begins anew with room for that many strings, at least one. Null when memory ran out; the array
  // then has no room at all.
  WideString* New(std::int32_t newCapacity);

  std::int32_t GetCount() const { return nameCount; }
  std::int32_t GetCapacity() const { return capacity; }
  // An index from 0 to GetCount() - 1.
  const wchar_t* GetName(std::int32_t index) const { return names[index].get(); }

 private:
  std::unique_ptr<WideString[]> names;
  std::int32_t nameCount;
  std::int32_t capacity;
};

// One service as the platform delivers it. A dummy has -1 in every number and empty texts. status
// and config are null when memory ran out while this one was read.
struct ServiceRecord {
  std::unique_ptr<SERVICE_STATUS> status;
  std::unique_ptr<QUERY_SERVICE_CONFIGW[]> config;  // config[0]; its strings stand behind it
  WideString name;                                  // the key name
};
static_assert(sizeof(ServiceRecord) == 3 * sizeof(void*));

class CService : private CStrArry {
 public:
  // Reads the names of all services of these types (SERVICE_WIN32, say), in every state. machine:
  // null for the local one. Ends the process with exit code -1 when there is no memory.
  CService(std::uint32_t typeMask, const wchar_t* machine);
  ~CService();

  // Reads the names again. 1, or 0 with the reason in the trace and no names held.
  std::int32_t Update();
  // Reads status and configuration of the named service, or with null of all whose names are held.
  // 1; or 0 with no rows, when the service manager did not answer or memory ran out. What
  // GetRows() gave before is gone.
  std::int32_t GetData(const wchar_t* serviceName);

  std::uint32_t GetRowCount() const { return rowCount; }
  // Stays this object's. Null with no rows.
  const ServiceRecord* GetRows() const { return rows.get(); }

  using CStrArry::GetCount;
  using CStrArry::GetName;

 private:
  void GetOneRow(const trace::Scope& trace, const wchar_t* serviceName, SC_HANDLE manager);
  void GetAllRows(const trace::Scope& trace, SC_HANDLE manager);
  // Each of these throws std::runtime_error for a call that failed, std::bad_alloc for no memory.
  void GetRow(const wchar_t* serviceName, SC_HANDLE manager, ServiceRecord& record);
  std::unique_ptr<ENUM_SERVICE_STATUSW[]> Call_EnumServiceStatus(SC_HANDLE manager);
  std::unique_ptr<SERVICE_STATUS> Call_QueryServiceStatus(SC_HANDLE service);
  std::unique_ptr<QUERY_SERVICE_CONFIGW[]> Call_QueryServiceConfig(SC_HANDLE service);
  void CopyToArray(const ENUM_SERVICE_STATUSW* records);
  void CleanSvcBuf();

  WideString machineName;
  std::uint32_t serviceType;
  std::uint32_t serviceCount;
  std::uint32_t rowCount;
  std::unique_ptr<ServiceRecord[]> rows;
};
