#pragma once
// An object that is called by name: the numbering of its names, the unpacking of arguments and the
// telling of failures, written once. A class lists its members and answers them.
//
// Each member is a fault point of its own, "Connection::Open", and fails as a raised error does:
// the caller gets DISP_E_EXCEPTION and the object's own code and words.

#include <atomic>
#include <span>
#include <string>
#include <vector>

#include "include/platform/automation.h"

namespace platform {

// A failure that an object raises.
struct Raised {
  HRESULT code;
  std::string text;
};

class ScriptedObject : public IDispatch {
 public:
  ScriptedObject(const ScriptedObject&) = delete;
  ScriptedObject& operator=(const ScriptedObject&) = delete;

  HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override;
  ULONG STDMETHODCALLTYPE AddRef() override;
  ULONG STDMETHODCALLTYPE Release() override;
  HRESULT STDMETHODCALLTYPE GetTypeInfoCount(UINT* count) override;
  HRESULT STDMETHODCALLTYPE GetTypeInfo(UINT index, LCID locale, ITypeInfo** info) override;
  HRESULT STDMETHODCALLTYPE GetIDsOfNames(REFIID iid, LPOLESTR* names, UINT count, LCID locale,
                                          DISPID* ids) override;
  HRESULT STDMETHODCALLTYPE Invoke(DISPID id, REFIID iid, LCID locale, WORD flags,
                                   DISPPARAMS* parameters, VARIANT* result, EXCEPINFO* exception,
                                   UINT* wrong_argument) override;

 protected:
  // The first argument first.
  using Arguments = std::span<const VARIANT>;

  ScriptedObject(const char* class_name, std::vector<const char*> members);
  virtual ~ScriptedObject() = default;

  // Answers the member of that place in the list; may throw Raised. A put has one argument, the
  // value. The result is the caller's to free.
  virtual HRESULT answer(std::size_t member, bool is_put, Arguments arguments, VARIANT& result) = 0;

  static void give(VARIANT& result, std::int32_t number);
  static void give_flag(VARIANT& result, bool flag);
  // Hands a reference over.
  static void give_object(VARIANT& result, IDispatch* object);
  // The text of an argument; raises when it is none.
  static std::string text(Arguments arguments, std::size_t at);

 private:
  const std::string class_name_;
  const std::vector<const char*> members_;
  std::atomic<ULONG> references_{1};
};

}  // namespace platform
