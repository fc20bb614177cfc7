#include "platform/automation/directory_query.h"

#include <memory>
#include <string>
#include <utility>

#include "platform/adsi/apartment.h"
#include "platform/automation/query_text.h"
#include "platform/automation/scripted_object.h"
#include "platform/control.h"
#include "platform/kernel/fault_point.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

// Failures as the query layer raises them.
constexpr HRESULT kNoCurrentRecord = static_cast<HRESULT>(0x800A0BCD);
constexpr HRESULT kItemNotFound = static_cast<HRESULT>(0x800A0CC1);
constexpr HRESULT kObjectClosed = static_cast<HRESULT>(0x800A0E78);
constexpr HRESULT kProviderNotFound = static_cast<HRESULT>(0x800A0E7A);
constexpr HRESULT kInvalidConnection = static_cast<HRESULT>(0x800A0E7D);
constexpr HRESULT kSyntax = static_cast<HRESULT>(0x80040E14);

constexpr std::int32_t kClosed = 0;
constexpr std::int32_t kOpen = 1;

CLSID query_class(ULONG number) {
  return {number, 0x0000, 0x0010, {0x80, 0x00, 0x00, 0xAA, 0x00, 0x6D, 0x2E, 0xA4}};
}

// A setting that is kept and has no effect here: pages are the directory's own matter.
class Property final : public ScriptedObject {
 public:
  Property() : ScriptedObject("Property", {"Value"}) { VariantInit(&value_); }

 private:
  ~Property() override { VariantClear(&value_); }
  HRESULT answer(std::size_t, bool is_put, Arguments arguments, VARIANT& result) override {
    if (!is_put) return VariantCopy(&result, &value_);
    if (arguments.size() != 1) return DISP_E_BADPARAMCOUNT;
    VARIANT given = arguments.front();  // the SDK wants a source that it could write to
    return VariantCopy(&value_, &given);
  }
  VARIANT value_;
};

class Properties final : public ScriptedObject {
 public:
  Properties() : ScriptedObject("Properties", {"Refresh", "Item"}) {}

 private:
  HRESULT answer(std::size_t member, bool, Arguments arguments, VARIANT& result) override {
    if (member == 0) return S_OK;
    const std::string name = text(arguments, 0);
    for (const char* known : {"Cache Results", "Page size", "Timeout", "Searchscope"}) {
      if (!equal_without_case(name, known)) continue;
      give_object(result, new Property);
      return S_OK;
    }
    throw Raised{kItemNotFound, "no property of the name " + name};
  }
};

class Recordset final : public ScriptedObject {
 public:
  Recordset() : ScriptedObject("Recordset", {"State", "EOF", "MoveNext", "Close"}) {}

  void open(const QueryText& query) {
    controller_ = controller();
    Directory* directory = controller_->directory();
    if (directory == nullptr) throw Raised{kDirectoryNoDomain, "this machine has no directory"};
    check(directory->search(query.base.server, query.base.dn, query.scope, query.filter,
                            query.names, cursor_));
    advance();
  }

 private:
  static void check(DirectoryResult result) {
    if (result < 0) throw Raised{result, "the directory does not answer the query"};
  }
  void advance() {
    const DirectoryResult result = cursor_->next(current_);
    check(result);
    at_end_ = result == kDirectoryEnd;
  }
  HRESULT answer(std::size_t member, bool, Arguments, VARIANT& result) override {
    if (member == 0) {
      give(result, cursor_ == nullptr ? kClosed : kOpen);
      return S_OK;
    }
    if (cursor_ == nullptr) throw Raised{kObjectClosed, "the record set is closed"};
    switch (member) {
      case 1:
        give_flag(result, at_end_);
        return S_OK;
      case 2:
        if (at_end_) throw Raised{kNoCurrentRecord, "behind the last record"};
        advance();
        return S_OK;
      default:
        cursor_.reset();
        return S_OK;
    }
  }

