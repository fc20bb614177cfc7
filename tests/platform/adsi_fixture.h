#pragma once
// A small forest behind the directory calls, a controller that counts what it is asked, and holders
// for references and values, so that a failed check leaks nothing.

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "include/platform/adsi.h"
#include "platform/control.h"
#include "platform/recorded/recording.h"

namespace adsi_test {

constexpr char kForest[] =
    "dn:\n"
    "dnsHostName: DC1.corp.example\n"
    "dnsHostName;x-server-dc2: DC2.corp.example\n"
    "defaultNamingContext: DC=corp,DC=example\n"
    "namingContexts: DC=corp,DC=example\n"
    "namingContexts: CN=Configuration,DC=corp,DC=example\n"
    "currentTime: 20260302080000.0Z\n"
    "forestFunctionality: 7\n"
    "isSynchronized: TRUE\n"
    "\n"
    "dn: DC=corp,DC=example\n"
    "objectClass: top\n"
    "objectClass: domainDNS\n"
    "\n"
    "dn: CN=One,DC=corp,DC=example\n"
    "objectClass: top\n"
    "objectClass: container\n"
    "cn: One\n"
    "displayName:: SsO8cmc=\n"
    "flags: -5\n"
    "trustAttributes: 4294967295\n"
    "cost: many\n"
    "isDeleted: FALSE\n"
    "systemOnly: TRUE\n"
    "isDefunct: perhaps\n"
    "whenCreated: 20110102120000.0Z\n"
    "whenChanged: yesterday\n"
    "objectGUID:: AAECAwQFBgcICQoLDA0ODw==\n"
    "uSNChanged: 12884901888\n"
    "unknownBytes:: /wA=\n"
    "options: 1\n"
    "options: 2\n"
    "msDS-isRODC: TRUE\n"
    "\n"
    "dn: CN=Two/Half,DC=corp,DC=example\n"
    "objectClass: top\n"
    "objectClass: user\n"
    "cn: Two\n"
    "\n"
    "dn: CN=Deep,CN=One,DC=corp,DC=example\n"
    "cn: Deep\n";

constexpr wchar_t kOne[] = L"LDAP://CN=One,DC=corp,DC=example";

// A directory that counts what is asked of it, and can break off in the middle of a walk.
class CountingDirectory : public platform::Directory {
 public:
  explicit CountingDirectory(std::shared_ptr<platform::Controller> below)
      : below_(std::move(below)) {}

  int reads = 0;
  int searches = 0;
  int children_before_failure = -1;

  platform::DirectoryResult read_root(std::string_view server, platform::Entry& entry) override {
    ++reads;
    return below_->directory()->read_root(server, entry);
  }
  platform::DirectoryResult read(std::string_view server, std::string_view dn,
                                 const std::vector<std::string>& names,
                                 platform::Entry& entry) override {
    ++reads;
    return below_->directory()->read(server, dn, names, entry);
  }
  platform::DirectoryResult search(std::string_view server, std::string_view base,
                                   platform::SearchScope scope, std::string_view filter,
                                   const std::vector<std::string>& names,
                                   std::unique_ptr<platform::EntryCursor>& cursor) override {
    ++searches;
    const auto result = below_->directory()->search(server, base, scope, filter, names, cursor);
    if (result == 0 && children_before_failure >= 0) {
      cursor = std::make_unique<BreakingCursor>(std::move(cursor), children_before_failure);
    }
    return result;
  }
  platform::DirectoryResult add(std::string_view server, const platform::Entry& entry) override {
    return below_->directory()->add(server, entry);
  }
  platform::DirectoryResult modify(std::string_view server, std::string_view dn,
                                   const std::vector<platform::Attribute>& attributes) override {
    return below_->directory()->modify(server, dn, attributes);
  }
  platform::DirectoryResult remove(std::string_view server, std::string_view dn) override {
    return below_->directory()->remove(server, dn);
  }

 private:
  class BreakingCursor : public platform::EntryCursor {
   public:
    BreakingCursor(std::unique_ptr<platform::EntryCursor> below, int left)
        : below_(std::move(below)), left_(left) {}
    platform::DirectoryResult next(platform::Entry& entry) override {
      return left_-- > 0 ? below_->next(entry) : platform::kDirectoryTimeout;
    }

