#include "include/platform/adsi.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/adsi/directory_time.h"
#include "platform/adsi/path.h"
#include "platform/adsi/wide_text.h"
#include "platform/control.h"
#include "platform/recorded/recording.h"

namespace {

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
constexpr auto kUnwilling = static_cast<HRESULT>(0x80072035);

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

HRESULT get(IADs* object, const wchar_t* name, VARIANT* value) {
  const Name bstr(name);
  return object->Get(bstr.bstr, value);
}
HRESULT get_ex(IADs* object, const wchar_t* name, VARIANT* value) {
  const Name bstr(name);
  return object->GetEx(bstr.bstr, value);
}

std::wstring text_of(IADs* object, const wchar_t* name) {
  Value value;
  const HRESULT result = get(object, name, &value);
  if (result != S_OK || value.vt != VT_BSTR) return L"(no text)";
  return value.bstrVal;
}

using Property = HRESULT (IADs::*)(BSTR*);
std::wstring property(IADs* object, Property which) {
  BSTR text = nullptr;
  const HRESULT result = (object->*which)(&text);
  const std::wstring copy = result == S_OK ? std::wstring(text) : L"(failed)";
  SysFreeString(text);
  return copy;
}

HRESULT bind_result(const wchar_t* path, REFIID iid = IID_IADs) {
  Held<IUnknown> object;
  const HRESULT result = ADsGetObject(path, iid, object.out());
  EXPECT_EQ(object.get != nullptr, result == S_OK);
  return result;
}

std::vector<std::wstring> texts_of(const VARIANT& variant) {
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

TEST(AdsiPath, TellsServersFromNames) {
  struct Case {
    const char* path;
    const char* server;
    const char* dn;
    bool is_root;
  };
  for (const Case& one :
       {Case{"LDAP://DC=x", "", "DC=x", false}, Case{"LDAP://dc1/DC=x", "dc1", "DC=x", false},
        Case{"LDAP://dc1.corp.example:389/DC=x", "dc1.corp.example", "DC=x", false},
        Case{"LDAP://rootDSE", "", "", true}, Case{"LDAP://ROOTdse", "", "", true},
        Case{"LDAP://dc1/RootDSE", "dc1", "", true}, Case{"LDAP://dc1", "dc1", "", false},
        Case{"LDAP://CN=a\\/b,DC=x", "", "CN=a/b,DC=x", false},
        Case{"LDAP://CN=a\\,b,DC=x", "", "CN=a\\,b,DC=x", false},
        Case{"LDAP://dc1/CN=10.0.0.0\\/8,DC=x", "dc1", "CN=10.0.0.0/8,DC=x", false}}) {
    const auto path = platform::parse_path(one.path);
    ASSERT_TRUE(path) << one.path;
    EXPECT_EQ(path->server, one.server) << one.path;
    EXPECT_EQ(path->dn, one.dn) << one.path;
    EXPECT_EQ(path->is_root, one.is_root) << one.path;
  }
}

TEST(AdsiPath, RefusesWhatIsNone) {
  for (const char* text :
       {"", "LDAP:", "LDAP:/", "LDAP://", "ldap://DC=x", "WinNT://dc1", "LDAP:///rootDSE",
        "LDAP:///DC=x", "LDAP://dc1/", "LDAP://dc1/users", "LDAP://dc1/DC=x/CN=y",
        "LDAP://DC=x/CN=y", "LDAP://dc1:/DC=x", "LDAP://dc1:ab/DC=x", "LDAP://dc1:123456/DC=x",
        "LDAP://a b/DC=x", "DC=x"}) {
    EXPECT_FALSE(platform::parse_path(text)) << text;
  }
}

TEST(AdsiTime, DirectoryTimesAreDatesInUniversalTime) {
  using platform::date_from_directory_time;
  EXPECT_EQ(date_from_directory_time("18991230000000.0Z"), 0.0);
  EXPECT_EQ(date_from_directory_time("20110102120000.0Z"), 40545.5);
  EXPECT_EQ(date_from_directory_time("20110102140000+0200"), 40545.5);
  EXPECT_EQ(date_from_directory_time("110102120000Z"), 40545.5);
  EXPECT_EQ(date_from_directory_time("18991229060000Z"), -1.25);
  EXPECT_EQ(date_from_directory_time("16010101000000.0Z"), -109205.0);
  for (const char* text :
       {"", "2011", "20110102120000", "20111302120000Z", "20110132120000Z", "20110102240000Z",
        "20110102120000.Z", "20110102120000.0Zx", "x0110102120000Z"}) {
    EXPECT_EQ(date_from_directory_time(text), std::nullopt) << text;
  }
  for (const char* text : {"20110102120000.0Z", "16010101000000.0Z", "18991229060000.0Z",
                           "20240229235959.0Z", "99991231235959.0Z"}) {
    EXPECT_EQ(platform::directory_time_from_date(*date_from_directory_time(text)), text);
  }
}

TEST(AdsiText, WideTextGoesThereAndBack) {
  const std::string text = "J\xC3\xBCrg \xE2\x82\xAC \xF0\x9F\x98\x80";
  EXPECT_EQ(platform::narrow_text(platform::wide_text(text)), text);
  EXPECT_EQ(platform::wide_text("a\xFFz"), L"a\xFFFDz");
}

TEST_F(Adsi, WithoutAnApartmentNothingIsBound) {
  CoUninitialize();
  EXPECT_EQ(bind_result(kOne), CO_E_NOTINITIALIZED);
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  EXPECT_EQ(bind_result(kOne), S_OK);
  HRESULT elsewhere = E_FAIL;
  std::thread([&elsewhere] { elsewhere = bind_result(kOne); }).join();
  EXPECT_EQ(elsewhere, S_OK) << "every thread is in the multithreaded apartment";
}

TEST_F(Adsi, WhatCannotBeBoundIsToldByItsCode) {
  EXPECT_EQ(bind_result(L"nonsense"), E_ADS_BAD_PATHNAME);
  EXPECT_EQ(bind_result(L"LDAP:///rootDSE"), E_ADS_BAD_PATHNAME);
  EXPECT_EQ(bind_result(L"LDAP://CN=Nobody,DC=corp,DC=example"), platform::kDirectoryNoObject);
  EXPECT_EQ(bind_result(L"LDAP://CN=Nobody,DC=corp,DC=example", IID_IADsContainer),
            platform::kDirectoryNoObject);
  EXPECT_EQ(bind_result(L"LDAP://dc9/rootDSE"), platform::kDirectoryServerDown);
  EXPECT_EQ(bind_result(kOne, IID_IEnumVARIANT), E_NOINTERFACE);
  EXPECT_EQ(bind_result(L"LDAP://rootDSE", IID_IADsContainer), E_NOINTERFACE);
  EXPECT_EQ(ADsGetObject(kOne, IID_IADs, nullptr), E_INVALIDARG);
  EXPECT_EQ(bind_result(nullptr), E_INVALIDARG);
  controller_->has_directory = false;
  EXPECT_EQ(bind_result(L"LDAP://rootDSE"), platform::kDirectoryNoDomain);
  EXPECT_EQ(bind_result(L"LDAP://dc1/rootDSE"), platform::kDirectoryServerDown);
}

TEST_F(Adsi, EverythingOfTheRootObjectIsText) {
  Held<IADs> root;
  ASSERT_EQ(ADsGetObject(L"LDAP://dc2/RootDSE", IID_IADs, root.out()), S_OK);
  EXPECT_EQ(text_of(root.get, L"dnsHostName"), L"DC2.corp.example");
  EXPECT_EQ(text_of(root.get, L"forestFunctionality"), L"7");
  EXPECT_EQ(text_of(root.get, L"isSynchronized"), L"TRUE");
  EXPECT_EQ(text_of(root.get, L"CURRENTTIME"), L"20260302080000.0Z");
  Value contexts;
  ASSERT_EQ(get(root.get, L"namingContexts", &contexts), S_OK);
  EXPECT_EQ(
      texts_of(contexts),
      (std::vector<std::wstring>{L"DC=corp,DC=example", L"CN=Configuration,DC=corp,DC=example"}));
  EXPECT_EQ(property(root.get, &IADs::get_ADsPath), L"LDAP://dc2/rootDSE");
  EXPECT_EQ(property(root.get, &IADs::get_Name), L"rootDSE");
  EXPECT_EQ(directory().reads, 1);
}

TEST_F(Adsi, ValuesHaveTheTypeOfTheirAttribute) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, object.out()), S_OK);
  EXPECT_EQ(text_of(object.get, L"cn"), L"One");
  EXPECT_EQ(text_of(object.get, L"displayName"), L"J\u00FCrg");
  Value number;
  EXPECT_EQ(get(object.get, L"flags", &number), S_OK);
  EXPECT_EQ(number.vt, VT_I4);
  EXPECT_EQ(number.lVal, -5);
  Value unsigned_number;
  EXPECT_EQ(get(object.get, L"trustAttributes", &unsigned_number), S_OK);
  EXPECT_EQ(unsigned_number.lVal, -1);
  Value boolean;
  EXPECT_EQ(get(object.get, L"systemOnly", &boolean), S_OK);
  EXPECT_EQ(boolean.vt, VT_BOOL);
  EXPECT_EQ(boolean.boolVal, VARIANT_TRUE);
  Value other_boolean;
  EXPECT_EQ(get(object.get, L"isDeleted", &other_boolean), S_OK);
  EXPECT_EQ(other_boolean.boolVal, VARIANT_FALSE);
  Value date;
  EXPECT_EQ(get(object.get, L"whenCreated", &date), S_OK);
  EXPECT_EQ(date.vt, VT_DATE);
  EXPECT_EQ(date.date, 40545.5);
  for (const wchar_t* name : {L"objectGUID", L"unknownBytes"}) {
    Value octets;
    EXPECT_EQ(get(object.get, name, &octets), S_OK);
    ASSERT_EQ(octets.vt, VT_ARRAY | VT_UI1);
    LONG index = 1;
    BYTE octet = 77;
    EXPECT_EQ(SafeArrayGetElement(octets.parray, &index, &octet), S_OK);
    EXPECT_EQ(octet, name[0] == L'o' ? 1 : 0);
  }
  EXPECT_EQ(directory().reads, 1) << "one round trip for all of it";
}

