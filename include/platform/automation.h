#pragma once
// Objects made by their class and called by name at run time (Automation): how the query layer of
// the directory (ADO, provider "ADsDSOObject") is reached. On Windows the SDK's; elsewhere the
// subset that the agent uses. Ownership is COM's, as in adsi.h.

#include "platform/adsi.h"
#ifdef _WIN32
#include <objbase.h>
#include <oleauto.h>
#else

using REFCLSID = const CLSID&;

#define CLSCTX_INPROC_SERVER 0x1
#define CLSCTX_INPROC_HANDLER 0x2
#define CLSCTX_LOCAL_SERVER 0x4
#define CLSCTX_REMOTE_SERVER 0x10
#define CLSCTX_ALL 0x17

#define REGDB_E_CLASSNOTREG (static_cast<HRESULT>(0x80040154))
#define CLASS_E_NOAGGREGATION (static_cast<HRESULT>(0x80040110))
#define DISP_E_MEMBERNOTFOUND (static_cast<HRESULT>(0x80020003))
#define DISP_E_PARAMNOTFOUND (static_cast<HRESULT>(0x80020004))
#define DISP_E_UNKNOWNNAME (static_cast<HRESULT>(0x80020006))
#define DISP_E_EXCEPTION (static_cast<HRESULT>(0x80020009))
#define DISP_E_BADPARAMCOUNT (static_cast<HRESULT>(0x8002000E))

#define DISPATCH_METHOD 0x1
#define DISPATCH_PROPERTYGET 0x2
#define DISPATCH_PROPERTYPUT 0x4
#define DISPATCH_PROPERTYPUTREF 0x8
#define DISPID_VALUE 0
#define DISPID_UNKNOWN (-1)
#define DISPID_PROPERTYPUT (-3)

struct DISPPARAMS {
  VARIANTARG* rgvarg;  // the last argument first
  DISPID* rgdispidNamedArgs;
  UINT cArgs;
  UINT cNamedArgs;
};

struct EXCEPINFO {
  WORD wCode;
  WORD wReserved;
  BSTR bstrSource;
  BSTR bstrDescription;
  BSTR bstrHelpFile;
  DWORD dwHelpContext;
  PVOID pvReserved;
  HRESULT(STDMETHODCALLTYPE* pfnDeferredFillIn)(EXCEPINFO*);
  LONG scode;
};

// A new object of the class, seen through that interface. Contexts other than the process's own are
// taken for it.
HRESULT CoCreateInstance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid,
                         void** object);

#endif
