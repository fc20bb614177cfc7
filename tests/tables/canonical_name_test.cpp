// The full name of this machine, and where the look-up functions come from.

#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <memory>
#include <string>

#include "framework/trc/control.h"
#include "include/platform/sockets.h"
#include "include/trace.h"
#include "platform/control.h"
#include "tables/address_functions.h"
#include "tables/ckutil.h"

namespace {

class Named : public platform::Controller {
 public:
  Named(std::string host, std::string suffix) {
    facts_.host_name = std::move(host);
    facts_.dns_suffix = std::move(suffix);
  }
  std::string description() const override { return "a machine with a name"; }
  const platform::MachineFacts& machine() const override { return facts_; }
  platform::Directory* directory() override { return nullptr; }
  platform::CounterSource* counters() override { return nullptr; }
  platform::RegistryHive* registry() override { return nullptr; }

 private:
  platform::MachineFacts facts_;
};

class CanonicalName : public ::testing::Test {
 protected:
  CanonicalName() {
    platform::install(std::make_shared<Named>("dc1", "corp.example"));
    trc::set_flags(trace::kDetail | trace::kError);
  }
  ~CanonicalName() override {
    platform::faults::clear();
    platform::install(nullptr);
  }
  // Every byte an "x" before the call.
  std::int32_t ask(const char* host, std::int32_t size = 200) {
    std::memset(name_, 'x', sizeof name_);
    return CKUtil::getCanonicalHostname(host, name_, size);
  }