TEST_F(Adsi, WhatDoesNotFitItsTypeOrIsMissingIsToldByItsCode) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, object.out()), S_OK);
  Value value;
  for (const wchar_t* name : {L"cost", L"isDefunct", L"whenChanged", L"uSNChanged"}) {
    EXPECT_EQ(get(object.get, name, &value), E_ADS_CANT_CONVERT_DATATYPE);
    EXPECT_EQ(get_ex(object.get, name, &value), E_ADS_CANT_CONVERT_DATATYPE);
  }
  EXPECT_EQ(get(object.get, L"missing", &value), E_ADS_PROPERTY_NOT_FOUND);
  EXPECT_EQ(get_ex(object.get, L"missing", &value), E_ADS_PROPERTY_NOT_FOUND);
  EXPECT_EQ(object->Get(nullptr, &value), E_ADS_BAD_PARAMETER);
  EXPECT_EQ(get(object.get, L"", &value), E_ADS_BAD_PARAMETER);
  EXPECT_EQ(get(object.get, L"cn", nullptr), E_ADS_BAD_PARAMETER);
  EXPECT_EQ(value.vt, VT_EMPTY);
}

TEST_F(Adsi, SeveralValuesComeAsAnArrayAndGetExAlwaysGivesOne) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, object.out()), S_OK);
  Value classes;
  ASSERT_EQ(get(object.get, L"objectClass", &classes), S_OK);
  EXPECT_EQ(texts_of(classes), (std::vector<std::wstring>{L"top", L"container"}));
  Value one;
  ASSERT_EQ(get_ex(object.get, L"cn", &one), S_OK);
  EXPECT_EQ(texts_of(one), std::vector<std::wstring>{L"One"});
  Value dates;
  ASSERT_EQ(get_ex(object.get, L"whenCreated", &dates), S_OK);
  Value first;
  LONG index = 0;
  ASSERT_EQ(SafeArrayGetElement(dates.parray, &index, &first), S_OK);
  EXPECT_EQ(first.vt, VT_DATE);
  Value options;
  ASSERT_EQ(get(object.get, L"options", &options), S_OK);
  index = 1;
  Value second;
  ASSERT_EQ(SafeArrayGetElement(options.parray, &index, &second), S_OK);
  EXPECT_EQ(second.lVal, 2);
}

