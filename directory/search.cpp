#include "directory/search.h"

#include <vector>

#include "directory/asking.h"
#include "directory/text.h"

namespace directory {

HRESULT Column::read(IDirectorySearch* searched, ADS_SEARCH_HANDLE search, std::string_view name) {
  free();
  std::wstring wide_name = widened(name);
  const HRESULT result = searched->GetColumn(search, wide_name.data(), &column_);
  if (SUCCEEDED(result)) searched_ = searched;
  return result;
}

void Column::free() {
  if (searched_ != nullptr) searched_->FreeColumn(&column_);
  searched_ = nullptr;
}

std::wstring_view Column::text() const {
  if (searched_ == nullptr || column_.dwNumValues == 0) return {};
  const ADSVALUE& value = column_.pADsValues[0];
  const bool is_text = value.dwType == ADSTYPE_DN_STRING ||
                       value.dwType == ADSTYPE_CASE_EXACT_STRING ||
                       value.dwType == ADSTYPE_CASE_IGNORE_STRING;
  return is_text && value.DNString != nullptr ? std::wstring_view(value.DNString)
                                              : std::wstring_view();
}

DWORD Column::number() const {
  if (searched_ == nullptr || column_.dwNumValues == 0) return 0;
  const ADSVALUE& value = column_.pADsValues[0];
  return value.dwType == ADSTYPE_INTEGER ? value.Integer : 0;
}

Search::~Search() {
  if (search_ != nullptr) object_->CloseSearchHandle(search_);
}

HRESULT Search::open(const wchar_t* path) {
  tell_asking(path);
  const HRESULT result = ADsOpenObject(path, nullptr, nullptr, ADS_SECURE_AUTHENTICATION,
                                       IID_IDirectorySearch, object_.untyped_target());
  return SUCCEEDED(result) && !object_ ? E_NOINTERFACE : result;
}

HRESULT Search::execute(std::wstring_view filter, std::span<const std::string_view> names) {
  std::wstring wide_filter(filter);
  std::vector<std::wstring> wide_names;
  wide_names.reserve(names.size());
  for (const std::string_view name : names) wide_names.push_back(widened(name));
  std::vector<LPWSTR> pointers;
  pointers.reserve(wide_names.size());
  for (std::wstring& name : wide_names) pointers.push_back(name.data());
  return object_->ExecuteSearch(wide_filter.data(), pointers.data(),
                                static_cast<DWORD>(pointers.size()), &search_);
}

HRESULT Search::next() { return object_->GetNextRow(search_); }

HRESULT Search::read(std::string_view name, Column& column) {
  return column.read(object_.get(), search_, name);
}

void Search::abandon() {
  if (search_ != nullptr) object_->AbandonSearch(search_);
}

}  // namespace directory
