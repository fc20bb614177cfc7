#include <gtest/gtest.h>

#include <string>

#include "include/platform/adsi.h"
#include "platform/control.h"

namespace {

class ComValues : public testing::Test {
 protected:
  void SetUp() override { before_ = platform::accounting::live(); }
  void TearDown() override {
    platform::faults::clear();
    EXPECT_EQ(platform::accounting::live(), before_);
  }

 private:
  std::map<std::string, std::int64_t> before_;
};

VARIANT text_variant(const wchar_t* text) {
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = VT_BSTR;
  variant.bstrVal = SysAllocString(text);
  return variant;
}

TEST_F(ComValues, ATextKnowsItsLengthAndEndsInZero) {
  BSTR text = SysAllocString(L"corp");
  EXPECT_EQ(SysStringLen(text), 4u);
  EXPECT_EQ(SysStringByteLen(text), 4 * sizeof(wchar_t));
  EXPECT_STREQ(text, L"corp");
  EXPECT_EQ(platform::accounting::live()["bstr"], 1);
  SysFreeString(text);
  EXPECT_EQ(platform::accounting::live()["bstr"], 0);
}

TEST_F(ComValues, ATextMayHoldZerosAndBeCutOrEmpty) {
  BSTR text = SysAllocStringLen(L"a\0bcd", 3);
  EXPECT_EQ(SysStringLen(text), 3u);
  EXPECT_EQ(std::wstring(text, 3), std::wstring(L"a\0b", 3));
  EXPECT_EQ(text[3], L'\0');
  SysFreeString(text);
  BSTR blank = SysAllocStringLen(nullptr, 2);
  EXPECT_EQ(SysStringLen(blank), 2u);
  EXPECT_EQ(blank[0], L'\0');
  SysFreeString(blank);
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0u);
  SysFreeString(nullptr);
}

TEST_F(ComValues, ClearingAVariantFreesWhatItOwns) {
  VARIANT variant = text_variant(L"x");
  EXPECT_EQ(VariantClear(&variant), S_OK);
  EXPECT_EQ(variant.vt, VT_EMPTY);
  EXPECT_EQ(VariantClear(&variant), S_OK);
  variant.vt = 999;
  EXPECT_EQ(VariantClear(&variant), DISP_E_BADVARTYPE);
}

TEST_F(ComValues, ACopyIsDeepAndClearsItsTarget) {
  VARIANT source = text_variant(L"source");
  VARIANT target = text_variant(L"old");
  EXPECT_EQ(VariantCopy(&target, &source), S_OK);
  EXPECT_NE(target.bstrVal, source.bstrVal);
  EXPECT_STREQ(target.bstrVal, L"source");
  EXPECT_EQ(VariantCopy(&target, &target), S_OK);
  EXPECT_STREQ(target.bstrVal, L"source");
  VariantClear(&source);
  VariantClear(&target);
}

TEST_F(ComValues, AnArrayOfVariantsIsFreedWithAllThatIsInIt) {
  SAFEARRAYBOUND bound{3, 1};
  SAFEARRAY* array = SafeArrayCreate(VT_VARIANT, 1, &bound);
  ASSERT_NE(array, nullptr);
  LONG lower = 0;
  LONG upper = 0;
  EXPECT_EQ(SafeArrayGetLBound(array, 1, &lower), S_OK);
  EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
  EXPECT_EQ(lower, 1);
  EXPECT_EQ(upper, 3);
  for (LONG i = lower; i <= upper; ++i) {
    VARIANT element = text_variant(L"element");
    EXPECT_EQ(SafeArrayPutElement(array, &i, &element), S_OK);
    VariantClear(&element);
  }
  EXPECT_EQ(platform::accounting::live()["bstr"], 3);
  VARIANT outer;
  VariantInit(&outer);
  outer.vt = VT_ARRAY | VT_VARIANT;
  outer.parray = array;
  VARIANT copy;
  VariantInit(&copy);
  EXPECT_EQ(VariantCopy(&copy, &outer), S_OK);
  EXPECT_EQ(platform::accounting::live()["safe array"], 2);
  EXPECT_EQ(VariantClear(&outer), S_OK);
  VARIANT element;
  VariantInit(&element);
  LONG last = 3;
  EXPECT_EQ(SafeArrayGetElement(copy.parray, &last, &element), S_OK);
  EXPECT_STREQ(element.bstrVal, L"element");
  VariantClear(&element);
  VariantClear(&copy);
}