TEST_F(Adsi, AnObjectKnowsItsNames) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(L"LDAP://dc1/CN=Two\\/Half,DC=corp,DC=example", IID_IADs, object.out()),
            S_OK);
  EXPECT_EQ(property(object.get, &IADs::get_Name), L"CN=Two/Half");
  EXPECT_EQ(property(object.get, &IADs::get_Class), L"user");
  EXPECT_EQ(property(object.get, &IADs::get_ADsPath),
            L"LDAP://dc1/CN=Two\\/Half,DC=corp,DC=example");
  EXPECT_EQ(property(object.get, &IADs::get_Parent), L"LDAP://dc1/DC=corp,DC=example");
  EXPECT_EQ(property(object.get, &IADs::get_Schema), L"LDAP://dc1/schema/user");
  EXPECT_EQ(property(object.get, &IADs::get_GUID), L"(failed)");
  Held<IADs> one;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, one.out()), S_OK);
  EXPECT_EQ(property(one.get, &IADs::get_GUID), L"000102030405060708090a0b0c0d0e0f");
  EXPECT_EQ(property(one.get, &IADs::get_Parent), L"LDAP://DC=corp,DC=example");
  EXPECT_EQ(one->get_Name(nullptr), E_ADS_BAD_PARAMETER);
}

