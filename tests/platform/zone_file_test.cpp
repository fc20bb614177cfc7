// Zone files, and the name server over them.

#include "platform/dns/zone_file.h"

#include <gtest/gtest.h>

#include "platform/dns/recorded_dns.h"

namespace {

using platform::ControllerError;
using platform::DnsRecord;
using platform::read_dns;
using platform::read_zone;

constexpr std::uint16_t kA = 1, kCname = 5, kSrv = 33, kAaaa = 28;

std::vector<DnsRecord> read(const std::string& text) { return read_zone(text, "dns.zone"); }

std::string fault(const std::string& text) {
  try {
    read(text);
  } catch (const ControllerError& error) {
    return error.what();
  }
  return "";
}

TEST(ZoneFile, ReadsServiceRecords) {
  const auto records = read(
      "$ORIGIN corp.example.\n$TTL 1h\n"
      "_ldap._tcp 30 IN SRV 1 2 389 dc1\n"
      "           IN 1d SRV 3 4 636 dc2.other.example. ; a comment\n"
      "_gc._tcp   SRV ( 5 6\n  3268 dc3 )\n");
  ASSERT_EQ(3u, records.size());
  EXPECT_EQ("_ldap._tcp.corp.example", records[0].name);
  EXPECT_EQ(kSrv, records[0].type);
  EXPECT_EQ(30u, records[0].ttl_s);
  EXPECT_EQ(1, records[0].priority);
  EXPECT_EQ(2, records[0].weight);
  EXPECT_EQ(389, records[0].port);
  EXPECT_EQ("dc1.corp.example", records[0].target);
  EXPECT_EQ("_ldap._tcp.corp.example", records[1].name);
  EXPECT_EQ(86400u, records[1].ttl_s);
  EXPECT_EQ("dc2.other.example", records[1].target);
  EXPECT_EQ("dc3.corp.example", records[2].target);
  EXPECT_EQ(3600u, records[2].ttl_s);
}

TEST(ZoneFile, ReadsAddressesAliasesAndTheOriginItself) {
  const auto records =
      read("$ORIGIN corp.example.\n@ A 192.0.2.1\nwww CNAME @\n$ORIGIN sub\nx AAAA 2001:db8::1\n");
  ASSERT_EQ(3u, records.size());
  EXPECT_EQ("corp.example", records[0].name);
  EXPECT_EQ(std::string("\xC0\x00\x02\x01", 4), records[0].address);
  EXPECT_EQ("corp.example", records[1].target);
  EXPECT_EQ("x.sub.corp.example", records[2].name);
  EXPECT_EQ(16u, records[2].address.size());
}

TEST(ZoneFile, ReadsOverTypesThatNobodyAsksFor) {
  const auto records =
      read("$ORIGIN x.\na TXT \"one; two\" three\nb SOA a b (1 2\n3 4 5)\nc TYPE65534 \\# 1 ff\n");
  ASSERT_EQ(3u, records.size());
  EXPECT_EQ("a.x", records[0].name);
  EXPECT_EQ(65534, records[2].type);
}

TEST(ZoneFile, ReadsEscapesInNames) {
  EXPECT_EQ("a b.x", read("a\\032b.x. A 192.0.2.1\n")[0].name);
  EXPECT_EQ("a;b.x", read("a\\;b.x. A 192.0.2.1\n")[0].name);
}

TEST(ZoneFile, NamesTheLineOfAFault) {
  const struct {
    const char* text;
    const char* fault;
  } cases[] = {
      {"a A 192.0.2.1\n", "dns.zone:1: a relative name before the first $ORIGIN"},
      {"\n a.x. A 192.0.2.1\n A 192.0.2.1\n", "dns.zone:2: the first record has no owner"},
      {"a.x. A 192.0.2.1\n\n\na.x. A 192.0.2.300\n",
       "dns.zone:4: '192.0.2.300' is no address of this type"},
      {"a.x. SRV 1 2 65536 b.x.\n", "dns.zone:1: the port is no number from 0 to 65535"},
      {"a.x. SRV 1 2 3\n", "dns.zone:1: the target is missing"},
      {"a.x. SRV 1 2 3 b.x. c\n", "dns.zone:1: 'c' stands behind the end"},
      {"a.x. NOTYPE 1\n", "dns.zone:1: 'NOTYPE' is no type of record"},
      {"a.x.\n", "dns.zone:1: the record's type is missing"},
      {"$INCLUDE other\n", "dns.zone:1: $INCLUDE is not known here"},
      {"$TTL soon\n", "dns.zone:1: no time to live"},
      {"a.x. A (192.0.2.1\n", "dns.zone:2: a parenthesis is not closed"},
      {"a.x. A 192.0.2.1)\n", "dns.zone:1: a stray )"},
      {"a.x. TXT \"open\n", "dns.zone:1: a quotation mark is not closed"},
      {"a..x. A 192.0.2.1\n", "dns.zone:1: a name with an empty part"},
      {"a.x. A 192.0.2.1\\\n", "dns.zone:1: nothing behind a backslash"},
  };
  for (const auto& one : cases) EXPECT_EQ(one.fault, fault(one.text)) << one.text;
  EXPECT_EQ("dns.zone:1: a part of a name of more than 63 characters",
            fault(std::string(64, 'a') + ". A 192.0.2.1\n"));
  std::string longest;
  for (int i = 0; i < 64; ++i) longest += "abc.";
  EXPECT_EQ("dns.zone:1: a name of more than 253 characters", fault(longest + " A 192.0.2.1\n"));
}

class RecordedDns : public ::testing::Test {
 protected:
  platform::DnsStatus ask(const std::string& name, std::uint16_t type) {
    records_.clear();
    return dns_->query(name, type, records_);
  }
  const std::unique_ptr<platform::DnsSource> dns_ = read_dns(
      "$ORIGIN corp.example.\n"
      "_ldap._tcp SRV 0 0 389 dc1\n_ldap._tcp SRV 0 0 389 dc2\n"
      "dc1 A 192.0.2.1\ndc1 AAAA 2001:db8::1\ndc2 A 192.0.2.2\n"
      "alias CNAME dc1\nloop CNAME loop\nnowhere CNAME gone.example.\n",
      "dns.zone");
  std::vector<DnsRecord> records_;
};

TEST_F(RecordedDns, AnswersServicesWithTheAddressesOfTheirTargets) {
  ASSERT_EQ(0, ask("_LDAP._TCP.Corp.Example.", kSrv));
  ASSERT_EQ(5u, records_.size());
  EXPECT_TRUE(records_[1].is_answer);
  EXPECT_FALSE(records_[2].is_answer);
  EXPECT_EQ(kA, records_[2].type);
  EXPECT_EQ(kAaaa, records_[3].type);
}

TEST_F(RecordedDns, TellsANameWithoutRecordsFromOneThatDoesNotExist) {
  EXPECT_EQ(platform::kDnsNoRecords, ask("dc1.corp.example", kSrv));
  EXPECT_EQ(platform::kDnsNoRecords, ask("_tcp.corp.example", kSrv));
  EXPECT_EQ(platform::kDnsNoSuchName, ask("dc9.corp.example", kSrv));
  EXPECT_EQ(platform::kDnsNoSuchName, ask("", kSrv));
}

TEST_F(RecordedDns, FollowsAliases) {
  ASSERT_EQ(0, ask("alias.corp.example", kA));
  ASSERT_EQ(2u, records_.size());
  EXPECT_EQ(kCname, records_[0].type);
  EXPECT_EQ("dc1.corp.example", records_[1].name);
  EXPECT_EQ(0, ask("nowhere.corp.example", kA));
  EXPECT_EQ(1u, records_.size());
  EXPECT_EQ(0, ask("loop.corp.example", kA));
}

}  // namespace
