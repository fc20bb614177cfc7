// The transport between sites: its bridgeheads and links.

#include <gtest/gtest.h>

#include <string>

#include "directory/bridgeheads.h"
#include "directory/dns_utils.h"
#include "tests/directory/asking.h"

namespace {

using directory_test::forest;
using directory_test::forest_with;
using directory_test::kTransport;
using directory_test::server_dn;

constexpr std::int32_t kUntouched = -77;

std::string with_bridgeheads(std::initializer_list<std::string> names) {
  std::string lines;
  for (const std::string& name : names) lines += "bridgeheadServerListBL: " + name + "\n";
  return forest_with("distinguishedName: " + kTransport + "\n",
                     "distinguishedName: " + kTransport + "\n" + lines);
}

class Transport : public directory_test::Asking {
 protected:
  int count() { return DNSUtils::GetBridgeHeadServerCountInSite("DC1", count_); }
  int is_one() { return DNSUtils::IsBridgeHeadServer(server_.data(), flag_); }

  std::int32_t count_ = kUntouched;
  std::string server_ = "dc1";
  std::uint8_t flag_ = 7;
};

TEST_F(Transport, WithTheListUnsetHasNoBridgeheadsAndThatIsASuccess) {
  EXPECT_EQ(0, count());
  EXPECT_EQ(0, count_);
  EXPECT_EQ(0, is_one());
  EXPECT_EQ(0, flag_);
  EXPECT_EQ(2u,
            trace_.count("bridgeheadServerListBL is not set or unavailable. Error Code 8000500d"));
}

TEST_F(Transport, WithASingleBridgeheadCountsOneText) {
  answer_from(with_bridgeheads({server_dn("Hub", "DC1")}));
  EXPECT_EQ(0, count());
  EXPECT_EQ(1, count_);
}

TEST_F(Transport, WithSeveralBridgeheadsInAnArrayOfVariantsCountsNone) {
  answer_from(with_bridgeheads({server_dn("Hub", "DC1"), server_dn("Branch", "DC3")}));
  EXPECT_EQ(0, count());
  EXPECT_EQ(0, count_);
  EXPECT_EQ(0, is_one());
  EXPECT_EQ(0, flag_);
}

TEST_F(Transport, FindsTheServerInTheSingleText) {
  answer_from(with_bridgeheads({server_dn("Hub", "DC1")}));
  EXPECT_EQ(0, is_one());
  EXPECT_EQ(1, flag_);
  EXPECT_EQ("DC1", server_);
  EXPECT_EQ(1u, trace_.count("BridgeHead Server: " + server_dn("Hub", "DC1")));
  EXPECT_EQ(1u, trace_.count("Bridgehead Server Found"));
}

TEST_F(Transport, FindsTheServerAlsoAsPartOfAnotherName) {
  answer_from(with_bridgeheads({server_dn("Hub", "DC12")}));
  EXPECT_EQ(0, is_one());
  EXPECT_EQ(1, flag_);
}

TEST_F(Transport, DoesNotFindANameInSmallLetters) {
  answer_from(with_bridgeheads({server_dn("Hub", "dc1")}));
  EXPECT_EQ(0, is_one());
  EXPECT_EQ(0, flag_);
  EXPECT_FALSE(trace_.contains("Bridgehead Server Found"));
}

TEST_F(Transport, ThatIsNotThereIsAnObjectError) {
  answer_from(forest_with("dn: " + kTransport, "dn: CN=Other" + kTransport.substr(5)));
  EXPECT_EQ(ADSI_OBJECT_ERR, count());
  EXPECT_EQ(kUntouched, count_);
  EXPECT_EQ(ADSI_OBJECT_ERR, is_one());
  EXPECT_EQ(7, flag_);
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetSiteLinkCount("DC1", count_));
  EXPECT_EQ(kUntouched, count_);
  EXPECT_EQ(3u, trace_.count("ADsGetObject Failed. Error number: 80072030"));
}

TEST_F(Transport, OfAForestWhoseConfigurationIsUnreadableFailsInEachOperationsWay) {
  answer_from(forest_with("configurationNamingContext: ", "otherContext: "));
  EXPECT_EQ(-1, count());
  EXPECT_EQ(ADSI_OBJECT_ERR, is_one());
  EXPECT_EQ(ADSI_OBJECT_ERR, DNSUtils::GetSiteLinkCount("DC1", count_));
  EXPECT_EQ(kUntouched, count_);
  EXPECT_EQ(7, flag_);
  EXPECT_EQ(3u, trace_.count("GetConfigurationNamingContext failed"));
}

TEST_F(Transport, CountsEveryChildAsALinkWhateverItsClass) {
  answer_from(forest() + directory_test::object("CN=Bridge," + kTransport, "siteLinkBridge"));
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetSiteLinkCount("DC1", count_));
  EXPECT_EQ(3, count_);
}

TEST_F(Transport, LeavesOutALinkThatFailsAndTracesIt) {
  platform::faults::fail("IUnknown::QueryInterface", 4);
  EXPECT_EQ(ADSI_ENUM_END, DNSUtils::GetSiteLinkCount("DC1", count_));
  EXPECT_EQ(1, count_);
  EXPECT_EQ(1u, trace_.count("ADsEnumerateNext Failed. Error number: 80004002"));
}