TEST_F(Adsi, AServerAloneStandsForItsDomain) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(L"LDAP://dc1", IID_IADs, object.out()), S_OK);
  EXPECT_EQ(property(object.get, &IADs::get_ADsPath), L"LDAP://dc1/DC=corp,DC=example");
}

TEST_F(Adsi, ConstructedAttributesAreLoadedByName) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, object.out()), S_OK);
  Value missing;
  EXPECT_EQ(get(object.get, L"canonicalName", &missing), E_ADS_PROPERTY_NOT_FOUND);
  const Name canonical(L"canonicalName");
  const Name read_only(L"msDS-isRODC");
  LPWSTR names[] = {canonical.bstr, read_only.bstr};
  Value list;
  ASSERT_EQ(ADsBuildVarArrayStr(names, 2, &list), S_OK);
  EXPECT_EQ(texts_of(list), (std::vector<std::wstring>{L"canonicalName", L"msDS-isRODC"}));
  ASSERT_EQ(object->GetInfoEx(list, 0), S_OK);
  EXPECT_EQ(text_of(object.get, L"canonicalName"), L"corp.example/One");
  Value boolean;
  ASSERT_EQ(get(object.get, L"msDS-isRODC", &boolean), S_OK);
  EXPECT_EQ(boolean.boolVal, VARIANT_TRUE);
  EXPECT_EQ(text_of(object.get, L"cn"), L"One") << "the others are still there";
  Value number;
  number.vt = VT_I8;
  EXPECT_EQ(object->GetInfoEx(number, 0), E_ADS_CANT_CONVERT_DATATYPE);
  EXPECT_EQ(ADsBuildVarArrayStr(nullptr, 1, &number), E_ADS_BAD_PARAMETER);
}

struct Walk {
  std::vector<std::wstring> names;
  HRESULT end = S_OK;
};

