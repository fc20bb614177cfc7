#pragma once
// The classes that every table is made of, written once over the table's definition: the base with
// row layout and column metadata, the agent that adds TakeSample, and the manager that makes
// agents. A table's own code is TakeSample, and TakeSampleConstructor and TakeSampleDestructor
// where it needs them; tables/classes.h gives all of it the table's own names.

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

#include "include/trace.h"
#include "include/xaf.h"
#include "tables/definition.h"

namespace tables {

inline constexpr const char* kApplication = "DCW";
inline constexpr std::int32_t kNoMemoryForManager = 0x21060002;
inline constexpr std::int32_t kBadColumnIndex = 0x21060007;

// State that a table keeps in each of its agent objects; a table with any specialises this.
template <const auto& kTable>
struct AgentState {};

template <const auto& kTable>
class Base : public xaftable {
 public:
  using Layout = tables::Layout<kTable>;

  void PrintSelf() override;
  std::uint32_t GetColumnCount() override;
  std::int32_t GetColumnInfo(ColumnInfo* info, int index) override;
  // Offers each row to CheckForException and hands what passes to InsertRow, until one fails.
  std::int32_t AddData(char* rows, std::int32_t count) override;

 protected:
  Base(RequestDetail* request, ContextInfo* context, TableManager* manager)
      : xaftable(request, context, manager) {
    DCW_TRACE("Base");
    SetRowSize(static_cast<std::uint32_t>(Layout::row_size));
    SetAllocationDefault(kTable.allocation_default);
  }
  ~Base() override { DCW_TRACE("~Base"); }

  int CheckColumnException(char* row, const char* column, _IntfOper operation,
                           char* threshold) override;

 private:
  void print_row(const trace::Scope& trace, const char* row) const;
};

template <const auto& kTable>
class Agent : public Base<kTable> {
 public:
  Agent(RequestDetail* request, ContextInfo* context, TableManager* manager)
      : Base<kTable>(request, context, manager) {
    DCW_TRACE("Agent");
    TakeSampleConstructor();
  }
  void TakeSample() override;

  AgentState<kTable> state;

 protected:
  ~Agent() override {
    DCW_TRACE("~Agent");
    TakeSampleDestructor();
  }