TEST_F(Transport, WithoutAnEnumeratorIsAnEnumerationError) {
  platform::faults::fail("ADsBuildEnumerator", 1);
  EXPECT_EQ(ADSI_ENUM_ERR, DNSUtils::GetSiteLinkCount("DC1", count_));
  EXPECT_EQ(kUntouched, count_);
}

TEST_F(Transport, SweepOfFaults) {
  answer_from(with_bridgeheads({server_dn("Hub", "DC1")}));
  sweep(
      [] {
        std::int32_t count = kUntouched;
        std::uint8_t flag = 7;
        std::string server = "dc1";
        const int counted = DNSUtils::GetBridgeHeadServerCountInSite("DC1", count);
        const int found = DNSUtils::IsBridgeHeadServer(server.data(), flag);
        return std::to_string(counted) + " " + std::to_string(count) + " " + std::to_string(found) +
               " " + std::to_string(flag);
      },
      {{"ADsGetObject", "GetConfigurationNamingContext failed"},
       {"IADs::Get", "pObj->Get Failed. Error number: "}});
}

TEST_F(Transport, SweepOfFaultsOfLinks) {
  sweep(
      [] {
        std::int32_t count = kUntouched;
        const int result = DNSUtils::GetSiteLinkCount("DC1", count);
        return std::to_string(result) + " " + std::to_string(count);
      },
      {{"ADsGetObject", "GetConfigurationNamingContext failed"},
       {"ADsBuildEnumerator", "ADsBuildEnumerator Failed. Error number: "}});
}

// The plain array, which no directory of ours hands out.
class PlainArray : public directory_test::Asking {
 protected:
  // Of texts as variants, its kind told as that of a plain array.
  static void fill(directory::Variant& list, const std::vector<std::wstring>& texts) {
    SAFEARRAY* array = SafeArrayCreateVector(VT_VARIANT, 0, static_cast<ULONG>(texts.size()));
    for (std::size_t i = 0; i < texts.size(); ++i) {
      VARIANT& value = static_cast<VARIANT*>(array->pvData)[i];
      value.vt = VT_BSTR;
      value.bstrVal = SysAllocString(texts[i].c_str());
    }
    VARIANT* target = list.target();
    target->vt = VT_ARRAY;
    target->parray = array;
  }
  int count(std::size_t values) {
    DCW_TRACE("count");
    directory::Variant list;
    fill(list, std::vector<std::wstring>(values, L"CN=DC1"));
    const int result = directory::count_bridgeheads(trace, list, count_);
    EXPECT_FALSE(list.is_array()) << "it is destroyed";
    return result;
  }
  int find(const std::vector<std::wstring>& texts) {
    DCW_TRACE("find");
    directory::Variant list;
    fill(list, texts);
    return directory::find_bridgehead(trace, list, server_.data(), found_);
  }

  std::int32_t count_ = kUntouched;
  std::string server_ = "dc1";
  bool found_ = false;
};

TEST_F(PlainArray, CountsItsValues) {
  EXPECT_EQ(0, count(3));
  EXPECT_EQ(3, count_);
  EXPECT_EQ(0, count(0));
  EXPECT_EQ(0, count_);
  EXPECT_EQ(0, count(5000));
  EXPECT_EQ(5000, count_);
}

TEST_F(PlainArray, WithoutAnUpperBoundIsAnObjectError) {
  platform::faults::fail("SafeArrayGetUBound", 1, std::int32_t(0x8002000B));
  EXPECT_EQ(ADSI_OBJECT_ERR, count(3));
  EXPECT_EQ(kUntouched, count_);
  EXPECT_EQ(1u, trace_.count("Error : SafeArrayGetUBound failed"));
  EXPECT_EQ(1u, trace_.count("Error Number : 8002000b"));
}

TEST_F(PlainArray, IsWalkedUpToTheServerThatIsLookedFor) {
  EXPECT_EQ(0, find({L"CN=DC2", L"CN=DC1", L"CN=DC3"}));
  EXPECT_TRUE(found_);
  EXPECT_EQ("DC1", server_);
  EXPECT_EQ(1u, trace_.count("BridgeHead Server: CN=DC2"));
  EXPECT_EQ(0u, trace_.count("BridgeHead Server: CN=DC3"));
  EXPECT_EQ(0, find({L"CN=DC2", L"CN=dc1"}));
  EXPECT_FALSE(found_);
}

TEST_F(PlainArray, WhoseBoundsOrElementsFailIsAnObjectErrorThatIsTraced) {
  const std::pair<const char*, const char*> calls[] = {
      {"SafeArrayGetLBound", "Error : SafeArrayGetLBound failed. Error Number : 8002000b"},
      {"SafeArrayGetUBound", "Error : SafeArrayGetUBound failed. Error Number : 8002000b"},
      {"SafeArrayGetElement", "Error : SafeArrayGetElement failed. Error Number : 8002000b"}};
  for (const auto& [call, text] : calls) {
    platform::faults::fail(call, 1, std::int32_t(0x8002000B));
    EXPECT_EQ(ADSI_OBJECT_ERR, find({L"CN=DC2", L"CN=DC1"})) << call;
    EXPECT_EQ(1u, trace_.count(text));
    platform::faults::clear();
  }
}

}  // namespace
