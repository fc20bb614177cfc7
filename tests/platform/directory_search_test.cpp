// IDirectorySearch over a recorded directory.

#include "adsi_fixture.h"
#include "platform/adsi/search_rows.h"

namespace {

using adsi_test::Held;
using adsi_test::kOne;

class DirectorySearch : public adsi_test::Adsi {
 protected:
  void SetUp() override {
    Adsi::SetUp();
    ASSERT_EQ(ADsOpenObject(L"LDAP://DC=corp,DC=example", nullptr, nullptr,
                            ADS_SECURE_AUTHENTICATION, IID_IDirectorySearch, searched_.out()),
              S_OK);
  }
  void TearDown() override {
    if (search_ != nullptr) {
      EXPECT_EQ(searched_->CloseSearchHandle(search_), S_OK);
    }
    if (searched_.get != nullptr) searched_.get->Release();
    searched_.get = nullptr;
    Adsi::TearDown();
  }
  HRESULT execute(std::wstring filter, std::vector<std::wstring> names) {
    std::vector<LPWSTR> pointers;
    for (std::wstring& name : names) pointers.push_back(name.data());
    return searched_->ExecuteSearch(filter.data(), pointers.data(),
                                    static_cast<DWORD>(pointers.size()), &search_);
  }
  HRESULT column(std::wstring name, ADS_SEARCH_COLUMN& column) {
    return searched_->GetColumn(search_, name.data(), &column);
  }
  std::wstring text(const std::wstring& name) {
    ADS_SEARCH_COLUMN read;
    if (column(name, read) != S_OK) return L"(none)";
    EXPECT_EQ(read.dwADsType, ADSTYPE_CASE_IGNORE_STRING);
    std::wstring copy = read.pADsValues[0].CaseIgnoreString;
    searched_->FreeColumn(&read);
    return copy;
  }

