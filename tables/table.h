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
  void PrintSelf() override;
  std::uint32_t GetColumnCount() override { return kTable.column_count; }
  std::int32_t GetColumnInfo(ColumnInfo* info, int index) override;
  // Offers each row to CheckForException and hands what passes to InsertRow, until one fails.
  std::int32_t AddData(char* rows, std::int32_t count) override;

 protected:
  Base(RequestDetail* request, ContextInfo* context, TableManager* manager)
      : xaftable(request, context, manager) {
    SetRowSize(static_cast<std::uint32_t>(kTable.row_size()));
    SetAllocationDefault(kTable.allocation_default);
  }
  ~Base() override = default;

  int CheckColumnException(char* row, const char* column, _IntfOper operation,
                           char* threshold) override;

 private:
  void print_column(const trace::Scope& trace, int row, std::size_t column) const;
};

template <const auto& kTable>
class Agent : public Base<kTable> {
 public:
  Agent(RequestDetail* request, ContextInfo* context, TableManager* manager)
      : Base<kTable>(request, context, manager) {
    TakeSampleConstructor();
  }
  void TakeSample() override;

  AgentState<kTable> state;

 protected:
  ~Agent() override { TakeSampleDestructor(); }

 private:
  void TakeSampleConstructor();
  void TakeSampleDestructor();
};

template <const auto& kTable>
class Manager : public TableManager {
 public:
  using TableManager::TableManager;
  // A new sample object, or null when memory ran out.
  xaftable* CreateInstance(RequestDetail* request, ContextInfo* context) override {
    DCW_TRACE("CreateInstance");
    return new (std::nothrow) Agent<kTable>(request, context, this);
  }
  // Gives rows to every live object of the table and has each dispatch them; the last failure of a
  // dispatch, or 0.
  std::int32_t ReceiveEvent(char* rows, std::int32_t count);
};

// The one manager of a table, made by its init function; null before.
template <const auto& kTable>
inline Manager<kTable>* g_manager = nullptr;

// Makes the table's manager and registers it with the framework.
template <const auto& kTable>
std::int32_t init() {
  DCW_TRACE("init");
  g_manager<kTable> = new (std::nothrow) Manager<kTable>(kApplication, kTable.name);
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
std::int32_t Base<kTable>::GetColumnInfo(ColumnInfo* info, int index) {
  DCW_TRACE("GetColumnInfo");
  constexpr int kCount = static_cast<int>(kTable.column_count);
  if (index < 0 || index > kCount) return trace.returns(kBadColumnIndex);
  // Deliberate: the index just behind the last column is no error, and leaves the record alone.
  if (index == kCount) return trace.returns(0);
  const auto column = static_cast<std::size_t>(index);
  info->name = LowerNames<kTable>::columns[column].data();
  info->offset = static_cast<std::uint16_t>(kTable.offset(column));
  info->width = kTable.columns[column].width;
  info->type = static_cast<std::uint16_t>(kTable.columns[column].type);
  return trace.returns(0);
}

template <const auto& kTable>
int Base<kTable>::CheckColumnException(char* row, const char* column, _IntfOper operation,
                                       char* threshold) {
  DCW_TRACE("CheckColumnException");
  const std::size_t index = kTable.find(column);
  if (index == kTable.column_count) return trace.returns(0);
  char* field = row + kTable.offset(index);
  const Column& found = kTable.columns[index];
  switch (found.type) {
    case ColumnType::kInteger: {
      std::int32_t value;
      std::memcpy(&value, field, sizeof value);
      return trace.returns(this->IsException(operation, static_cast<long>(value), threshold));
    }
    case ColumnType::kText:
      return trace.returns(this->IsException(operation, field, threshold, found.width));
    case ColumnType::kUtf8:
      return trace.returns(this->IsException(operation, field, threshold, found.width,
                                             static_cast<IntfDtype>(found.type)));
  }
  return trace.returns(0);
}

template <const auto& kTable>
std::int32_t Base<kTable>::AddData(char* rows, std::int32_t count) {
  DCW_TRACE("AddData");
  std::int32_t result = 0;
  for (std::int32_t i = 0; i < count && result == 0; ++i) {
    char* row = rows + static_cast<std::size_t>(i) * kTable.row_size();
    if (this->CheckForException(row) == 0) continue;
    trace.detail()("Passing row %d to InsertRow().", i);
    result = static_cast<std::int32_t>(this->InsertRow(row));
  }
  return trace.returns(result);
}

template <const auto& kTable>
void Base<kTable>::print_column(const trace::Scope& trace, int row, std::size_t column) const {
  // The range of the row is not acted on here: the caller walks only rows that are held.
  const char* field = this->Data(row) + kTable.offset(column);
  const char* name = LowerNames<kTable>::columns[column].data();
  if (kTable.columns[column].type == ColumnType::kInteger) {
    std::int32_t value;
    std::memcpy(&value, field, sizeof value);
    trace.always()("\t\t%s=%d\n", name, value);
  } else {
    trace.always()("\t\t%s=\"%.*s\"\n", name, int{kTable.columns[column].width}, field);
  }
}

template <const auto& kTable>
void Base<kTable>::PrintSelf() {
  DCW_TRACE("PrintSelf");
  if (!trace.on(trace::kDump)) return;
  const char* table = LowerNames<kTable>::table.data();
  trace.always()("dcw_%s_base @%p <%u,%u>\n", table, static_cast<void*>(this), this->Handle(),
                 this->NumDataItems());
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
    for (std::size_t column = 0; column < kTable.column_count; ++column) {
      print_column(trace, row, column);
    }
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
