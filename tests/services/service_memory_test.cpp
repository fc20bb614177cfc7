// Memory that runs out while services are read: each allocation of a sample fails in turn.

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "services/service.h"
#include "services_machine.h"

namespace {

// Counts the allocations of this thread that may fail without an exception; the one at which it
// reaches 0 gives null.
thread_local int allocations_left = 0;

bool fails_now() { return allocations_left > 0 && --allocations_left == 0; }

}  // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (fails_now()) return nullptr;
  try {
    return ::operator new(size);
  } catch (...) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  if (fails_now()) return nullptr;
  try {
    return ::operator new[](size);
  } catch (...) {
    return nullptr;
  }
}

namespace {

using testing_support::kDnsServer;
using testing_support::service;
using testing_support::ServicesTest;

class ServicesWithoutMemory : public ServicesTest {
 protected:
  ServicesWithoutMemory() { install({kDnsServer}); }
  ~ServicesWithoutMemory() override { allocations_left = 0; }

  static constexpr const char* kText = "Memory allocation failed";
};

TEST_F(ServicesWithoutMemory, NoBufferForTheEnumerationLeavesNoNames) {
  allocations_left = 2;  // behind the array of one
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetCount(), 0);
  // 48 for the record, 16 for the name's and 44 for the display name's wide characters.
  EXPECT_EQ(trace_.count("Memory allocation failed.  Allocation size: 384 bytes"), 1u);
  EXPECT_EQ(
      trace_.count(std::string("Exception raised during status enumeration.  Exception text: ") +
                   kText),
      1u);
  EXPECT_EQ(trace_.count(std::string("Exception raised during data collection.  Exception text: ") +
                         kText),
            1u);
  EXPECT_EQ(services.Update(), 1);
  EXPECT_EQ(services.GetCount(), 1);
}

TEST_F(ServicesWithoutMemory, NoArrayForTheNamesLeavesNoNames) {
  allocations_left = 3;
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetCount(), 0);
  EXPECT_EQ(trace_.count("Array allocation failed.  Elements: 1"), 1u);
  EXPECT_EQ(
      trace_.count(std::string("Exception raised during array copy.  Exception text: ") + kText),
      1u);
  EXPECT_EQ(services.GetData(nullptr), 1);
  EXPECT_EQ(services.GetRowCount(), 0u);
}

TEST_F(ServicesWithoutMemory, NoRoomForANameLeavesNoNames) {
  allocations_left = 4;
  CService services(SERVICE_WIN32, nullptr);
  EXPECT_EQ(services.GetCount(), 0);
  EXPECT_EQ(
      trace_.count(std::string("Exception raised during array copy.  Exception text: ") + kText),
      1u);
}

TEST_F(ServicesWithoutMemory, NoRowsMakeTheResultAFailure) {
  for (const wchar_t* name : {static_cast<const wchar_t*>(nullptr), L"DNS"}) {
    CService services(SERVICE_WIN32, nullptr);
    allocations_left = 1;
    EXPECT_EQ(services.GetData(name), 0);
    EXPECT_EQ(services.GetRowCount(), 0u);
  }
  EXPECT_EQ(trace_.count("Memory allocation failed.  Allocation size: 24 bytes"), 2u);
  EXPECT_EQ(trace_.count(std::string("Exception raised during data collection.  Exception text: ") +
                         kText),
            2u);
}

TEST_F(ServicesWithoutMemory, ARecordThatMemoryRanOutForHasNoDummy) {
  CService services(SERVICE_WIN32, nullptr);
  const struct {
    int allocation;
    const char* trace;
  } cases[] = {{2, "Memory allocation failed.  Allocation size: 16 bytes"},  // the name
               {3, "Memory allocation failed.  Allocation size: 28 bytes"},
               {4, "Memory allocation failed.  Allocation size: 704 bytes"}};
  for (const auto& one : cases) {
    SCOPED_TRACE(one.trace);
    const trc::Capture trace;
    allocations_left = one.allocation;
    EXPECT_EQ(services.GetData(nullptr), 1);
    ASSERT_EQ(services.GetRowCount(), 1u);
    EXPECT_EQ(services.GetRows()[0].config, nullptr);
    EXPECT_EQ(services.GetRows()[0].status == nullptr, one.allocation < 4);
    EXPECT_EQ(trace.count(one.trace), 1u);
    EXPECT_EQ(trace.count(std::string("Exception raised during row evaluation.  Exception text: ") +
                          kText),
              1u);
    EXPECT_EQ(trace.count(std::string("Exception raised GetRow.  Exception text: ") + kText), 1u);
    EXPECT_FALSE(trace.contains("Adding dummy row"));
  }
}

TEST_F(ServicesWithoutMemory, ADummyThatMemoryRanOutForIsLeftOut) {
  CService services(SERVICE_WIN32, nullptr);
  for (const int allocation : {3, 4}) {
    const trc::Capture trace;
    allocations_left = allocation;
    EXPECT_EQ(services.GetData(L"NoSuch"), 1);
    ASSERT_EQ(services.GetRowCount(), 1u);
    EXPECT_EQ(services.GetRows()[0].status == nullptr, allocation == 3);
    EXPECT_EQ(services.GetRows()[0].config, nullptr);
    EXPECT_EQ(trace.count(allocation == 3 ? "Memory allocation failed.  Allocation size: 28 bytes"
                                          : "Memory allocation failed.  Allocation size: 64 bytes"),
              1u);
  }
}

TEST_F(ServicesWithoutMemory, AConstructorWithoutRoomForTheMachineEndsTheProcess) {
  platform::SimulatedProcess process([] {
    allocations_left = 2;
    const CService services(SERVICE_WIN32, L"DC1");
    std::_Exit(7);  // not reached
  });
  ASSERT_TRUE(process.wait_for_exit(1000));
  EXPECT_EQ(process.exit_code(), static_cast<std::uint32_t>(-1));
  EXPECT_EQ(trace_.count("Memory allocation failed.  Allocation size: 4 bytes"), 1u);
  EXPECT_EQ(trace_.count(std::string("Exception raised during object construction, terminating.  "
                                     "Exception text: ") +
                         kText),
            1u);
}

TEST_F(ServicesWithoutMemory, ATableWithoutRoomForItsRowsHasNoneAndReportsNoTime) {
  xaf::DirectSampler table("DCWNTDSSVC");
  ASSERT_EQ(table.sample().size(), 1u);
  const trc::Capture trace;
  // One for each of: array of one, buffer, array, name; rows, name, status, configuration.
  allocations_left = 9;
  EXPECT_TRUE(table.sample().empty());
  EXPECT_EQ(trace.count("Not enough memory!  (1340 bytes requested.)"), 1u);
  EXPECT_FALSE(trace.contains("TIMER:"));
  EXPECT_FALSE(trace.contains("memset"));
}

TEST_F(ServicesWithoutMemory, ARecordThatMemoryRanOutForIsAnUnknownRow) {
  xaf::DirectSampler table("DCWNTDSSVC");
  allocations_left = 7;  // the status
  const std::vector<std::string> rows = table.sample();
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_NE(rows[0].find("Unknown "), std::string::npos);
  EXPECT_NE(rows[0].find("DNS "), std::string::npos);
}

}  // namespace