  std::shared_ptr<Controller> controller_;  // lives as long as the walk over its directory
  std::unique_ptr<EntryCursor> cursor_;
  Entry current_;
  bool at_end_ = false;
};

class Connection final : public ScriptedObject {
 public:
  Connection()
      : ScriptedObject("Connection", {"Provider", "Open", "Properties", "State", "Close"}) {}

 private:
  HRESULT answer(std::size_t member, bool is_put, Arguments arguments, VARIANT& result) override {
    switch (member) {
      case 0:
        if (is_put) provider_ = text(arguments, 0);
        return S_OK;
      case 1:
        if (!equal_without_case(provider_, "ADsDSOObject")) {
          throw Raised{kProviderNotFound, "no provider of the name " + provider_};
        }
        open_ = true;
        return S_OK;
      case 2:
        give_object(result, new Properties);
        return S_OK;
      case 3:
        give(result, open_ ? kOpen : kClosed);
        return S_OK;
      default:
        if (!open_) throw Raised{kObjectClosed, "the connection is closed"};
        open_ = false;
        return S_OK;
    }
  }
  std::string provider_;
  bool open_ = false;
};

class Command final : public ScriptedObject {
 public:
  Command()
      : ScriptedObject("Command", {"ActiveConnection", "CommandText", "CommandTimeout",
                                   "Properties", "Execute"}) {}

 private:
  ~Command() override {
    if (connection_ != nullptr) connection_->Release();
  }
  HRESULT answer(std::size_t member, bool, Arguments arguments, VARIANT& result) override {
    switch (member) {
      case 0:
        connect(arguments);
        return S_OK;
      case 1:
        text_ = text(arguments, 0);
        return S_OK;
      case 2:
        return S_OK;
      case 3:
        give_object(result, new Properties);
        return S_OK;
      default:
        execute(result);
        return S_OK;
    }
  }
  void connect(Arguments arguments) {
    if (arguments.size() != 1 || arguments[0].vt != VT_DISPATCH ||
        arguments[0].pdispVal == nullptr) {
      throw Raised{kInvalidConnection, "no connection"};
    }
    if (connection_ != nullptr) connection_->Release();
    connection_ = arguments[0].pdispVal;
    connection_->AddRef();
  }
  void execute(VARIANT& result) {
    if (connection_ == nullptr) throw Raised{kInvalidConnection, "no connection"};
    const auto query = parse_query_text(text_);
    if (!query) throw Raised{kSyntax, "no query: " + text_};
    auto* records = new Recordset;
    try {
      records->open(*query);
    } catch (...) {
      records->Release();
      throw;
    }
    give_object(result, records);
  }

  IDispatch* connection_ = nullptr;
  std::string text_;
};

}  // namespace

IDispatch* make_query_object(REFCLSID class_id) {
  if (class_id == query_class(0x514)) return new Connection;
  if (class_id == query_class(0x507)) return new Command;
  if (class_id == query_class(0x535)) return new Recordset;
  return nullptr;
}

}  // namespace platform

HRESULT CoCreateInstance(REFCLSID class_id, IUnknown* outer, DWORD context, REFIID iid,
                         void** object) {
  if (object == nullptr) return E_POINTER;
  *object = nullptr;
  if (const auto fault = platform::fault_point("CoCreateInstance", REGDB_E_CLASSNOTREG)) {
    return fault->hresult();
  }
  if (!platform::apartment_is_open()) return CO_E_NOTINITIALIZED;
  if (outer != nullptr) return CLASS_E_NOAGGREGATION;
  if ((context & CLSCTX_ALL) == 0) return E_INVALIDARG;
  IDispatch* made = platform::make_query_object(class_id);
  if (made == nullptr) return REGDB_E_CLASSNOTREG;
  const HRESULT result = made->QueryInterface(iid, object);
  made->Release();
  return result;
}
