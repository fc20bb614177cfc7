#pragma once
// A table of the tests' own: three columns, and a sample that does what the test says. It is a real
// table object and a real manager; nothing of the framework is replaced.

#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "framework/xaf/control.h"
#include "platform/threads.h"
#include "platform/time.h"
#include "xaf.h"

namespace probe {

inline constexpr std::uint32_t kRowSize = 24;

// NAME 8 bytes of text, COUNT a number, TITLE 12 bytes of UTF-8; padded with blanks.
inline std::string row(const std::string& name, std::int32_t count, const std::string& title = "") {
  std::string bytes = name;
  bytes.resize(8, ' ');
  bytes.append(reinterpret_cast<const char*>(&count), sizeof count);
  std::string tail = title;
  tail.resize(12, ' ');
  return bytes + tail;
}

class Table;
using Sample = std::function<void(Table&)>;

class Table : public xaftable {
 public:
  Table(RequestDetail* request, ContextInfo* context, TableManager* manager, Sample sample,
        std::function<void()> on_destruction = {})
      : xaftable(request, context, manager),
        sample_(std::move(sample)),
        on_destruction_(std::move(on_destruction)) {
    SetRowSize(kRowSize);
    SetAllocationDefault(2);
  }
  ~Table() override {
    if (on_destruction_) on_destruction_();
  }

  void PrintSelf() override { DumpThresholds(); }
  void TakeSample() override { sample_(*this); }
  std::uint32_t GetColumnCount() override { return 3; }
  std::int32_t GetColumnInfo(ColumnInfo* info, int index) override {
    static const ColumnInfo kColumns[] = {
        {"name", 0, 8, 9}, {"count", 8, 4, 3}, {"title", 12, 12, 12}};
    if (index < 0 || index > 2) return 0x21060007;
    *info = kColumns[index];
    return 0;
  }
  std::int32_t AddData(char* rows, std::int32_t count) override {
    std::uint32_t result = 0;
    for (std::int32_t index = 0; index < count && result == 0; ++index) {
      char* const one = rows + std::size_t{kRowSize} * static_cast<std::size_t>(index);
      if (CheckForException(one) != 0) result = InsertRow(one);
    }
    return static_cast<std::int32_t>(result);
  }
  std::int32_t add(std::string rows) {
    return AddData(rows.data(), static_cast<std::int32_t>(rows.size() / kRowSize));
  }

  using xaftable::_get_interval;
  using xaftable::_get_sampletype;
  using xaftable::AllocationDefault;
  using xaftable::ApplicationName;
  using xaftable::CheckForException;
  using xaftable::InsertRow;
  using xaftable::IsException;
  using xaftable::NumRowsAllocated;
  using xaftable::SetRowSize;
  using xaftable::TableName;

 protected:
  int CheckColumnException(char* bytes, const char* column, _IntfOper operation,
                           char* threshold) override {
    if (std::strcmp(column, "NAME") == 0) return IsException(operation, bytes, threshold, 8);
    if (std::strcmp(column, "COUNT") == 0) {
      std::int32_t value = 0;
      std::memcpy(&value, bytes + 8, sizeof value);
      return IsException(operation, static_cast<long>(value), threshold);
    }
    if (std::strcmp(column, "TITLE") == 0) {
      return IsException(operation, bytes + 12, threshold, 12, 12);
    }
    return 0;
  }

 private:
  Sample sample_;
  std::function<void()> on_destruction_;
};

class Manager : public TableManager {
 public:
  Manager(const char* table, Sample sample, std::function<void()> on_destruction = {})
      : TableManager("TST", table),
        sample_(std::move(sample)),
        on_destruction_(std::move(on_destruction)) {}

  xaftable* CreateInstance(RequestDetail* request, ContextInfo* context) override {
    if (fail_creation) return nullptr;
    return new Table(request, context, this, sample_, on_destruction_);
  }

  // The walk that every generated table makes for rows that arrive as events.
  std::uint32_t receive_event(char* rows, std::int32_t count) {
    lock();
    std::uint32_t last = 0;
    XaftableListIter objects(List());
    while (xaftable* object = objects.Next()) {
      xaftable* const held = xaftable::UseHandle(object->Handle());
      if (held == nullptr) continue;
      held->AddData(rows, count);
      if (const std::uint32_t result = held->Dispatch(); result != 0) last = result;
      held->ClearCount();
      held->Drop();
    }
    unlock();
    return last;
  }

  std::size_t object_count() {
    lock();
    std::size_t count = 0;
    XaftableListIter objects(List());
    while (objects.Next() != nullptr) ++count;
    unlock();
    return count;
  }

  bool fail_creation = false;

 private:
  Sample sample_;
  std::function<void()> on_destruction_;
};

// Registers a table; the framework owns the manager.
inline Manager* register_table(const char* name, Sample sample,
                               std::function<void()> on_destruction = {}) {
  auto* const manager = new Manager(name, std::move(sample), std::move(on_destruction));
  TableManager::RegisterWithManager(manager);
  return manager;
}

// Keeps what was delivered.
struct Delivered {
  std::string table;
  std::int64_t time_ms;
  std::vector<std::string> rows;
};
class Keeper : public xaf::Sink {
 public:
  void deliver(const xaf::Delivery& delivery) override {
    Delivered one{delivery.table, delivery.time_ms, {}};
    for (std::uint32_t index = 0; index < delivery.count; ++index) {
      one.rows.emplace_back(delivery.rows + std::size_t{index} * delivery.row_size,
                            delivery.row_size);
    }
    const std::lock_guard hold(mutex_);
    all_.push_back(std::move(one));
  }
  void close() override {
    const std::lock_guard hold(mutex_);
    ++closed_;
  }
  std::vector<Delivered> all() const {
    const std::lock_guard hold(mutex_);
    return all_;
  }
  int closed() const {
    const std::lock_guard hold(mutex_);
    return closed_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Delivered> all_;
  int closed_ = 0;
};

// A log that several lanes may write to.
template <typename Entry>
class Log {
 public:
  void add(Entry entry) {
    const std::lock_guard hold(mutex_);
    entries_.push_back(std::move(entry));
  }
  std::vector<Entry> all() const {
    const std::lock_guard hold(mutex_);
    return entries_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Entry> entries_;
};

inline xaf::TableMeasure measure_of(const std::string& table) {
  for (const xaf::TableMeasure& measure : xaf::measures()) {
    if (measure.table == table) return measure;
  }
  return {};
}

}  // namespace probe