Walk walk(const wchar_t* path) {
  Walk result;
  Held<IADsContainer> container;
  result.end = ADsGetObject(path, IID_IADsContainer, container.out());
  if (FAILED(result.end)) return result;
  IEnumVARIANT* enumerator = nullptr;
  result.end = ADsBuildEnumerator(container.get, &enumerator);
  if (FAILED(result.end)) return result;
  for (;;) {
    Value child;
    ULONG fetched = 7;
    result.end = ADsEnumerateNext(enumerator, 1, &child, &fetched);
    if (result.end != S_OK) {
      EXPECT_EQ(fetched, 0u);
      break;
    }
    EXPECT_EQ(child.vt, VT_DISPATCH);
    Held<IADs> object;
    EXPECT_EQ(child.pdispVal->QueryInterface(IID_IADs, object.out()), S_OK);
    result.names.push_back(text_of(object.get, L"cn"));
  }
  EXPECT_EQ(ADsFreeEnumerator(enumerator), S_OK);
  return result;
}

TEST_F(Adsi, ChildrenComeInOrderWithTheirAttributes) {
  const Walk done = walk(L"LDAP://DC=corp,DC=example");
  EXPECT_EQ(done.names, (std::vector<std::wstring>{L"One", L"Two"}));
  EXPECT_EQ(done.end, S_FALSE);
  EXPECT_EQ(directory().reads, 1) << "the bind";
  EXPECT_EQ(directory().searches, 1) << "and one search for all children";
}

TEST_F(Adsi, AnObjectWithoutChildrenEndsAtOnce) {
  const Walk done = walk(L"LDAP://dc2/CN=Deep,CN=One,DC=corp,DC=example");
  EXPECT_TRUE(done.names.empty());
  EXPECT_EQ(done.end, S_FALSE);
}

TEST_F(Adsi, AWalkThatBreaksOffGivesWhatCameAndThenTheFailure) {
  directory().children_before_failure = 1;
  const Walk done = walk(L"LDAP://DC=corp,DC=example");
  EXPECT_EQ(done.names, std::vector<std::wstring>{L"One"});
  EXPECT_EQ(done.end, platform::kDirectoryTimeout);
}

TEST_F(Adsi, SeveralChildrenCanBeFetchedAtOnce) {
  Held<IADsContainer> container;
  ASSERT_EQ(ADsGetObject(L"LDAP://dc1/DC=corp,DC=example", IID_IADsContainer, container.out()),
            S_OK);
  IEnumVARIANT* enumerator = nullptr;
  ASSERT_EQ(ADsBuildEnumerator(container.get, &enumerator), S_OK);
  {
    Value children[3];
    ULONG fetched = 0;
    EXPECT_EQ(ADsEnumerateNext(enumerator, 3, children, &fetched), S_FALSE);
    EXPECT_EQ(fetched, 2u);
    Held<IADs> child;
    ASSERT_EQ(children[1].pdispVal->QueryInterface(IID_IADs, child.out()), S_OK);
    EXPECT_EQ(property(child.get, &IADs::get_ADsPath),
              L"LDAP://dc1/CN=Two\\/Half,DC=corp,DC=example");
  }
  EXPECT_EQ(enumerator->Skip(1), S_FALSE);
  EXPECT_EQ(enumerator->Reset(), E_NOTIMPL);
  EXPECT_EQ(ADsFreeEnumerator(enumerator), S_OK);
  directory().children_before_failure = 1;
  ASSERT_EQ(ADsBuildEnumerator(container.get, &enumerator), S_OK);
  Value children[2];
  ULONG fetched = 7;
  EXPECT_EQ(ADsEnumerateNext(enumerator, 2, children, &fetched), platform::kDirectoryTimeout);
  EXPECT_EQ(fetched, 0u);
  EXPECT_EQ(ADsFreeEnumerator(enumerator), S_OK);
}

TEST_F(Adsi, AnEnumeratorOutlivesContainerAndController) {
  IEnumVARIANT* enumerator = nullptr;
  {
    Held<IADsContainer> container;
    ASSERT_EQ(ADsGetObject(L"LDAP://DC=corp,DC=example", IID_IADsContainer, container.out()), S_OK);
    ASSERT_EQ(ADsBuildEnumerator(container.get, &enumerator), S_OK);
  }
  platform::install(platform::open_embedded_recording());
  controller_.reset();
  Value child;
  ULONG fetched = 0;
  EXPECT_EQ(ADsEnumerateNext(enumerator, 1, &child, &fetched), S_OK);
  EXPECT_EQ(fetched, 1u);
  EXPECT_EQ(ADsFreeEnumerator(enumerator), S_OK);
}

