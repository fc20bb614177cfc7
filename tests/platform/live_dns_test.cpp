// The live name server's client against a name server of its own (nsd), on a port of this machine.

#include "platform/live/live_dns.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <utility>

#include "platform/recorded/utf8.h"

namespace {

namespace fs = std::filesystem;

using platform::DnsRecord;
using platform::live::DnsOptions;
using platform::live::make_live_dns;

constexpr std::uint16_t kA = 1, kCname = 5, kAaaa = 28, kSrv = 33;

// A socket on a free port of 127.0.0.1; it answers nothing.
class SilentPort {
 public:
  explicit SilentPort(int type = SOCK_DGRAM) : socket_(::socket(AF_INET, type, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(socket_, reinterpret_cast<sockaddr*>(&address), size);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
  }
  ~SilentPort() { release(); }
  void release() {
    if (socket_ >= 0) ::close(std::exchange(socket_, -1));
  }
  std::string address() const { return "127.0.0.1:" + std::to_string(port_); }
  int port() const { return port_; }

 private:
  int socket_;
  int port_ = 0;
};

// A name server of the zone corp.example, gone with the test.
class NameServer {
 public:
  explicit NameServer(const std::string& records)
      : folder_(fs::temp_directory_path() / ("dirwatch_nsd_" + std::to_string(getpid()))) {
    SilentPort port;
    port_ = port.port();
    port.release();
    fs::create_directories(folder_);
    std::ofstream(folder_ / "zone") << "$ORIGIN corp.example.\n$TTL 60\n"
                                       "@ IN SOA ns hostmaster 1 2 3 4 5\n@ IN NS ns\n"
                                       "ns IN A 127.0.0.1\n"
                                    << records;
    std::ofstream(folder_ / "nsd.conf")
        << "server:\n  ip-address: 127.0.0.1@" << port_ << "\n  server-count: 1\n"
        << "  username: \"\"\n  chroot: \"\"\n  database: \"\"\n  zonesdir: \"" << folder_.string()
        << "\"\n  pidfile: \"\"\n  xfrdfile: \"" << (folder_ / "xfrd").string()
        << "\"\n  zonelistfile: \"" << (folder_ / "list").string() << "\"\n  xfrdir: \""
        << folder_.string() << "\"\n  logfile: \"" << (folder_ / "log").string()
        << "\"\nremote-control:\n  control-enable: no\nzone:\n  name: corp.example\n"
        << "  zonefile: zone\n";
    child_ = fork();
    if (child_ == 0) {
      const std::string file = (folder_ / "nsd.conf").string();
      execl("/usr/sbin/nsd", "nsd", "-d", "-c", file.c_str(), static_cast<char*>(nullptr));
      _exit(127);
    }
  }
  ~NameServer() {
    kill(child_, SIGTERM);
    waitpid(child_, nullptr, 0);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }
  DnsOptions options() const { return {"127.0.0.1:" + std::to_string(port_), 5}; }

  // Whether it answers; given up after half a minute, and at once when it has ended.
  bool is_up() const {
    const auto dns = make_live_dns(options());
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < end && waitpid(child_, nullptr, WNOHANG) == 0) {
      std::vector<DnsRecord> records;
      if (dns->query("ns.corp.example", kA, records) == 0) return true;
      usleep(20000);
    }
    return false;
  }