   private:
    std::unique_ptr<platform::EntryCursor> below_;
    int left_;
  };

  std::shared_ptr<platform::Controller> below_;
};

class CountingController : public platform::Controller {
 public:
  explicit CountingController(std::shared_ptr<platform::Controller> below)
      : counted(below), below_(std::move(below)) {}
  CountingDirectory counted;
  bool has_directory = true;

  std::string description() const override { return below_->description(); }
  const platform::MachineFacts& machine() const override { return below_->machine(); }
  platform::Directory* directory() override { return has_directory ? &counted : nullptr; }
  platform::CounterSource* counters() override { return nullptr; }
  platform::RegistryHive* registry() override { return nullptr; }

 private:
  std::shared_ptr<platform::Controller> below_;
};

class Adsi : public testing::Test {
 protected:
  void SetUp() override {
    controller_ = std::make_shared<CountingController>(
        platform::make_recording({{"directory.ldif", kForest}}, "test", {}));
    platform::install(controller_);
    before_ = platform::accounting::live();
    ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  }
  void TearDown() override {
    platform::faults::clear();
    CoUninitialize();
    EXPECT_EQ(platform::accounting::live(), before_) << "every reference and value came back";
  }
  CountingDirectory& directory() { return controller_->counted; }

  std::shared_ptr<CountingController> controller_;
  std::map<std::string, std::int64_t> before_;
};

// References and values that give themselves back, so that a failed check leaks nothing.
template <class Interface>
struct Held {
  Interface* get = nullptr;
  Held() = default;
  Held(const Held&) = delete;
  Held& operator=(const Held&) = delete;
  ~Held() {
    if (get != nullptr) get->Release();
  }
  Interface* operator->() const { return get; }
  void** out() { return reinterpret_cast<void**>(&get); }
};

struct Value : VARIANT {
  Value() { VariantInit(this); }
  ~Value() { VariantClear(this); }
  Value(const Value&) = delete;
  Value& operator=(const Value&) = delete;
};

struct Name {
  explicit Name(const wchar_t* text) : bstr(SysAllocString(text)) {}
  ~Name() { SysFreeString(bstr); }
  Name(const Name&) = delete;
  Name& operator=(const Name&) = delete;
  BSTR bstr;
};

inline HRESULT get(IADs* object, const wchar_t* name, VARIANT* value) {
  const Name bstr(name);
  return object->Get(bstr.bstr, value);
}
inline HRESULT get_ex(IADs* object, const wchar_t* name, VARIANT* value) {
  const Name bstr(name);
  return object->GetEx(bstr.bstr, value);
}

inline std::wstring text_of(IADs* object, const wchar_t* name) {
  Value value;
  const HRESULT result = get(object, name, &value);
  if (result != S_OK || value.vt != VT_BSTR) return L"(no text)";
  return value.bstrVal;
}

using Property = HRESULT (IADs::*)(BSTR*);
inline std::wstring property(IADs* object, Property which) {
  BSTR text = nullptr;
  const HRESULT result = (object->*which)(&text);
  const std::wstring copy = result == S_OK ? std::wstring(text) : L"(failed)";
  SysFreeString(text);
  return copy;
}

inline HRESULT bind_result(const wchar_t* path, REFIID iid = IID_IADs) {
  Held<IUnknown> object;
  const HRESULT result = ADsGetObject(path, iid, object.out());
  EXPECT_EQ(object.get != nullptr, result == S_OK);
  return result;
}

inline std::vector<std::wstring> texts_of(const VARIANT& variant) {
  std::vector<std::wstring> texts;
  EXPECT_EQ(variant.vt, VT_ARRAY | VT_VARIANT);
  LONG lower = -1;
  LONG upper = -1;
  EXPECT_EQ(SafeArrayGetLBound(variant.parray, 1, &lower), S_OK);
  EXPECT_EQ(SafeArrayGetUBound(variant.parray, 1, &upper), S_OK);
  EXPECT_EQ(lower, 0);
  for (LONG i = lower; i <= upper; ++i) {
    Value element;
    EXPECT_EQ(SafeArrayGetElement(variant.parray, &i, &element), S_OK);
    texts.emplace_back(element.vt == VT_BSTR ? element.bstrVal : L"(no text)");
  }
  return texts;
}

}  // namespace adsi_test
