#pragma once
// A search through the subtree of one directory object, row by row. Used by one thread.

#include <span>
#include <string>
#include <string_view>

#include "directory/com.h"
#include "include/platform/adsi.h"

namespace directory {

// One column of a row; what it holds goes back with it.
class Column {
 public:
  Column() = default;
  ~Column() { free(); }
  Column(const Column&) = delete;
  Column& operator=(const Column&) = delete;

  // Negative when the row has no such column.
  HRESULT read(IDirectorySearch* searched, ADS_SEARCH_HANDLE search, std::string_view name);
  void free();

  // The first value as wide text, or empty for a value that is none.
  std::wstring_view text() const;
  // The first value as a number, or 0 for a value that is none.
  DWORD number() const;

 private:
  IDirectorySearch* searched_ = nullptr;  // who takes the column back; null while there is none
  ADS_SEARCH_COLUMN column_{};
};

// The object searched and the search on it. Going, it closes the search and lets the object go, in
// this order.
class Search {
 public:
  Search() = default;
  ~Search();
  Search(const Search&) = delete;
  Search& operator=(const Search&) = delete;

  // Opens the object with the process's own credentials. Negative is failure.
  HRESULT open(const wchar_t* path);
  // No search preferences are set.
  HRESULT execute(std::wstring_view filter, std::span<const std::string_view> names);
  // S_ADS_NOMORE_ROWS behind the last row.
  HRESULT next();
  HRESULT read(std::string_view name, Column& column);
  // Stops a search that is not going to be read to its end.
  void abandon();

 private:
  Reference<IDirectorySearch> object_;
  ADS_SEARCH_HANDLE search_ = nullptr;
};

}  // namespace directory
