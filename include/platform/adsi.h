#pragma once
// COM values and the directory service interfaces (ADSI). On Windows the SDK's; elsewhere the
// subset that the agent uses, with the SDK's names, values and order of methods.
//
// Ownership is COM's: out references and out values belong to the caller, who releases them,
// clears them (VariantClear) or frees them (SysFreeString, SafeArrayDestroy); in values stay the
// caller's. All calls may be made from any thread of the multithreaded apartment.

#include "platform/base.h"
#ifdef _WIN32
#include <objbase.h>
#include <oleauto.h>
// In this order: the helpers need the interfaces.
#include <activeds.h>
#include <adserr.h>
#include <adshlp.h>
#include <iads.h>
#else

#include "platform/time.h"

// ---- the apartment ------------------------------------------------------------------------------

#define COINIT_MULTITHREADED 0x0u
#define COINIT_APARTMENTTHREADED 0x2u
#define RPC_E_CHANGED_MODE (static_cast<HRESULT>(0x80010106))
#define CO_E_NOTINITIALIZED (static_cast<HRESULT>(0x800401F0))

// S_OK for a thread's first call, S_FALSE for the further ones; each wants its CoUninitialize.
// While any thread keeps the multithreaded apartment open, every thread of the process is in it.
HRESULT CoInitializeEx(LPVOID reserved, DWORD apartment);
void CoUninitialize();

// ---- values -------------------------------------------------------------------------------------

using VARTYPE = unsigned short;
using VARIANT_BOOL = short;
#define VARIANT_TRUE (static_cast<VARIANT_BOOL>(-1))
#define VARIANT_FALSE (static_cast<VARIANT_BOOL>(0))

enum VARENUM {
  VT_EMPTY = 0,
  VT_NULL = 1,
  VT_I2 = 2,
  VT_I4 = 3,
  VT_R8 = 5,
  VT_DATE = 7,
  VT_BSTR = 8,
  VT_DISPATCH = 9,
  VT_ERROR = 10,
  VT_BOOL = 11,
  VT_VARIANT = 12,
  VT_UNKNOWN = 13,
  VT_I1 = 16,
  VT_UI1 = 17,
  VT_UI2 = 18,
  VT_UI4 = 19,
  VT_I8 = 20,
  VT_UI8 = 21,
  VT_INT = 22,
  VT_UINT = 23,
  VT_ARRAY = 0x2000,
  VT_BYREF = 0x4000,
  VT_TYPEMASK = 0xfff
};

#define DISP_E_TYPEMISMATCH (static_cast<HRESULT>(0x80020005))
#define DISP_E_BADVARTYPE (static_cast<HRESULT>(0x80020008))
#define DISP_E_BADINDEX (static_cast<HRESULT>(0x8002000B))
#define DISP_E_ARRAYISLOCKED (static_cast<HRESULT>(0x8002000D))

#define FADF_HAVEVARTYPE 0x80
#define FADF_BSTR 0x100
#define FADF_UNKNOWN 0x200
#define FADF_DISPATCH 0x400
#define FADF_VARIANT 0x800

struct IUnknown;
struct IDispatch;

struct SAFEARRAYBOUND {
  ULONG cElements;
  LONG lLbound;
};

struct SAFEARRAY {
  USHORT cDims;
  USHORT fFeatures;
  ULONG cbElements;
  ULONG cLocks;
  PVOID pvData;
  SAFEARRAYBOUND rgsabound[1];
};
using LPSAFEARRAY = SAFEARRAY*;

struct VARIANT {
  VARTYPE vt;
  WORD wReserved1;
  WORD wReserved2;
  WORD wReserved3;
  union {
    LONGLONG llVal;
    LONG lVal;
    BYTE bVal;
    SHORT iVal;
    double dblVal;
    VARIANT_BOOL boolVal;
    LONG scode;
    DATE date;
    BSTR bstrVal;
    IUnknown* punkVal;
    IDispatch* pdispVal;
    SAFEARRAY* parray;
    VARIANT* pvarVal;
    PVOID byref;
    CHAR cVal;
    USHORT uiVal;
    ULONG ulVal;
    ULONGLONG ullVal;
    INT intVal;
    UINT uintVal;
  };
};
using VARIANTARG = VARIANT;