TEST_F(ComValues, AnEmptyArrayHasAnUpperBoundBelowItsLower) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, 0, 0);
  LONG upper = 7;
  EXPECT_EQ(SafeArrayGetUBound(array, 1, &upper), S_OK);
  EXPECT_EQ(upper, -1);
  LONG index = 0;
  BSTR text = nullptr;
  EXPECT_EQ(SafeArrayGetElement(array, &index, &text), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayDestroy(array), S_OK);
}

TEST_F(ComValues, ElementsOfTextArraysGoInAndOutAsCopies) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_BSTR, 0, 1);
  BSTR text = SysAllocString(L"x");
  LONG index = 0;
  EXPECT_EQ(SafeArrayPutElement(array, &index, text), S_OK);
  EXPECT_EQ(SafeArrayPutElement(array, &index, text), S_OK) << "the former is freed";
  SysFreeString(text);
  BSTR out = nullptr;
  EXPECT_EQ(SafeArrayGetElement(array, &index, &out), S_OK);
  EXPECT_STREQ(out, L"x");
  SysFreeString(out);
  SafeArrayDestroy(array);
}

TEST_F(ComValues, WrongUseOfArraysIsToldByItsCode) {
  SAFEARRAYBOUND bounds[2] = {{1, 0}, {1, 0}};
  EXPECT_EQ(SafeArrayCreate(VT_VARIANT, 2, bounds), nullptr);
  EXPECT_EQ(SafeArrayCreate(999, 1, bounds), nullptr);
  SAFEARRAY* array = SafeArrayCreateVector(VT_I4, -2, 2);
  LONG value = 0;
  EXPECT_EQ(SafeArrayGetLBound(array, 0, &value), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayGetLBound(array, 2, &value), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayGetUBound(array, 2, &value), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayGetLBound(nullptr, 1, &value), E_INVALIDARG);
  LONG index = 0;
  EXPECT_EQ(SafeArrayPutElement(array, &index, &value), DISP_E_BADINDEX);
  index = -1;
  value = 42;
  EXPECT_EQ(SafeArrayPutElement(array, &index, &value), S_OK);
  LONG out = 0;
  EXPECT_EQ(SafeArrayGetElement(array, &index, &out), S_OK);
  EXPECT_EQ(out, 42);
  void* data = nullptr;
  EXPECT_EQ(SafeArrayAccessData(array, &data), S_OK);
  EXPECT_EQ(SafeArrayDestroy(array), DISP_E_ARRAYISLOCKED);
  EXPECT_EQ(SafeArrayUnaccessData(array), S_OK);
  EXPECT_EQ(SafeArrayUnaccessData(array), E_UNEXPECTED);
  EXPECT_EQ(SafeArrayDestroy(array), S_OK);
  EXPECT_EQ(SafeArrayDestroy(nullptr), S_OK);
}

TEST_F(ComValues, EachCallFailsOnPurposeWithItsUsualCode) {
  SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, 1);
  LONG bound = 0;
  VARIANT element;
  VariantInit(&element);
  platform::faults::fail("SafeArrayGetLBound", 1);
  platform::faults::fail("SafeArrayGetUBound", 1);
  platform::faults::fail("SafeArrayGetElement", 1);
  platform::faults::fail("SafeArrayPutElement", 1);
  platform::faults::fail("VariantCopy", 1);
  platform::faults::fail("SysAllocString", 1);
  platform::faults::fail("SafeArrayCreateVector", 1);
  EXPECT_EQ(SafeArrayGetLBound(array, 1, &bound), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayGetUBound(array, 1, &bound), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayGetElement(array, &bound, &element), DISP_E_BADINDEX);
  EXPECT_EQ(SafeArrayPutElement(array, &bound, &element), E_OUTOFMEMORY);
  EXPECT_EQ(VariantCopy(&element, &element), E_OUTOFMEMORY);
  EXPECT_EQ(SysAllocString(L"x"), nullptr);
  EXPECT_EQ(SafeArrayCreateVector(VT_I4, 0, 1), nullptr);
  EXPECT_EQ(SafeArrayGetElement(array, &bound, &element), S_OK) << "only the first one fails";
  SafeArrayDestroy(array);
}

TEST_F(ComValues, AnApartmentIsOpenedAndClosedInPairs) {
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE);
  CoUninitialize();
  CoUninitialize();
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  CoUninitialize();
  CoUninitialize();
}

}  // namespace
