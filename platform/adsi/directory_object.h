#pragma once
// One object of the directory behind IADs, IADsContainer and IDirectorySearch.
//
// References may be counted from any thread; the object itself is used by one thread at a time, as
// directory objects are. It keeps its controller alive.

#include <atomic>
#include <memory>
#include <optional>
#include <string>

#include "include/platform/adsi.h"
#include "platform/adsi/path.h"
#include "platform/adsi/property_cache.h"
#include "platform/controller.h"

namespace platform {

class DirectoryObject final : public IADs, public IADsContainer, public IDirectorySearch {
 public:
  // fetched: all the attributes, when a bind or an enumeration has brought them along. They serve
  // the first read, so that binding and reading cost one round trip together.
  DirectoryObject(std::shared_ptr<Controller> controller, AdsPath path,
                  std::optional<Entry> fetched);
  DirectoryObject(const DirectoryObject&) = delete;
  DirectoryObject& operator=(const DirectoryObject&) = delete;

  // Made by IADsContainer::Create, and not in the directory yet.
  void mark_as_new(const std::string& class_name);

  // IUnknown
  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;

  // IDispatch: nothing here is called by a name at run time.
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags,
                                   DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                   UINT* wrong_argument) override;

  // IADs
  HRESULT WINAPI get_Name(BSTR* name) override;
  HRESULT WINAPI get_Class(BSTR* name) override;
  HRESULT WINAPI get_GUID(BSTR* guid) override;
  HRESULT WINAPI get_ADsPath(BSTR* path) override;
  HRESULT WINAPI get_Parent(BSTR* path) override;
  HRESULT WINAPI get_Schema(BSTR* path) override;
  HRESULT WINAPI GetInfo() override;
  HRESULT WINAPI SetInfo() override;
  HRESULT WINAPI Get(BSTR name, VARIANT* value) override;
  HRESULT WINAPI Put(BSTR name, VARIANT value) override;
  HRESULT WINAPI GetEx(BSTR name, VARIANT* values) override;
  HRESULT WINAPI PutEx(LONG control, BSTR name, VARIANT values) override;
  HRESULT WINAPI GetInfoEx(VARIANT names, LONG reserved) override;

  // IADsContainer
  HRESULT WINAPI get_Count(LONG* count) override;
  HRESULT WINAPI get__NewEnum(IUnknown** enumerator) override;
  HRESULT WINAPI get_Filter(VARIANT* filter) override;
  HRESULT WINAPI put_Filter(VARIANT filter) override;
  HRESULT WINAPI get_Hints(VARIANT* hints) override;
  HRESULT WINAPI put_Hints(VARIANT hints) override;
  HRESULT WINAPI GetObject(BSTR class_name, BSTR relative_name, IDispatch** object) override;
  HRESULT WINAPI Create(BSTR class_name, BSTR relative_name, IDispatch** object) override;
  HRESULT WINAPI Delete(BSTR class_name, BSTR relative_name) override;
  HRESULT WINAPI CopyHere(BSTR source, BSTR new_name, IDispatch** object) override;
  HRESULT WINAPI MoveHere(BSTR source, BSTR new_name, IDispatch** object) override;

  // IDirectorySearch: the whole subtree, without preferences, forward only.
  HRESULT WINAPI SetSearchPreference(PADS_SEARCHPREF_INFO preferences, DWORD count) override;
  HRESULT WINAPI ExecuteSearch(LPWSTR filter, LPWSTR* names, DWORD count,
                               PADS_SEARCH_HANDLE search) override;
  HRESULT WINAPI AbandonSearch(ADS_SEARCH_HANDLE search) override;
  HRESULT WINAPI GetFirstRow(ADS_SEARCH_HANDLE search) override;
  HRESULT WINAPI GetNextRow(ADS_SEARCH_HANDLE search) override;
  HRESULT WINAPI GetPreviousRow(ADS_SEARCH_HANDLE search) override;
  HRESULT WINAPI GetNextColumnName(ADS_SEARCH_HANDLE search, LPWSTR* name) override;
  HRESULT WINAPI GetColumn(ADS_SEARCH_HANDLE search, LPWSTR name,
                           PADS_SEARCH_COLUMN column) override;
  HRESULT WINAPI FreeColumn(PADS_SEARCH_COLUMN column) override;
  HRESULT WINAPI CloseSearchHandle(ADS_SEARCH_HANDLE search) override;

 private:
  ~DirectoryObject() = default;

  HRESULT fetch();
  HRESULT fetch_once();
  // The attribute after an implicit fetch, or the failure.
  HRESULT attribute(BSTR name, const Attribute*& found);
  AdsPath child_path(BSTR relative_name) const;
  // The child of that name; an empty class takes any.
  HRESULT find_child(BSTR class_name, BSTR relative_name, IDispatch** object);

  const std::shared_ptr<Controller> controller_;
  const AdsPath path_;
  std::optional<Entry> fetched_;  // brought along and not yet in the cache
  bool cache_is_filled_ = false;
  bool is_new_ = false;
  PropertyCache cache_;
  std::atomic<ULONG> references_{1};
};

// Reads what path names, of the controller in force, and makes its object. with_attributes: bring
// all of them along, for a caller who is going to read.
HRESULT bind_object(const std::shared_ptr<Controller>& controller, AdsPath path,
                    bool with_attributes, DirectoryObject** object);

}  // namespace platform