 private:
  const fs::path folder_;
  int port_ = 0;
  pid_t child_ = -1;
};

std::string three_hundred_servers() {
  std::string text;
  for (int i = 0; i < 300; ++i) {
    text += "_ldap._tcp.dc._msdcs IN SRV 0 100 389 a-rather-long-name-of-server-" +
            std::to_string(i) + "\n";
  }
  return text;
}

TEST(LiveDns, AsksARealNameServer) {
  const NameServer server(three_hundred_servers() +
                          "dc1 A 192.0.2.1\ndc1 AAAA 2001:db8::1\nalias CNAME dc1\n"
                          "_gc._tcp SRV 1 2 3268 DC1\n");
  ASSERT_TRUE(server.is_up());
  const auto dns = make_live_dns(server.options());
  std::vector<DnsRecord> records;

  // More than a packet holds: the answer comes over TCP.
  ASSERT_EQ(0, dns->query("_ldap._tcp.dc._msdcs.corp.example", kSrv, records));
  EXPECT_EQ(300u, records.size());

  records.clear();
  ASSERT_EQ(0, dns->query("_gc._tcp.corp.example", kSrv, records));
  ASSERT_EQ(1u, records.size());
  EXPECT_EQ(1, records[0].priority);
  EXPECT_EQ(2, records[0].weight);
  EXPECT_EQ(3268, records[0].port);
  EXPECT_TRUE(platform::equal_without_case("dc1.corp.example", records[0].target));

  records.clear();
  ASSERT_EQ(0, dns->query("alias.corp.example", kA, records));
  ASSERT_EQ(1u, records.size());
  EXPECT_EQ("dc1.corp.example", records[0].name);
  EXPECT_EQ(std::string("\xC0\x00\x02\x01", 4), records[0].address);
  records.clear();
  ASSERT_EQ(0, dns->query("dc1.corp.example", kAaaa, records));
  EXPECT_EQ(16u, records[0].address.size());

  records.clear();
  EXPECT_EQ(platform::kDnsNoSuchName, dns->query("nowhere.corp.example", kSrv, records));
  EXPECT_EQ(platform::kDnsNoRecords, dns->query("dc1.corp.example", kSrv, records));
  // Whoever refuses is passed over for the next server; with none left, nobody has answered.
  EXPECT_EQ(platform::kDnsTimeout, dns->query("other.example", kSrv, records));
  EXPECT_EQ(9004, dns->query("dc1.corp.example", kCname, records));
  EXPECT_TRUE(records.empty());
}

TEST(LiveDns, GivesAServerThatIsSilentItsTimeAndNoMore) {
  const SilentPort port;
  const auto begin = std::chrono::steady_clock::now();
  std::vector<DnsRecord> records;
  EXPECT_EQ(platform::kDnsTimeout,
            make_live_dns({port.address(), 1})->query("a.example", kSrv, records));
  const auto took = std::chrono::steady_clock::now() - begin;
  EXPECT_GE(took, std::chrono::milliseconds(1000));
  // One second, then two; the rest is what a busy machine may take.
  EXPECT_LT(took, std::chrono::seconds(30));
}

class DnsEnvironment : public ::testing::Test {
 protected:
  ~DnsEnvironment() override {
    unsetenv("DIRWATCH_DNS_SERVERS");
    unsetenv("DIRWATCH_DNS_TIMEOUT");
  }
};

TEST_F(DnsEnvironment, NamesServersAndTheirTime) {
  EXPECT_EQ(2, platform::live::read_dns_options().timeout_s);
  setenv("DIRWATCH_DNS_SERVERS", "192.0.2.1,[2001:db8::1]:5353", 1);
  setenv("DIRWATCH_DNS_TIMEOUT", "7", 1);
  const DnsOptions options = platform::live::read_dns_options();
  EXPECT_EQ("192.0.2.1,[2001:db8::1]:5353", options.servers);
  EXPECT_EQ(7, options.timeout_s);
}

TEST_F(DnsEnvironment, RefusesWhatCannotBeMeant) {
  for (const char* timeout : {"0", "61", "2s", "soon"}) {
    setenv("DIRWATCH_DNS_TIMEOUT", timeout, 1);
    EXPECT_THROW(platform::live::read_dns_options(), platform::ControllerError) << timeout;
  }
  unsetenv("DIRWATCH_DNS_TIMEOUT");
  setenv("DIRWATCH_DNS_SERVERS", "not an address", 1);
  EXPECT_THROW(platform::live::read_dns_options(), platform::ControllerError);
}

}  // namespace
