#include <mutex>
#include <utility>

#include "framework/xaf/access.h"
#include "framework/xaf/loader.h"
#include "framework/xaf/settings.h"

namespace xaf {

struct DirectSampler::State {
  std::shared_ptr<ManagerCore> manager;
  xaftable* object = nullptr;
  std::string error;
};

DirectSampler::DirectSampler(const std::string& table, const TableSettings& settings)
    : state_(new State) {
  load_agents();
  const Registered entry = registered_manager(table);
  if (entry.manager == nullptr) return;
  state_->manager = entry.core;
  TableSettings wanted = settings;
  for (Threshold& threshold : wanted.thresholds) threshold.column = upper_case(threshold.column);
  state_->object = XaftableAccess::create(entry, wanted, IntfSampleType_Once, true);
  if (state_->object == nullptr) return;
  if (!check_thresholds(table, XaftableAccess::columns(state_->object), wanted, state_->error)) {
    XaftableAccess::release(std::exchange(state_->object, nullptr));
  }
}

DirectSampler::~DirectSampler() {
  XaftableAccess::release(state_->object);
  delete state_;
}

bool DirectSampler::found() const { return state_->object != nullptr; }

const std::string& DirectSampler::error() const { return state_->error; }

xaftable* DirectSampler::object() const { return state_->object; }

std::vector<std::string> DirectSampler::sample() {
  std::vector<std::string> rows;
  if (state_->object == nullptr) return rows;
  const std::lock_guard hold(state_->manager->lock);
  state_->object->ClearCount();  // what a sample that failed left behind
  state_->object->TakeSample();
  const RowStore& held = XaftableAccess::rows(state_->object);
  for (std::uint32_t index = 0; index < held.count(); ++index) {
    rows.emplace_back(held.row(index), held.row_size());
  }
  state_->object->ClearCount();
  return rows;
}

}  // namespace xaf
