// The searching side of a directory object.

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/adsi/directory_object.h"
#include "platform/adsi/search_rows.h"
#include "platform/adsi/wide_text.h"
#include "platform/kernel/fault_point.h"

namespace platform {
namespace {

SearchRows* rows_of(ADS_SEARCH_HANDLE search) { return static_cast<SearchRows*>(search); }

}  // namespace

HRESULT DirectoryObject::SetSearchPreference(PADS_SEARCHPREF_INFO, DWORD) { return E_NOTIMPL; }

HRESULT DirectoryObject::ExecuteSearch(LPWSTR filter, LPWSTR* names, DWORD count,
                                       PADS_SEARCH_HANDLE search) {
  if (search == nullptr || (names == nullptr && count != 0)) return E_ADS_BAD_PARAMETER;
  *search = nullptr;
  if (const auto fault = fault_point("IDirectorySearch::ExecuteSearch", kDirectoryServerDown)) {
    return fault->hresult();
  }
  Directory* directory = controller_->directory();
  if (directory == nullptr) return kDirectoryServerDown;
  std::vector<std::string> wanted;
  for (DWORD i = 0; i < count; ++i) {
    if (names[i] == nullptr) return E_ADS_BAD_PARAMETER;
    wanted.push_back(narrow_text(names[i]));
  }
  const std::string wanted_filter = filter == nullptr ? "" : plain_filter(narrow_text(filter));
  std::unique_ptr<EntryCursor> cursor;
  const DirectoryResult result = directory->search(path_.server, path_.dn, SearchScope::kSubtree,
                                                   wanted_filter, wanted, cursor);
  if (FAILED(result)) return result;
  *search = new SearchRows(controller_, std::move(cursor));
  return S_OK;
}

HRESULT DirectoryObject::AbandonSearch(ADS_SEARCH_HANDLE search) {
  if (search == nullptr) return E_ADS_BAD_PARAMETER;
  rows_of(search)->abandon();
  return S_OK;
}

HRESULT DirectoryObject::GetFirstRow(ADS_SEARCH_HANDLE) { return E_NOTIMPL; }

HRESULT DirectoryObject::GetNextRow(ADS_SEARCH_HANDLE search) {
  if (const auto fault = fault_point("IDirectorySearch::GetNextRow", kDirectoryServerDown)) {
    if (search != nullptr) rows_of(search)->leave_row();
    return fault->hresult();
  }
  return search == nullptr ? E_ADS_BAD_PARAMETER : rows_of(search)->next();
}

HRESULT DirectoryObject::GetPreviousRow(ADS_SEARCH_HANDLE) { return E_NOTIMPL; }

HRESULT DirectoryObject::GetNextColumnName(ADS_SEARCH_HANDLE, LPWSTR*) { return E_NOTIMPL; }

HRESULT DirectoryObject::GetColumn(ADS_SEARCH_HANDLE search, LPWSTR name,
                                   PADS_SEARCH_COLUMN column) {
  if (column == nullptr) return E_ADS_BAD_PARAMETER;
  *column = {};
  if (const auto fault = fault_point("IDirectorySearch::GetColumn", E_ADS_COLUMN_NOT_SET)) {
    return fault->hresult();
  }
  if (search == nullptr || name == nullptr) return E_ADS_BAD_PARAMETER;
  return rows_of(search)->column(narrow_text(name), *column);
}

HRESULT DirectoryObject::FreeColumn(PADS_SEARCH_COLUMN column) {
  if (column == nullptr) return E_ADS_BAD_PARAMETER;
  free_column(*column);
  return S_OK;
}

HRESULT DirectoryObject::CloseSearchHandle(ADS_SEARCH_HANDLE search) {
  if (search == nullptr) return E_ADS_BAD_PARAMETER;
  delete rows_of(search);
  return S_OK;
}

}  // namespace platform
