// xaftable: one sample object of one table.

#include <cstring>
#include <mutex>

#include "framework/xaf/access.h"
#include "framework/xaf/comparison.h"
#include "framework/xaf/handles.h"
#include "framework/xaf/hub.h"
#include "trace.h"

xaftable::xaftable(RequestDetail* request, ContextInfo* /*context*/, TableManager* manager)
    : state_(new State) {
  if (manager != nullptr) state_->manager = manager->state_->core;
  const RequestDetail standard;
  const RequestDetail& wanted = request == nullptr ? standard : *request;
  state_->sample_type = wanted.sample_type;
  state_->interval_ms = wanted.settings.interval_ms;
  state_->match_all = wanted.settings.match_all;
  state_->rows.set_limit(wanted.settings.row_limit);
  for (const xaf::Threshold& threshold : wanted.settings.thresholds) {
    state_->checks.push_back({threshold.column, threshold.operation, threshold.value});
  }
  state_->handle = xaf::handles::add(this);
  if (state_->manager != nullptr) {
    const std::lock_guard hold(state_->manager->lock);
    state_->manager->objects.add(this);
  }
}

xaftable::~xaftable() {
  if (state_->manager != nullptr) {
    const std::lock_guard hold(state_->manager->lock);
    state_->manager->objects.remove(this);
  }
  xaf::handles::forget(state_->handle);
  delete state_;
}

std::int32_t xaftable::ExecuteCommand(char* /*command*/, int /*length*/, char* /*answer*/) {
  return 0;  // no table takes commands
}

void xaftable::CommandCompleted(XaftableAutomationCapsule* /*capsule*/) {}

void xaftable::CommandCompletedEx(void* /*capsule*/) {}

namespace {

// Out of line, so that the way of every good row carries no trace scope.
[[gnu::noinline]] std::uint32_t insert_failed(const char* table, std::uint32_t held,
                                              const char* reason, std::uint32_t code) {
  DCW_TRACE("InsertRow");
  trace.error()("%s: row refused with %u rows held: %s", table, held, reason);
  return trace.returns(code);
}

}  // namespace

std::uint32_t xaftable::InsertRow(char* row) {
  if (row == nullptr) {
    return insert_failed(TableName(), NumDataItems(), "no row", xaf::kBadArgument);
  }
  switch (state_->rows.append(row)) {
    case xaf::RowStore::Inserted::kYes:
      return 0;
    case xaf::RowStore::Inserted::kNoRowSize:
      return insert_failed(TableName(), NumDataItems(), "no row size", xaf::kNoRowSize);
    case xaf::RowStore::Inserted::kTooMany:
      return insert_failed(TableName(), NumDataItems(), "row limit reached", xaf::kTooManyRows);
    case xaf::RowStore::Inserted::kNoMemory:
      break;
  }
  return insert_failed(TableName(), NumDataItems(), "no memory", xaf::kNoMemory);
}

std::uint32_t xaftable::CheckForException(char* row) {
  if (state_->checks.empty()) return 1;
  for (State::Check& check : state_->checks) {
    const bool met =
        CheckColumnException(row, check.column.c_str(), check.operation, check.value.data()) != 0;
    if (met != state_->match_all) return met ? 1 : 0;
  }
  return state_->match_all ? 1 : 0;
}

std::uint32_t xaftable::NumDataItems() const { return state_->rows.count(); }

const char* xaftable::Data(int index) const {
  return index < 0 ? nullptr : state_->rows.row(static_cast<std::uint32_t>(index));
}

void xaftable::ClearCount() { state_->rows.clear(); }

std::uint32_t xaftable::Handle() const { return state_->handle; }

xaftable* xaftable::UseHandle(std::uint32_t handle) { return xaf::handles::hold(handle); }

void xaftable::Drop() {
  if (xaf::handles::drop(state_->handle)) delete this;
}

