// Walks through containers, children found and made, and each call of a walk failing.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/platform/adsi_fixture.h"

namespace adsi_test {
namespace {

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

TEST_F(Adsi, ChildrenAreFoundByClassAndName) {
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
}  // namespace adsi_test