TEST_F(Adsi, QueriesGiveOneIdentityAndCountReferences) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, object.out()), S_OK);
  Held<IADsContainer> container;
  ASSERT_EQ(object->QueryInterface(IID_IADsContainer, container.out()), S_OK);
  Held<IUnknown> first;
  Held<IUnknown> second;
  ASSERT_EQ(object->QueryInterface(IID_IUnknown, first.out()), S_OK);
  ASSERT_EQ(container->QueryInterface(IID_IUnknown, second.out()), S_OK);
  EXPECT_EQ(first.get, second.get);
  EXPECT_EQ(platform::accounting::live()["interface"], 4);
  EXPECT_EQ(object->AddRef(), 5u);
  EXPECT_EQ(object->Release(), 4u);
  Held<IDirectorySearch> search;
  ASSERT_EQ(object->QueryInterface(IID_IDirectorySearch, search.out()), S_OK);
  EXPECT_EQ(search->GetNextRow(nullptr), E_NOTIMPL);
  EXPECT_EQ(object->QueryInterface(IID_IADs, nullptr), E_POINTER);
}

TEST_F(Adsi, StagedValuesAreReadBackAndNotWritten) {
  Held<IADs> object;
  ASSERT_EQ(ADsGetObject(kOne, IID_IADs, object.out()), S_OK);
  EXPECT_EQ(object->SetInfo(), S_OK) << "nothing is staged";
  const Name description(L"description");
  Value text;
  text.vt = VT_BSTR;
  text.bstrVal = SysAllocString(L"new");
  EXPECT_EQ(object->Put(description.bstr, text), S_OK);
  EXPECT_EQ(text_of(object.get, L"description"), L"new");
  EXPECT_EQ(object->PutEx(ADS_PROPERTY_APPEND, description.bstr, text), S_OK);
  Value both;
  EXPECT_EQ(get(object.get, L"description", &both), S_OK);
  EXPECT_EQ(texts_of(both), (std::vector<std::wstring>{L"new", L"new"}));
  EXPECT_EQ(object->SetInfo(), kUnwilling);
  EXPECT_EQ(object->GetInfo(), S_OK);
  Value again;
  EXPECT_EQ(get(object.get, L"description", &again), S_OK) << "a staged value is kept";
  EXPECT_EQ(object->PutEx(ADS_PROPERTY_DELETE, description.bstr, text), S_OK);
  Value gone;
  EXPECT_EQ(get(object.get, L"description", &gone), E_ADS_PROPERTY_NOT_FOUND);
  EXPECT_EQ(object->PutEx(9, description.bstr, text), E_ADS_BAD_PARAMETER);
  EXPECT_EQ(object->Put(nullptr, text), E_ADS_BAD_PARAMETER);
  const Name name(L"cn");
  EXPECT_EQ(object->PutEx(ADS_PROPERTY_CLEAR, name.bstr, text), S_OK);
  EXPECT_EQ(get(object.get, L"cn", &gone), E_ADS_PROPERTY_NOT_FOUND);
}

TEST_F(Adsi, ChildrenAreFoundByClassAndNameAndNotMade) {
  Held<IADsContainer> container;
  ASSERT_EQ(ADsGetObject(L"LDAP://DC=corp,DC=example", IID_IADsContainer, container.out()), S_OK);
  const Name wanted_class(L"Container");
  const Name other_class(L"user");
  const Name one(L"cn=one");
  const Name nobody(L"CN=Nobody");
  Held<IDispatch> child;
  EXPECT_EQ(container->GetObject(wanted_class.bstr, one.bstr, &child.get), S_OK);
  Held<IDispatch> any;
  EXPECT_EQ(container->GetObject(nullptr, one.bstr, &any.get), S_OK);
  IDispatch* none = nullptr;
  EXPECT_EQ(container->GetObject(other_class.bstr, one.bstr, &none), E_ADS_UNKNOWN_OBJECT);
  EXPECT_EQ(container->GetObject(nullptr, nobody.bstr, &none), platform::kDirectoryNoObject);
  EXPECT_EQ(none, nullptr);
  Held<IDispatch> made;
  ASSERT_EQ(container->Create(other_class.bstr, nobody.bstr, &made.get), S_OK);
  Held<IADs> made_object;
  ASSERT_EQ(made->QueryInterface(IID_IADs, made_object.out()), S_OK);
  EXPECT_EQ(property(made_object.get, &IADs::get_Class), L"user");
  EXPECT_EQ(made_object->GetInfo(), E_ADS_OBJECT_UNBOUND);
  EXPECT_EQ(made_object->SetInfo(), kUnwilling);
  EXPECT_EQ(container->Delete(other_class.bstr, one.bstr), kUnwilling);
  EXPECT_EQ(container->Create(nullptr, nobody.bstr, &none), E_ADS_BAD_PARAMETER);
}

