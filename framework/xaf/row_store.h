#pragma once
// The rows that a table object holds: one growing block, rows one behind the other. Handing over a
// sample costs no copy, because whoever takes the rows shares the block.
//
// Not synchronised: a table object is used by one thread at a time, under its manager's lock.

#include <cstddef>
#include <cstdint>
#include <memory>

namespace xaf {

class RowBlock {
 public:
  explicit RowBlock(std::size_t capacity);  // null bytes when memory ran out
  ~RowBlock();
  RowBlock(const RowBlock&) = delete;
  RowBlock& operator=(const RowBlock&) = delete;

  // False, with the block as it was, when memory ran out.
  bool grow(std::size_t capacity);

  char* bytes() const { return bytes_; }
  std::size_t capacity() const { return capacity_; }

 private:
  char* bytes_;
  std::size_t capacity_;
};

class RowStore {
 public:
  enum class Inserted { kYes, kNoRowSize, kTooMany, kNoMemory };

  // Forgets the rows held.
  void set_row_size(std::uint32_t bytes);
  // Room is made for at least so many rows at a time.
  void set_step(std::uint32_t rows) { step_ = rows == 0 ? 1 : rows; }
  void set_limit(std::uint32_t rows) { limit_ = rows; }

  Inserted append(const char* row);
  void clear();

  std::uint32_t row_size() const { return row_size_; }
  std::uint32_t step() const { return step_; }
  std::uint32_t count() const { return count_; }
  std::uint32_t allocated() const { return allocated_; }  // rows that fit before it must grow
  // Good until the next row is appended.
  const char* row(std::uint32_t index) const {
    return index < count_ ? block_->bytes() + std::size_t{index} * row_size_ : nullptr;
  }
  // What the rows held stand in. Rows that were in it when it was taken stay as they are for as
  // long as it is kept.
  std::shared_ptr<const RowBlock> share() const { return block_; }

 private:
  bool make_room();

  std::shared_ptr<RowBlock> block_;
  std::shared_ptr<RowBlock> spare_;  // of the sample before, perhaps still shared
  std::uint32_t row_size_ = 0;
  std::uint32_t step_ = 1;
  std::uint32_t limit_ = 0x7FFFFFFF;
  std::uint32_t count_ = 0;
  std::uint32_t allocated_ = 0;
};

}  // namespace xaf
