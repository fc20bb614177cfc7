#include "framework/xaf/row_store.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace xaf {

// malloc and realloc, not a vector: fresh room is not cleared first, and a large block grows by
// remapping instead of copying.
RowBlock::RowBlock(std::size_t capacity)
    : bytes_(static_cast<char*>(std::malloc(capacity))), capacity_(capacity) {}

RowBlock::~RowBlock() { std::free(bytes_); }

bool RowBlock::grow(std::size_t capacity) {
  char* const grown = static_cast<char*>(std::realloc(bytes_, capacity));
  if (grown == nullptr) return false;
  bytes_ = grown;
  capacity_ = capacity;
  return true;
}

void RowStore::set_row_size(std::uint32_t bytes) {
  block_.reset();
  spare_.reset();
  row_size_ = bytes;
  count_ = 0;
  allocated_ = 0;
}

bool RowStore::make_room() {
  const std::uint64_t rows = std::min<std::uint64_t>(
      std::max<std::uint64_t>(allocated_ * std::uint64_t{2}, allocated_ + std::uint64_t{step_}),
      limit_);
  const std::size_t capacity = static_cast<std::size_t>(rows) * row_size_;
  if (block_ != nullptr && block_.use_count() == 1) {
    if (!block_->grow(capacity)) return false;
  } else {
    auto larger = std::make_shared<RowBlock>(capacity);
    if (larger->bytes() == nullptr) return false;
    if (count_ > 0) {
      std::memcpy(larger->bytes(), block_->bytes(), std::size_t{count_} * row_size_);
    }
    block_ = std::move(larger);
  }
  allocated_ = static_cast<std::uint32_t>(rows);
  return true;
}

RowStore::Inserted RowStore::append(const char* row) {
  if (count_ == allocated_) [[unlikely]] {
    if (row_size_ == 0) return Inserted::kNoRowSize;
    if (count_ >= limit_) return Inserted::kTooMany;
    if (!make_room()) return Inserted::kNoMemory;
  }
  std::memcpy(block_->bytes() + std::size_t{count_} * row_size_, row, row_size_);
  ++count_;
  return Inserted::kYes;
}

namespace {

// Whether this is the only owner; then what the former ones read is read.
bool alone(std::shared_ptr<RowBlock>& block) {
  if (block.use_count() > 1) return false;
  // The count alone orders nothing; giving up a share of one's own waits for theirs.
  std::shared_ptr<RowBlock>(block).reset();
  return true;
}

}  // namespace

void RowStore::clear() {
  count_ = 0;
  if (block_ == nullptr || alone(block_)) return;
  // Whoever shares the block keeps its rows; the next sample writes into the one before, if nobody
  // shares that any more: fresh memory costs more than the rows that are copied into it.
  block_.swap(spare_);
  if (block_ != nullptr && !alone(block_)) block_.reset();
  allocated_ = block_ == nullptr ? 0 : static_cast<std::uint32_t>(block_->capacity() / row_size_);
}

}  // namespace xaf
