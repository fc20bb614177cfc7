#pragma once
// One search under way, and the columns that it hands out.

#include <memory>
#include <string>

#include "include/platform/adsi.h"
#include "platform/controller.h"

namespace platform {

// "((objectClass=x))" is no filter by the book, but one that ADSI takes: pairs of brackets around
// the whole of a filter in brackets are taken off.
std::string plain_filter(std::string_view filter);

// Used by one thread at a time, as the object that it belongs to.
class SearchRows {
 public:
  SearchRows(std::shared_ptr<Controller> controller, std::unique_ptr<EntryCursor> cursor);
  ~SearchRows();
  SearchRows(const SearchRows&) = delete;
  SearchRows& operator=(const SearchRows&) = delete;

  // S_OK and the next row is the current one, S_ADS_NOMORE_ROWS, or a failure; there is no current
  // row after the latter two.
  HRESULT next();
  // Of the current row.
  HRESULT column(const std::string& name, ADS_SEARCH_COLUMN& column) const;
  void abandon() { cursor_.reset(); }
  // There is no current row any more.
  void leave_row() { has_row_ = false; }

 private:
  const std::shared_ptr<Controller> controller_;  // outlives its cursor
  std::unique_ptr<EntryCursor> cursor_;
  Entry row_;
  bool has_row_ = false;
};

// Gives the column's values back and clears it.
void free_column(ADS_SEARCH_COLUMN& column);

}  // namespace platform