TEST_F(Adsi, ANameAndPasswordBindAsWell) {
  Held<IDirectorySearch> search;
  EXPECT_EQ(ADsOpenObject(kOne, nullptr, nullptr, ADS_SECURE_AUTHENTICATION, IID_IDirectorySearch,
                          search.out()),
            S_OK);
  Held<IDirectorySearch> none;
  EXPECT_EQ(ADsOpenObject(L"x", nullptr, nullptr, 0, IID_IDirectorySearch, none.out()),
            E_ADS_BAD_PATHNAME);
}

// A walk and some reads that go on, as the agent does, whatever fails. Gives how many values came.
int values_read_by_a_patient_caller() {
  int read = 0;
  Held<IADsContainer> container;
  IEnumVARIANT* enumerator = nullptr;
  if (ADsGetObject(L"LDAP://DC=corp,DC=example", IID_IADsContainer, container.out()) == S_OK &&
      ADsBuildEnumerator(container.get, &enumerator) == S_OK) {
    for (;;) {
      Value child;
      ULONG fetched = 0;
      if (ADsEnumerateNext(enumerator, 1, &child, &fetched) != S_OK || fetched == 0) break;
      Held<IADs> object;
      if (child.pdispVal->QueryInterface(IID_IADs, object.out()) != S_OK) continue;
      Value classes;
      LONG index = 1;
      Value element;
      if (get(object.get, L"objectClass", &classes) != S_OK) continue;
      if (SafeArrayGetElement(classes.parray, &index, &element) == S_OK) ++read;
    }
    ADsFreeEnumerator(enumerator);
  }
  Held<IADs> object;
  if (ADsGetObject(kOne, IID_IADs, object.out()) != S_OK) return read;
  Value times;
  if (get_ex(object.get, L"whenCreated", &times) == S_OK) ++read;
  wchar_t name[] = L"canonicalName";
  LPWSTR names[] = {name};
  Value list;
  Value canonical;
  if (ADsBuildVarArrayStr(names, 1, &list) == S_OK && object->GetInfoEx(list, 0) == S_OK &&
      get(object.get, L"canonicalName", &canonical) == S_OK) {
    ++read;
  }
  return read;
}

// The fixture finds every reference and value given back in the end.
TEST_F(Adsi, EachCallOfAWalkCanFailAndNothingIsLost) {
  platform::faults::reset_counts();
  const int whole = values_read_by_a_patient_caller();
  EXPECT_EQ(whole, 4);
  const auto reached = platform::faults::reached();
  EXPECT_GE(reached.size(), 10u);
  const auto before = platform::accounting::live();
  for (const auto& [call, count] : reached) {
    for (std::uint32_t nth = 1; nth <= count; ++nth) {
      platform::faults::clear();
      platform::faults::fail(call, nth);
      EXPECT_LE(values_read_by_a_patient_caller(), whole) << call << " " << nth;
      EXPECT_TRUE(platform::faults::struck()) << call << " " << nth;
      EXPECT_EQ(platform::accounting::live(), before) << call << " " << nth;
    }
  }
  platform::faults::clear();
  EXPECT_EQ(values_read_by_a_patient_caller(), whole) << "and all is well again";
}

}  // namespace
