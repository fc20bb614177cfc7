#pragma once
// Objects that are called by name at run time. A call that fails throws AutomationError, with the
// result and the object's own words: the query layer fails in dozens of places that all mean the
// same to its caller.

#include <concepts>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <string>
#include <utility>

#include "directory/com.h"
#include "include/platform/automation.h"

namespace directory {

class AutomationError : public std::exception {
 public:
  AutomationError(HRESULT result, std::string text) : result_(result), text_(std::move(text)) {}
  HRESULT result() const { return result_; }
  // The call, and what the object said of its failure.
  const char* what() const noexcept override { return text_.c_str(); }

 private:
  HRESULT result_;
  std::string text_;
};

// One argument of a call; what it was made from stays alive until the call is over.
class Argument {
 public:
  // A text is a string of its own here, freed with the argument.
  explicit Argument(const wchar_t* text);
  explicit Argument(std::int32_t number);
  explicit Argument(IDispatch* object);
  // Of a flag alone: any pointer would do for a bool.
  explicit Argument(std::same_as<bool> auto flag) { set_flag(flag); }
  // An optional one that is left out.
  struct Missing {};
  explicit Argument(Missing);
  Argument(const Argument&) = delete;
  Argument& operator=(const Argument&) = delete;
  const VARIANT& value() const { return value_.get(); }

 private:
  void set_flag(bool flag);

  Variant value_;
};

class AutomationObject {
 public:
  AutomationObject() = default;
  AutomationObject(AutomationObject&&) = default;

  // Makes an object of the class. Negative is failure, and the object stays empty; every call of an
  // empty object throws.
  HRESULT create(REFCLSID class_id);
  explicit operator bool() const { return static_cast<bool>(object_); }

  // The result is a success, and may be another one than S_OK.
  HRESULT call(const wchar_t* method, std::initializer_list<const Argument*> arguments = {});
  // The object that the call gives takes the place of the one in target.
  void call_for_object(const wchar_t* method, std::initializer_list<const Argument*> arguments,
                       AutomationObject& target);
  void put(const wchar_t* property, const Argument& value);
  void put_reference(const wchar_t* property, const AutomationObject& value);
  std::int32_t number(const wchar_t* property);
  bool flag(const wchar_t* property);
  AutomationObject object(const wchar_t* property,
                          std::initializer_list<const Argument*> arguments = {});

 private:
  HRESULT invoke(const wchar_t* name, WORD kind, std::initializer_list<const Argument*> arguments,
                 Variant* result);
  void take_from(const Variant& value, const wchar_t* name);

  Reference<IDispatch> object_;
};

}  // namespace directory