void VariantInit(VARIANTARG* variant);
// Frees what the value owns and leaves VT_EMPTY.
HRESULT VariantClear(VARIANTARG* variant);
// A deep copy; the target is cleared first. A copy onto itself does nothing.
HRESULT VariantCopy(VARIANTARG* target, const VARIANTARG* source);

// Text with its length in bytes before it and a zero end; null is the empty text.
BSTR SysAllocString(const OLECHAR* text);
BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
void SysFreeString(BSTR text);
UINT SysStringLen(BSTR text);
UINT SysStringByteLen(BSTR text);

// Of one dimension only here; dimensions count from 1. Destroying frees the elements too.
SAFEARRAY* SafeArrayCreate(VARTYPE type, UINT dimensions, SAFEARRAYBOUND* bounds);
SAFEARRAY* SafeArrayCreateVector(VARTYPE type, LONG lower_bound, ULONG count);
UINT SafeArrayGetDim(SAFEARRAY* array);
HRESULT SafeArrayGetVartype(SAFEARRAY* array, VARTYPE* type);
HRESULT SafeArrayGetLBound(SAFEARRAY* array, UINT dimension, LONG* bound);
HRESULT SafeArrayGetUBound(SAFEARRAY* array, UINT dimension, LONG* bound);
// Elements go in and out as copies; BSTRs and references are handed over as themselves.
HRESULT SafeArrayGetElement(SAFEARRAY* array, LONG* index, void* element);
HRESULT SafeArrayPutElement(SAFEARRAY* array, LONG* index, void* element);
HRESULT SafeArrayAccessData(SAFEARRAY* array, void** data);
HRESULT SafeArrayUnaccessData(SAFEARRAY* array);
HRESULT SafeArrayCopy(SAFEARRAY* source, SAFEARRAY** copy);
HRESULT SafeArrayDestroy(SAFEARRAY* array);

// ---- interfaces ---------------------------------------------------------------------------------

using DISPID = LONG;
struct ITypeInfo;
struct DISPPARAMS;
struct EXCEPINFO;

struct IUnknown {
  virtual HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) = 0;
  virtual ULONG STDMETHODCALLTYPE AddRef() = 0;
  virtual ULONG STDMETHODCALLTYPE Release() = 0;

 protected:
  ~IUnknown() = default;
};

struct IDispatch : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) = 0;
  virtual HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count,
                                                  LCID locale, DISPID* ids) = 0;
  virtual HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags,
                                           DISPPARAMS* parameters, VARIANT* result,
                                           EXCEPINFO* exception, UINT* wrong_argument) = 0;

 protected:
  ~IDispatch() = default;
};

struct IEnumVARIANT : public IUnknown {
  virtual HRESULT STDMETHODCALLTYPE Next(ULONG count, VARIANT* values, ULONG* fetched) = 0;
  virtual HRESULT STDMETHODCALLTYPE Skip(ULONG count) = 0;
  virtual HRESULT STDMETHODCALLTYPE Reset() = 0;
  virtual HRESULT STDMETHODCALLTYPE Clone(IEnumVARIANT** copy) = 0;

 protected:
  ~IEnumVARIANT() = default;
};

struct IADs : public IDispatch {
  virtual HRESULT WINAPI get_Name(BSTR* name) = 0;
  virtual HRESULT WINAPI get_Class(BSTR* name) = 0;
  virtual HRESULT WINAPI get_GUID(BSTR* guid) = 0;
  virtual HRESULT WINAPI get_ADsPath(BSTR* path) = 0;
  virtual HRESULT WINAPI get_Parent(BSTR* path) = 0;
  virtual HRESULT WINAPI get_Schema(BSTR* path) = 0;
  virtual HRESULT WINAPI GetInfo() = 0;
  virtual HRESULT WINAPI SetInfo() = 0;
  virtual HRESULT WINAPI Get(BSTR name, VARIANT* value) = 0;
  virtual HRESULT WINAPI Put(BSTR name, VARIANT value) = 0;
  virtual HRESULT WINAPI GetEx(BSTR name, VARIANT* values) = 0;
  virtual HRESULT WINAPI PutEx(LONG control, BSTR name, VARIANT values) = 0;
  virtual HRESULT WINAPI GetInfoEx(VARIANT names, LONG reserved) = 0;