 private:
  void TakeSampleConstructor();
  void TakeSampleDestructor();
};

template <const auto& kTable>
class Manager;

// The one manager of a table, made by its init function; null before, and when it is gone.
template <const auto& kTable>
inline Manager<kTable>* g_manager = nullptr;

template <const auto& kTable>
class Manager : public TableManager {
 public:
  Manager(const char* application, const char* table) : TableManager(application, table) {
    DCW_TRACE("Manager");
  }
  ~Manager() override {
    DCW_TRACE("~Manager");
    if (g_manager<kTable> == this) g_manager<kTable> = nullptr;
  }
  // A new sample object, or null when memory ran out.
  xaftable* CreateInstance(RequestDetail* request, ContextInfo* context) override {
    DCW_TRACE("CreateInstance");
    return new (std::nothrow) Agent<kTable>(request, context, this);
  }
  // Gives rows to every live object of the table and has each dispatch them; the last failure of a
  // dispatch, or 0.
  std::int32_t ReceiveEvent(char* rows, std::int32_t count);
};

// Makes the table's manager and registers it with the framework.
template <const auto& kTable>
std::int32_t init() {
  DCW_TRACE("init");
  g_manager<kTable> = new (std::nothrow) Manager<kTable>(kApplication, Layout<kTable>::table);
  if (g_manager<kTable> == nullptr) return trace.returns(kNoMemoryForManager);
  return trace.returns(
      static_cast<std::int32_t>(TableManager::RegisterWithManager(g_manager<kTable>)));
}

// For tables fed by events; made for every table.
template <const auto& kTable>
std::int32_t event_arrived(char* rows, std::int32_t count) {
  DCW_TRACE("EventArrived");
  if (g_manager<kTable> == nullptr) return trace.returns(0);
  return trace.returns(g_manager<kTable>->ReceiveEvent(rows, count));
}

template <const auto& kTable>
std::uint32_t Base<kTable>::GetColumnCount() {
  DCW_TRACE("GetColumnCount");
  return trace.returns(static_cast<std::uint32_t>(Layout::column_count));
}

template <const auto& kTable>
std::int32_t Base<kTable>::GetColumnInfo(ColumnInfo* info, int index) {
  DCW_TRACE("GetColumnInfo");
  constexpr int kCount = static_cast<int>(Layout::column_count);
  if (index < 0 || index > kCount) return trace.returns(kBadColumnIndex);
  // Deliberate: the index just behind the last column is no error, and leaves the record alone.
  if (index == kCount) return trace.returns(0);
  const auto& field = Layout::fields[static_cast<std::size_t>(index)];
  info->name = field.lower;
  info->offset = field.offset;
  info->width = field.width;
  info->type = static_cast<std::uint16_t>(field.type);
  return trace.returns(0);
}

template <const auto& kTable>
int Base<kTable>::CheckColumnException(char* row, const char* column, _IntfOper operation,
                                       char* threshold) {
  DCW_TRACE("CheckColumnException");
  const auto* field = Layout::find(column);
  if (field == nullptr) return trace.returns(0);
  char* bytes = row + field->offset;
  switch (field->type) {
    case ColumnType::kInteger: {
      std::int32_t value;
      std::memcpy(&value, bytes, sizeof value);
      return trace.returns(this->IsException(operation, static_cast<long>(value), threshold));
    }
    case ColumnType::kText:
      return trace.returns(this->IsException(operation, bytes, threshold, field->width));
    case ColumnType::kUtf8:
      return trace.returns(this->IsException(operation, bytes, threshold, field->width,
                                             static_cast<IntfDtype>(field->type)));
  }
  return trace.returns(0);
}

template <const auto& kTable>
std::int32_t Base<kTable>::AddData(char* rows, std::int32_t count) {
  DCW_TRACE("AddData");
  const bool detail = trace.on(trace::kDetail);
  std::int32_t result = 0;
  for (std::int32_t i = 0; i < count; ++i, rows += Layout::row_size) {
    if (this->CheckForException(rows) == 0) continue;
    if (detail) trace.detail()("Passing row %d to InsertRow().", i);
    result = static_cast<std::int32_t>(this->InsertRow(rows));
    if (result != 0) break;
  }
  return trace.returns(result);
}

template <const auto& kTable>
void Base<kTable>::print_row(const trace::Scope& trace, const char* row) const {
  for (const auto& field : Layout::fields) {
    const char* bytes = row + field.offset;
    if (field.type == ColumnType::kInteger) {
      std::int32_t value;
      std::memcpy(&value, bytes, sizeof value);
      trace.always()("\t\t%s=%d\n", field.lower, value);
    } else {
      trace.always()("\t\t%s=\"%.*s\"\n", field.lower, int{field.width}, bytes);
    }
  }
}

template <const auto& kTable>
void Base<kTable>::PrintSelf() {
  DCW_TRACE("PrintSelf");
  if (!trace.on(trace::kDump)) return;
  trace.always()("dcw_%s_base @%p <%u,%u>\n", Layout::lower_table.data(), static_cast<void*>(this),
                 this->Handle(), this->NumDataItems());
  trace.always()("\t::appl=%s,table=%s,interval=%d,samptype=%d\n", this->ApplicationName(),
                 this->TableName(), static_cast<int>(this->_get_interval()),
                 static_cast<int>(this->_get_sampletype()));
  this->DumpThresholds();
  trace.always()("\t_data {\n");
  trace.always()("\t\tcount=%d, allocated=%d, allocSize=%d\n",
                 static_cast<int>(this->NumDataItems()), static_cast<int>(this->NumRowsAllocated()),
                 static_cast<int>(this->AllocationDefault()));
  for (int row = 0; row < static_cast<int>(this->NumDataItems()); ++row) {
    trace.always()("\t\t{\n");
    // The row's address is null when another thread has emptied the object since it was counted.
    if (const char* bytes = this->Data(row); bytes != nullptr) print_row(trace, bytes);
    trace.always()("\t\t}\n");
  }
  trace.always()("}\n");
}

template <const auto& kTable>
std::int32_t Manager<kTable>::ReceiveEvent(char* rows, std::int32_t count) {
  DCW_TRACE("ReceiveEvent");
  std::int32_t result = 0;
  lock();
  {
    XaftableListIter objects(List());
    while (xaftable* listed = objects.Next()) {
      xaftable* object = xaftable::UseHandle(listed->Handle());
      if (object == nullptr) continue;
      object->AddData(rows, count);
      const auto dispatched = static_cast<std::int32_t>(object->Dispatch());
      if (dispatched != 0) result = dispatched;
      object->ClearCount();
      object->Drop();
    }
  }
  unlock();
  return trace.returns(result);
}

template <const auto& kTable>
void Agent<kTable>::TakeSampleConstructor() {
  DCW_TRACE("TakeSampleConstructor");
}

template <const auto& kTable>
void Agent<kTable>::TakeSampleDestructor() {
  DCW_TRACE("TakeSampleDestructor");
}

}  // namespace tables