std::uint32_t xaftable::Dispatch() {
  if (NumDataItems() == 0) return 0;
  xaf::Delivery delivery;
  delivery.application = ApplicationName();
  delivery.table = TableName();
  delivery.time_ms = xaf::clock_ms();
  delivery.row_size = state_->rows.row_size();
  delivery.count = state_->rows.count();
  delivery.rows = state_->rows.row(0);
  delivery.columns = &XaftableAccess::columns(this);
  return xaf::deliver(delivery, state_->rows.share()) ? 0 : xaf::kDeliveryFailed;
}

void xaftable::SetRowSize(std::uint32_t bytes) { state_->rows.set_row_size(bytes); }

void xaftable::SetAllocationDefault(std::uint32_t rows) { state_->rows.set_step(rows); }

std::uint32_t xaftable::AllocationDefault() const { return state_->rows.step(); }

std::uint32_t xaftable::NumRowsAllocated() const { return state_->rows.allocated(); }

const char* xaftable::TableName() const {
  return state_->manager == nullptr ? "" : state_->manager->table.c_str();
}

const char* xaftable::ApplicationName() const {
  return state_->manager == nullptr ? "" : state_->manager->application.c_str();
}

std::uint32_t xaftable::_get_interval() const { return state_->interval_ms; }

_IntfSampleType xaftable::_get_sampletype() const { return state_->sample_type; }

void xaftable::DumpThresholds() const {
  DCW_TRACE("DumpThresholds");
  trace.always()("\tthresholds {\n");
  trace.always()("\t\tcount=%u, match=%s\n", static_cast<unsigned>(state_->checks.size()),
                 state_->match_all ? "all" : "any");
  for (const State::Check& check : state_->checks) {
    trace.always()("\t\t%s %s \"%s\"\n", check.column.c_str(), xaf::operator_name(check.operation),
                   check.value.c_str());
  }
  trace.always()("\t}\n");
}

int xaftable::IsException(_IntfOper operation, char* value, char* threshold, int length) const {
  return IsException(operation, value, threshold, length, 9);
}

int xaftable::IsException(_IntfOper operation, long value, char* threshold) const {
  if (threshold == nullptr) return 0;
  const std::optional<std::int32_t> limit = xaf::parse_integer(threshold);
  return limit && xaf::integer_meets(operation, value, *limit) ? 1 : 0;
}

int xaftable::IsException(_IntfOper operation, char* value, char* threshold, int length,
                          IntfDtype type) const {
  if (value == nullptr || threshold == nullptr || length < 0) return 0;
  const std::size_t size = static_cast<std::size_t>(length);
  if (type == 3) {
    std::int32_t number = 0;
    if (size < sizeof number) return 0;
    std::memcpy(&number, value, sizeof number);
    return IsException(operation, static_cast<long>(number), threshold);
  }
  return xaf::text_meets(operation, {value, size}, threshold, type == 12) ? 1 : 0;
}

xaftable* XaftableAccess::create(const xaf::Registered& entry, const xaf::TableSettings& settings,
                                 _IntfSampleType type, bool direct) {
  RequestDetail request{settings, type};
  ContextInfo context{direct};
  const std::lock_guard hold(entry.core->lock);
  return entry.manager->CreateInstance(&request, &context);
}

void XaftableAccess::release(xaftable* object) {
  if (object == nullptr) return;
  if (const std::shared_ptr<xaf::ManagerCore> manager = object->state_->manager) {
    const std::lock_guard hold(manager->lock);
    manager->objects.remove(object);
  }
  if (xaf::handles::give_up(object->state_->handle)) delete object;
}

const std::vector<xaf::ColumnView>& XaftableAccess::columns(xaftable* object) {
  std::vector<xaf::ColumnView>& columns = object->state_->columns;
  const int count = static_cast<int>(object->GetColumnCount());
  for (int index = static_cast<int>(columns.size()); index < count; ++index) {
    ColumnInfo info = {};
    if (object->GetColumnInfo(&info, index) != 0 || info.name == nullptr) break;
    columns.push_back({info.name, info.offset, info.width, info.type});
  }
  return columns;
}