 protected:
  ~IADs() = default;
};

struct IADsContainer : public IDispatch {
  virtual HRESULT WINAPI get_Count(LONG* count) = 0;
  virtual HRESULT WINAPI get__NewEnum(IUnknown** enumerator) = 0;
  virtual HRESULT WINAPI get_Filter(VARIANT* filter) = 0;
  virtual HRESULT WINAPI put_Filter(VARIANT filter) = 0;
  virtual HRESULT WINAPI get_Hints(VARIANT* hints) = 0;
  virtual HRESULT WINAPI put_Hints(VARIANT hints) = 0;
  virtual HRESULT WINAPI GetObject(BSTR class_name, BSTR relative_name, IDispatch** object) = 0;
  virtual HRESULT WINAPI Create(BSTR class_name, BSTR relative_name, IDispatch** object) = 0;
  virtual HRESULT WINAPI Delete(BSTR class_name, BSTR relative_name) = 0;
  virtual HRESULT WINAPI CopyHere(BSTR source, BSTR new_name, IDispatch** object) = 0;
  virtual HRESULT WINAPI MoveHere(BSTR source, BSTR new_name, IDispatch** object) = 0;

 protected:
  ~IADsContainer() = default;
};

// ---- searches -----------------------------------------------------------------------------------

enum ADSTYPE {
  ADSTYPE_INVALID = 0,
  ADSTYPE_DN_STRING = 1,
  ADSTYPE_CASE_EXACT_STRING = 2,
  ADSTYPE_CASE_IGNORE_STRING = 3,
  ADSTYPE_BOOLEAN = 6,
  ADSTYPE_INTEGER = 7,
  ADSTYPE_OCTET_STRING = 8,
  ADSTYPE_UTC_TIME = 9,
  ADSTYPE_LARGE_INTEGER = 10
};

struct ADS_OCTET_STRING {
  DWORD dwLength;
  LPBYTE lpValue;
};

// One value of a column. The member in force follows from the type; all texts share one place.
struct ADSVALUE {
  ADSTYPE dwType;
  union {
    LPWSTR DNString;
    LPWSTR CaseExactString;
    LPWSTR CaseIgnoreString;
    DWORD Boolean;
    DWORD Integer;
    ADS_OCTET_STRING OctetString;
    SYSTEMTIME UTCTime;
    LARGE_INTEGER LargeInteger;
  };
};
using PADSVALUE = ADSVALUE*;

// Given back with FreeColumn, values and all.
struct ADS_SEARCH_COLUMN {
  LPWSTR pszAttrName;
  ADSTYPE dwADsType;
  PADSVALUE pADsValues;
  DWORD dwNumValues;
  HANDLE hReserved;
};
using PADS_SEARCH_COLUMN = ADS_SEARCH_COLUMN*;

using ADS_SEARCH_HANDLE = HANDLE;
using PADS_SEARCH_HANDLE = HANDLE*;
struct ads_searchpref_info;
using PADS_SEARCHPREF_INFO = ads_searchpref_info*;

