#pragma once
// The framework's own way into table objects, and the records that it passes to their constructors
// through the agent's hands.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "framework/xaf/control.h"
#include "framework/xaf/manager.h"
#include "framework/xaf/row_store.h"
#include "xaf.h"

// What is asked of a sample object. Copied by the object.
struct RequestDetail {
  xaf::TableSettings settings;
  _IntfSampleType sample_type = IntfSampleType_Interval;
};

// Where a sample object lives.
struct ContextInfo {
  bool direct = false;  // asked for by a DirectSampler: its rows go to the one who asked
};

namespace xaf {

inline constexpr std::uint32_t kBadArgument = 0x21060001;
inline constexpr std::uint32_t kNoMemory = 0x21060002;
inline constexpr std::uint32_t kNoRowSize = 0x21060003;
inline constexpr std::uint32_t kTooManyRows = 0x21060004;
inline constexpr std::uint32_t kDeliveryFailed = 0x21060005;

}  // namespace xaf

struct xaftable::State {
  struct Check {
    std::string column;
    _IntfOper operation;
    std::string value;
  };

  std::shared_ptr<xaf::ManagerCore> manager;  // null for an object made without one
  _IntfSampleType sample_type = IntfSampleType_Interval;
  std::uint32_t interval_ms = 0;
  bool match_all = true;
  std::vector<Check> checks;
  xaf::RowStore rows;
  std::uint32_t handle = 0;
  std::vector<xaf::ColumnView> columns;  // asked for once, before the first delivery
};

struct XaftableAccess {
  // Asks the manager for an object, under its lock. Null when it could not make one. What the
  // framework got here it gives back through release().
  static xaftable* create(const xaf::Registered& entry, const xaf::TableSettings& settings,
                          _IntfSampleType type, bool direct);
  // Takes the object out of its manager's list; it is deleted when nobody holds it any more.
  static void release(xaftable* object);

  static const std::vector<xaf::ColumnView>& columns(xaftable* object);
  static xaf::RowStore& rows(xaftable* object) { return object->state_->rows; }
};
