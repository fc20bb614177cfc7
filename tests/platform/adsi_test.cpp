// Binding to objects and reading them.

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "platform/adsi/directory_time.h"
#include "platform/adsi/path.h"
#include "platform/adsi/wide_text.h"
#include "tests/platform/adsi_fixture.h"

namespace adsi_test {
namespace {

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
  EXPECT_EQ(search->GetFirstRow(nullptr), E_NOTIMPL);
  EXPECT_EQ(object->QueryInterface(IID_IADs, nullptr), E_POINTER);
}

TEST_F(Adsi, StagedValuesAreReadBackBeforeTheyAreWritten) {
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

TEST_F(Adsi, ANameAndPasswordBindAsWell) {
  Held<IDirectorySearch> search;
  EXPECT_EQ(ADsOpenObject(kOne, nullptr, nullptr, ADS_SECURE_AUTHENTICATION, IID_IDirectorySearch,
                          search.out()),
            S_OK);
  Held<IDirectorySearch> none;
  EXPECT_EQ(ADsOpenObject(L"x", nullptr, nullptr, 0, IID_IDirectorySearch, none.out()),
            E_ADS_BAD_PATHNAME);
}

}  // namespace
}  // namespace adsi_test