  char name_[256] = {};
  trc::Capture trace_;
};

TEST_F(CanonicalName, IsTheHostAndItsDomain) {
  EXPECT_EQ(0, ask("dc1"));
  EXPECT_STREQ("dc1.corp.example", name_);
  EXPECT_EQ((std::vector<std::string>{"HostName: dc1", "Canonical name found: dc1.corp.example."}),
            trace_.texts());
}

TEST_F(CanonicalName, IsFoundInAnyCaseAndByTheFullNameAndByNone) {
  for (const char* host : {"DC1", "Dc1.CORP.example", ""}) {
    EXPECT_EQ(0, ask(host)) << host;
    EXPECT_STREQ("dc1.corp.example", name_) << host;
  }
}

TEST_F(CanonicalName, IsTheShortNameOnAMachineWithoutADomain) {
  platform::install(std::make_shared<Named>("dc1", ""));
  EXPECT_EQ(0, ask("dc1"));
  EXPECT_STREQ("dc1", name_);
}

TEST_F(CanonicalName, OfExactlyTheSizeHasNoZeroEnd) {
  EXPECT_EQ(0, ask("dc1", 16));
  EXPECT_EQ("dc1.corp.examplex", std::string(name_, 17));
}

TEST_F(CanonicalName, LongerThanTheSizeIsCutWithoutAZeroEnd) {
  EXPECT_EQ(0, ask("dc1", 5));
  EXPECT_EQ("dc1.cx", std::string(name_, 6));
}

TEST_F(CanonicalName, OfASizeOfNothingWritesNothing) {
  EXPECT_EQ(0, ask("dc1", 0));
  EXPECT_EQ('x', name_[0]);
}

TEST_F(CanonicalName, OfAnUnknownHostFailsWithTheSystemsText) {
  EXPECT_EQ(1, ask("elsewhere"));
  EXPECT_EQ('x', name_[0]);
  EXPECT_EQ(1u, trace_.count("error using getaddrinfo: No such host is known. "));
  EXPECT_EQ(WSAHOST_NOT_FOUND, WSAGetLastError());
}

TEST_F(CanonicalName, WhoseErrorHasNoTextIsStillAnError) {
  platform::faults::fail("getaddrinfo", 1, 99999);
  EXPECT_EQ(1, ask("dc1"));
  EXPECT_EQ(1u, trace_.count("error using getaddrinfo: "));
  EXPECT_EQ(99999, WSAGetLastError());
}

TEST_F(CanonicalName, TakesTheSocketErrorOfASuccessAway) {
  WSASetLastError(5);
  EXPECT_EQ(0, ask("dc1"));
  EXPECT_EQ(0, WSAGetLastError());
}

TEST_F(CanonicalName, GivesBackWhatItLookedUp) {
  ask("dc1");  // the first call also loads the library, for good
  const auto before = platform::accounting::live();
  ask("dc1");
  ask("dc1", 3);
  ask("elsewhere");
  EXPECT_EQ(before, platform::accounting::live());
}

// ---- the choice of the functions ----------------------------------------------------------------

class Choice : public CanonicalName {
 protected:
  static std::map<std::string, std::uint32_t> reached() {
    const auto calls = platform::faults::reached();
    return {calls.begin(), calls.end()};
  }
  // What the chosen functions answer, and that they take their answer back.
  static std::string full_name(const tables::AddressFunctions& functions, const char* host) {
    ADDRINFOA hints = {};
    hints.ai_flags = AI_CANONNAME;
    ADDRINFOA* found = nullptr;
    const int result = functions.getaddrinfo(host, nullptr, &hints, &found);
    if (result != 0) return "error " + std::to_string(result);
    const std::string name = found->ai_canonname == nullptr ? "none" : found->ai_canonname;
    functions.freeaddrinfo(found);
    return name;
  }
};

TEST_F(Choice, IsTheSystemsFirstLibrary) {
  platform::faults::reset_counts();
  EXPECT_EQ("dc1.corp.example", full_name(tables::choose_address_functions(), "dc1"));
  EXPECT_EQ(1u, reached()["LoadLibraryA"]);
  EXPECT_EQ(3u, reached()["GetProcAddress"]);
  EXPECT_EQ(1u, reached()["getaddrinfo"]);
}

TEST_F(Choice, TriesTheSecondLibraryAndEndsWithItsOwnFunctions) {
  platform::faults::reset_counts();
  platform::faults::fail("LoadLibraryA", 0);
  const auto functions = tables::choose_address_functions();
  EXPECT_EQ(2u, reached()["LoadLibraryA"]);
  EXPECT_EQ("dc1.corp.example", full_name(functions, "dc1"));
  EXPECT_EQ("dc1.corp.example", full_name(functions, "DC1.corp.EXAMPLE"));
  EXPECT_EQ("dc1.corp.example", full_name(functions, ""));
  EXPECT_EQ("error 11001", full_name(functions, "elsewhere"));
  EXPECT_EQ(0u, reached()["getaddrinfo"]);
  EXPECT_NE(0, functions.getnameinfo(nullptr, 0, nullptr, 0, nullptr, 0, 0));
}

TEST_F(Choice, TakesAllThreeFunctionsOrNone) {
  for (std::uint32_t missing = 1; missing <= 3; ++missing) {
    const auto before = platform::accounting::live();
    platform::faults::reset_counts();
    platform::faults::fail("GetProcAddress", missing);
    const auto functions = tables::choose_address_functions();
    platform::faults::clear();
    EXPECT_EQ(before, platform::accounting::live()) << "the library is given back";
    EXPECT_EQ("dc1.corp.example", full_name(functions, "dc1"));
    EXPECT_EQ(0u, reached()["getaddrinfo"]);
  }
}

TEST_F(Choice, IsItsOwnFunctionsWithoutTheSystemsDirectory) {
  platform::faults::reset_counts();
  platform::faults::fail("GetSystemDirectoryA", 1);
  EXPECT_EQ("dc1.corp.example", full_name(tables::choose_address_functions(), "dc1"));
  EXPECT_EQ(0u, reached()["LoadLibraryA"]);
}

TEST_F(Choice, OfItsOwnFunctionsKnowsNoNameWhenTheMachineTellsNone) {
  platform::faults::fail("LoadLibraryA", 0);
  platform::faults::fail("GetComputerNameExA", 0);
  EXPECT_EQ("error 11001", full_name(tables::choose_address_functions(), ""));
}

TEST_F(Choice, IsMadeOnceForTheProcess) {
  EXPECT_EQ(0, ask("dc1"));
  platform::faults::reset_counts();
  EXPECT_EQ(0, ask("dc1"));
  EXPECT_EQ(0u, reached()["LoadLibraryA"]);
  EXPECT_EQ(1u, reached()["getaddrinfo"]);
}

}  // namespace