  Held<IDirectorySearch> searched_;
  ADS_SEARCH_HANDLE search_ = nullptr;
};

TEST_F(DirectorySearch, WalksTheWholeSubtreeAndEndsAgainAndAgain) {
  ASSERT_EQ(execute(L"(cn=*)", {L"cn"}), S_OK);
  for (const wchar_t* name : {L"One", L"Deep", L"Two"}) {
    ASSERT_EQ(searched_->GetNextRow(search_), S_OK);
    EXPECT_EQ(text(L"cn"), name);
  }
  EXPECT_EQ(searched_->GetNextRow(search_), S_ADS_NOMORE_ROWS);
  EXPECT_EQ(searched_->GetNextRow(search_), S_ADS_NOMORE_ROWS);
  ADS_SEARCH_COLUMN read;
  EXPECT_EQ(column(L"cn", read), E_ADS_BAD_PARAMETER);
}

TEST_F(DirectorySearch, TakesAFilterInBracketsTwiceOver) {
  ASSERT_EQ(execute(L"((objectClass=user))", {L"cn"}), S_OK);
  ASSERT_EQ(searched_->GetNextRow(search_), S_OK);
  EXPECT_EQ(text(L"cn"), L"Two");
  EXPECT_EQ(searched_->GetNextRow(search_), S_ADS_NOMORE_ROWS);
}

TEST_F(DirectorySearch, RefusesWhatIsNoFilter) {
  EXPECT_EQ(execute(L"cn=", {L"cn"}), E_ADS_INVALID_FILTER);
  EXPECT_EQ(search_, nullptr);
}

TEST_F(DirectorySearch, GivesEachKindOfValueItsType) {
  ASSERT_EQ(execute(L"(cn=One)", {}), S_OK);
  ASSERT_EQ(searched_->GetNextRow(search_), S_OK);
  ADS_SEARCH_COLUMN read;
  ASSERT_EQ(column(L"flags", read), S_OK);
  EXPECT_STREQ(read.pszAttrName, L"flags");
  EXPECT_EQ(read.dwADsType, ADSTYPE_INTEGER);
  EXPECT_EQ(read.pADsValues[0].Integer, static_cast<DWORD>(-5));
  searched_->FreeColumn(&read);
  ASSERT_EQ(column(L"options", read), S_OK);
  ASSERT_EQ(read.dwNumValues, 2u);
  EXPECT_EQ(read.pADsValues[1].Integer, 2u);
  searched_->FreeColumn(&read);
  ASSERT_EQ(column(L"systemOnly", read), S_OK);
  EXPECT_EQ(read.dwADsType, ADSTYPE_BOOLEAN);
  EXPECT_EQ(read.pADsValues[0].Boolean, 1u);
  searched_->FreeColumn(&read);
  ASSERT_EQ(column(L"objectGUID", read), S_OK);
  EXPECT_EQ(read.dwADsType, ADSTYPE_OCTET_STRING);
  ASSERT_EQ(read.pADsValues[0].OctetString.dwLength, 16u);
  EXPECT_EQ(read.pADsValues[0].OctetString.lpValue[15], 15);
  searched_->FreeColumn(&read);
  ASSERT_EQ(column(L"uSNChanged", read), S_OK);
  EXPECT_EQ(read.dwADsType, ADSTYPE_LARGE_INTEGER);
  EXPECT_EQ(read.pADsValues[0].LargeInteger.QuadPart, 12884901888);
  searched_->FreeColumn(&read);
  ASSERT_EQ(column(L"whenCreated", read), S_OK);
  EXPECT_EQ(read.dwADsType, ADSTYPE_UTC_TIME);
  EXPECT_EQ(read.pADsValues[0].UTCTime.wYear, 2011);
  EXPECT_EQ(read.pADsValues[0].UTCTime.wHour, 12);
  searched_->FreeColumn(&read);
}

TEST_F(DirectorySearch, SaysWhichColumnARowLacksOrCannotShow) {
  ASSERT_EQ(execute(L"(cn=One)", {}), S_OK);
  ASSERT_EQ(searched_->GetNextRow(search_), S_OK);
  ADS_SEARCH_COLUMN read;
  EXPECT_EQ(column(L"description", read), E_ADS_COLUMN_NOT_SET);
  EXPECT_EQ(column(L"cost", read), E_ADS_CANT_CONVERT_DATATYPE);
  EXPECT_EQ(column(L"whenChanged", read), E_ADS_CANT_CONVERT_DATATYPE);
  EXPECT_EQ(searched_->FreeColumn(&read), S_OK) << "of a column that was never had";
}

TEST_F(DirectorySearch, ThatIsAbandonedHasNoMoreRows) {
  ASSERT_EQ(execute(L"(cn=*)", {L"cn"}), S_OK);
  ASSERT_EQ(searched_->GetNextRow(search_), S_OK);
  EXPECT_EQ(searched_->AbandonSearch(search_), S_OK);
  EXPECT_EQ(searched_->GetNextRow(search_), S_ADS_NOMORE_ROWS);
}

TEST_F(DirectorySearch, ThatBreaksOffFailsAndHasNoRow) {
  directory().children_before_failure = 1;
  ASSERT_EQ(execute(L"(cn=*)", {L"cn"}), S_OK);
  ASSERT_EQ(searched_->GetNextRow(search_), S_OK);
  EXPECT_EQ(searched_->GetNextRow(search_), platform::kDirectoryTimeout);
  EXPECT_EQ(text(L"cn"), L"(none)");
}

TEST_F(DirectorySearch, OutlivesTheControllerThatItBeganOn) {
  ASSERT_EQ(execute(L"(cn=*)", {L"cn"}), S_OK);
  controller_.reset();
  platform::install(platform::make_recording({{"directory.ldif", adsi_test::kForest}}, "new", {}));
  ASSERT_EQ(searched_->GetNextRow(search_), S_OK);
  EXPECT_EQ(text(L"cn"), L"One");
}

TEST(PlainFilter, LosesOnlyBracketsAroundAWholeFilterInBrackets) {
  EXPECT_EQ(platform::plain_filter("((a=b))"), "(a=b)");
  EXPECT_EQ(platform::plain_filter("(((a=b)))"), "(a=b)");
  EXPECT_EQ(platform::plain_filter("(a=b)"), "(a=b)");
  EXPECT_EQ(platform::plain_filter("((a=b)(c=d))"), "((a=b)(c=d))");
  EXPECT_EQ(platform::plain_filter("((&(a=b)(c=d)))"), "(&(a=b)(c=d))");
  EXPECT_EQ(platform::plain_filter("((a=b)"), "((a=b)");
  EXPECT_EQ(platform::plain_filter("(("), "((");
  EXPECT_EQ(platform::plain_filter(""), "");
}

}  // namespace
