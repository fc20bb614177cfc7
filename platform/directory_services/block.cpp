#include "platform/directory_services/block.h"

namespace platform {

Block::Block(accounting::Counter& counter, std::size_t size) : counter_(counter) {
  head_ = static_cast<Head*>(std::calloc(1, sizeof(Head) + size));
  if (head_ == nullptr) return;
  *head_ = {&counter, size};
  counter.add();
}

void Block::discard() {
  if (head_ != nullptr) free(counter_, head_ + 1);
}

void* Block::part(std::size_t bytes) {
  void* start = reinterpret_cast<char*>(head_ + 1) + used_;
  used_ += part_size(bytes);
  if (used_ > head_->size) std::abort();  // the sizes were added up wrongly
  return start;
}

void* Block::release() {
  Head* head = head_;
  head_ = nullptr;
  return head + 1;
}

bool Block::free(accounting::Counter& counter, void* block) {
  Head* head = static_cast<Head*>(block) - 1;
  if (head->mark != &counter) return false;
  head->mark = nullptr;
  std::free(head);
  counter.remove();
  return true;
}

}  // namespace platform