// Without preferences a search walks the whole subtree of its object. Rows are read forward only:
// GetNextRow steps onto the first row, too, and gives S_ADS_NOMORE_ROWS behind the last. GetColumn
// gives E_ADS_COLUMN_NOT_SET for an attribute that the row lacks.
struct IDirectorySearch : public IUnknown {
  virtual HRESULT WINAPI SetSearchPreference(PADS_SEARCHPREF_INFO preferences, DWORD count) = 0;
  virtual HRESULT WINAPI ExecuteSearch(LPWSTR filter, LPWSTR* names, DWORD count,
                                       PADS_SEARCH_HANDLE search) = 0;
  virtual HRESULT WINAPI AbandonSearch(ADS_SEARCH_HANDLE search) = 0;
  virtual HRESULT WINAPI GetFirstRow(ADS_SEARCH_HANDLE search) = 0;
  virtual HRESULT WINAPI GetNextRow(ADS_SEARCH_HANDLE search) = 0;
  virtual HRESULT WINAPI GetPreviousRow(ADS_SEARCH_HANDLE search) = 0;
  virtual HRESULT WINAPI GetNextColumnName(ADS_SEARCH_HANDLE search, LPWSTR* name) = 0;
  virtual HRESULT WINAPI GetColumn(ADS_SEARCH_HANDLE search, LPWSTR name,
                                   PADS_SEARCH_COLUMN column) = 0;
  virtual HRESULT WINAPI FreeColumn(PADS_SEARCH_COLUMN column) = 0;
  virtual HRESULT WINAPI CloseSearchHandle(ADS_SEARCH_HANDLE search) = 0;

 protected:
  ~IDirectorySearch() = default;
};

inline constexpr IID IID_NULL{0, 0, 0, {0, 0, 0, 0, 0, 0, 0, 0}};
inline constexpr IID IID_IUnknown{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IDispatch{0x00020400, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IEnumVARIANT{0x00020404, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
inline constexpr IID IID_IADs{
    0xFD8256D0, 0xFD15, 0x11CE, {0xAB, 0xC4, 0x02, 0x60, 0x8C, 0x9E, 0x75, 0x53}};
inline constexpr IID IID_IADsContainer{
    0x001677D0, 0xFD16, 0x11CE, {0xAB, 0xC4, 0x02, 0x60, 0x8C, 0x9E, 0x75, 0x53}};
inline constexpr IID IID_IDirectorySearch{
    0x109BA8EC, 0x92F0, 0x11D0, {0xA7, 0x90, 0x00, 0xC0, 0x4F, 0xD8, 0xD5, 0xA8}};

// ---- directory calls ----------------------------------------------------------------------------

#define E_ADS_BAD_PATHNAME (static_cast<HRESULT>(0x80005000))
#define E_ADS_UNKNOWN_OBJECT (static_cast<HRESULT>(0x80005004))
#define E_ADS_PROPERTY_NOT_SET (static_cast<HRESULT>(0x80005005))
#define E_ADS_BAD_PARAMETER (static_cast<HRESULT>(0x80005008))
#define E_ADS_OBJECT_UNBOUND (static_cast<HRESULT>(0x80005009))
#define E_ADS_CANT_CONVERT_DATATYPE (static_cast<HRESULT>(0x8000500C))
#define E_ADS_PROPERTY_NOT_FOUND (static_cast<HRESULT>(0x8000500D))
#define E_ADS_OBJECT_EXISTS (static_cast<HRESULT>(0x8000500E))
#define E_ADS_COLUMN_NOT_SET (static_cast<HRESULT>(0x80005010))
#define E_ADS_INVALID_FILTER (static_cast<HRESULT>(0x80005014))
#define S_ADS_NOMORE_ROWS (static_cast<HRESULT>(0x00005012))
#define S_ADS_NOMORE_COLUMNS (static_cast<HRESULT>(0x00005013))

#define ADS_SECURE_AUTHENTICATION 0x1
#define ADS_PROPERTY_CLEAR 1
#define ADS_PROPERTY_UPDATE 2
#define ADS_PROPERTY_APPEND 3
#define ADS_PROPERTY_DELETE 4

HRESULT ADsGetObject(LPCWSTR path, REFIID iid, void** object);
HRESULT ADsOpenObject(LPCWSTR path, LPCWSTR user, LPCWSTR password, DWORD flags, REFIID iid,
                      void** object);
HRESULT ADsBuildEnumerator(IADsContainer* container, IEnumVARIANT** enumerator);
// S_OK with all of count, S_FALSE with fewer at the end, else the failure.
HRESULT ADsEnumerateNext(IEnumVARIANT* enumerator, ULONG count, VARIANT* values, ULONG* fetched);
HRESULT ADsFreeEnumerator(IEnumVARIANT* enumerator);
HRESULT ADsBuildVarArrayStr(LPWSTR* names, DWORD count, VARIANT* array);

#endif
