#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include "framework/trc/control.h"
#include "include/settings.h"
#include "include/trace.h"
#include "platform/control.h"
#include "tables/ckutil.h"

namespace {

TEST(Percent, OfATotalOfNothingIsNothing) {
  EXPECT_EQ(CKUtil::calculatePdhPercent(5, 0), 0);
  EXPECT_EQ(CKUtil::calculatePdhPercent(0, 0), 0);
}

TEST(Percent, IsRounded) {
  EXPECT_EQ(CKUtil::calculatePdhPercent(1, 3), 33);
  EXPECT_EQ(CKUtil::calculatePdhPercent(2, 3), 67);
}

TEST(Percent, MayExceedAHundred) { EXPECT_EQ(CKUtil::calculatePdhPercent(3, 2), 150); }

TEST(Percent, OneHalfRoundsUp) { EXPECT_EQ(CKUtil::calculatePdhPercent(1, 200), 1); }

TEST(Percent, OfAFallToNothingTruncatesTowardZero) {
  EXPECT_EQ(CKUtil::calculatePdhPercent(-5, 5), -99);
}

TEST(Percent, NegativeNumbersPassThrough) {
  EXPECT_EQ(CKUtil::calculatePdhPercent(-1, 2), -49);
  EXPECT_EQ(CKUtil::calculatePdhPercent(1, -2), -49);
}

TEST(Percent, WrapsAt32Bits) {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  constexpr std::int32_t kLeast = std::numeric_limits<std::int32_t>::min();
  EXPECT_EQ(CKUtil::calculatePdhPercent(21474837, 100), -21474835);
  EXPECT_EQ(CKUtil::calculatePdhPercent(kMost, kMost), 0);  // -100 + 1073741823 over 2147483647
  EXPECT_EQ(CKUtil::calculatePdhPercent(kLeast, -1), 0);
  EXPECT_EQ(CKUtil::calculatePdhPercent(1, -1), -100);
  // The one quotient that has no room: 0x80000000 over -1.
  EXPECT_EQ(CKUtil::calculatePdhPercent(0x20000000 * 3, -1), kLeast);
}

// A controller that is nothing but a machine with a version.
class Machine : public platform::Controller {
 public:
  Machine(std::uint32_t major, std::uint32_t minor, std::uint32_t build) {
    facts_.os_major = major;
    facts_.os_minor = minor;
    facts_.os_build = build;
  }
  std::string description() const override { return "a machine"; }
  const platform::MachineFacts& machine() const override { return facts_; }
  platform::Directory* directory() override { return nullptr; }
  platform::CounterSource* counters() override { return nullptr; }
  platform::RegistryHive* registry() override { return nullptr; }

 private:
  platform::MachineFacts facts_;
};

class System : public testing::Test {
 protected:
  void SetUp() override {
    trc::set_flags(trace::kError);
    platform::install(std::make_shared<Machine>(10, 3, 70000));
  }
  void TearDown() override { platform::faults::clear(); }
};

TEST_F(System, TheNtPlatformHasItsWholeBuildNumber) {
  std::int32_t version = 0;
  std::int32_t major = 0;
  std::int32_t minor = 0;
  std::int32_t build = 0;
  EXPECT_EQ(CKUtil::GetOSVersionInfo(&version, &major, &minor, &build), 1);
  EXPECT_EQ(major, 10);
  EXPECT_EQ(minor, 3);
  EXPECT_EQ(build, 70000);
  EXPECT_EQ(version & 0xFFFF, 0x030A);
}

TEST_F(System, AFailedVersionQuestionReadsAsTheOldestPlatform) {
  platform::faults::fail("GetVersionExA", 1);
  std::int32_t version = 0;
  std::int32_t major = -1;
  std::int32_t minor = -1;
  std::int32_t build = -1;
  EXPECT_EQ(CKUtil::GetOSVersionInfo(&version, &major, &minor, &build), 0);
  EXPECT_TRUE(platform::faults::struck());
  EXPECT_EQ(major, 0);
  EXPECT_EQ(minor, 0);
  EXPECT_EQ(build, 0);
}

TEST_F(System, TheVersionIsKeptForTheCounterCode) {
  CKUtil::setOSVersion();
  EXPECT_EQ(g_osMajorVersion, 10);
  EXPECT_EQ(g_osMinorVersion, 3);
}

TEST_F(System, ADestroyedCkutilForgetsVersionAndNode) {
  CKUtil::setOSVersion();
  EXPECT_EQ(CKUtil::setOriginNode("node", 4), 0);
  { const CKUtil gone; }
  EXPECT_EQ(g_osMajorVersion, 0);
  EXPECT_EQ(g_osMinorVersion, 0);
  EXPECT_TRUE(CKUtil::originNode().empty());
}

TEST_F(System, TheOriginNodeIsACopyOfTheGivenSize) {
  trc::set_flags(trace::kDetail);
  const trc::Capture capture;
  std::string name = "Primary:DC1:NT and more";
  EXPECT_EQ(CKUtil::setOriginNode(name.data(), 14), 0);
  name.assign(name.size(), 'x');
  EXPECT_EQ(CKUtil::originNode(), "Primary:DC1:NT");
  EXPECT_EQ(capture.count("Resulting Origin node name: Primary:DC1:NT, Size: 14"), 1u);
  EXPECT_EQ(CKUtil::setOriginNode("other", 5), 0);
  EXPECT_EQ(CKUtil::originNode(), "other");
}

TEST_F(System, AnOriginNodeThatCannotBeAllocatedIsRefused) {
  EXPECT_EQ(CKUtil::setOriginNode("node", 4), 0);
  const trc::Capture capture;
  EXPECT_EQ(CKUtil::setOriginNode("node", -1), 4);
  EXPECT_EQ(capture.count("Unable to allocate memory for NodeName"), 1u);
  EXPECT_TRUE(CKUtil::originNode().empty());
}

constexpr std::int32_t kNoMachine = static_cast<std::int32_t>(0x800007D0);

TEST_F(System, TheCounterLibrarysTextGoesToTheTrace) {
  trc::set_flags(0);  // it is written whatever the flags
  const trc::Capture capture;
  const auto before = platform::accounting::live();
  CKUtil::DisplayPDHError(kNoMachine);
  ASSERT_EQ(capture.texts().size(), 1u);
  EXPECT_TRUE(capture.texts()[0].starts_with("PDH error message text <Unable to connect"))
      << capture.texts()[0];
  EXPECT_EQ(platform::accounting::live(), before);
}

TEST_F(System, AStatusWithoutATextIsShownAsNone) {
  const trc::Capture capture;
  CKUtil::DisplayPDHError(0x12345678);
  EXPECT_EQ(capture.texts(), std::vector<std::string>{"PDH error message text <(null)>"});
}

TEST_F(System, TextThatCannotBeReleasedIsReported) {
  platform::faults::fail("LocalFree", 1, 6);
  const trc::Capture capture;
#if defined(__SANITIZE_ADDRESS__)
  const __lsan::ScopedDisabler the_text_stays_allocated;
#endif
  CKUtil::DisplayPDHError(kNoMachine);
  EXPECT_TRUE(platform::faults::struck());
  EXPECT_EQ(capture.count("Error, cannot free local memory, rc = <6>"), 1u);
}

}  // namespace
