// Libraries of the system, and the look-up functions in one of them.

#include <gtest/gtest.h>

#include "kernel_support.h"
#include "platform/libraries.h"
#include "platform/sockets.h"

namespace {

class KernelLibraries : public testing::Test {
 protected:
  KernelLibraries() {
    auto controller = std::make_shared<kernel_test::BareController>();
    controller->facts.host_name = "dc1";
    controller->facts.dns_suffix = "corp.example";
    platform::install(controller);
  }
  ~KernelLibraries() override {
    platform::faults::clear();
    platform::install(nullptr);
  }
};

TEST_F(KernelLibraries, AreFoundByNameAndByPathInAnyCase) {
  for (const char* path : {"ws2_32", "WS2_32.DLL", "C:\\Windows\\system32\\ws2_32"}) {
    const HMODULE library = LoadLibraryA(path);
    ASSERT_NE(nullptr, library) << path;
    EXPECT_NE(nullptr, GetProcAddress(library, "getaddrinfo"));
    EXPECT_TRUE(FreeLibrary(library));
  }
}

TEST_F(KernelLibraries, ThatAreNotThereSaySo) {
  EXPECT_EQ(nullptr, LoadLibraryA("wship6"));
  EXPECT_EQ(DWORD{ERROR_MOD_NOT_FOUND}, GetLastError());
  EXPECT_EQ(nullptr, LoadLibraryA(nullptr));
  EXPECT_EQ(DWORD{ERROR_INVALID_PARAMETER}, GetLastError());
  EXPECT_EQ(nullptr, LoadLibraryA(""));
}

TEST_F(KernelLibraries, HaveNoFunctionOfAnotherNameOrCase) {
  const HMODULE library = LoadLibraryA("ws2_32");
  EXPECT_EQ(nullptr, GetProcAddress(library, "GetAddrInfo"));
  EXPECT_EQ(DWORD{ERROR_PROC_NOT_FOUND}, GetLastError());
  FreeLibrary(library);
}

TEST_F(KernelLibraries, AreCountedAndGivenBackAsOftenAsLoaded) {
  const auto before = platform::accounting::live();
  const HMODULE library = LoadLibraryA("ws2_32");
  EXPECT_EQ(library, LoadLibraryA("ws2_32"));
  EXPECT_EQ(2, platform::accounting::live()["library"]);
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_NE(nullptr, GetProcAddress(library, "freeaddrinfo"));
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_FALSE(FreeLibrary(library));
  EXPECT_EQ(DWORD{ERROR_INVALID_HANDLE}, GetLastError());
  EXPECT_EQ(nullptr, GetProcAddress(library, "freeaddrinfo"));
  EXPECT_EQ(before, platform::accounting::live());
}

TEST_F(KernelLibraries, StandInTheSystemsDirectory) {
  char path[64];
  EXPECT_EQ(19u, GetSystemDirectoryA(path, 64));
  EXPECT_STREQ("C:\\Windows\\system32", path);
  EXPECT_EQ(20u, GetSystemDirectoryA(path, 19));
  EXPECT_EQ(20u, GetSystemDirectoryA(nullptr, 0));
}

TEST_F(KernelLibraries, FailOnPurpose) {
  char path[64];
  platform::faults::fail("GetSystemDirectoryA", 1);
  EXPECT_EQ(0u, GetSystemDirectoryA(path, 64));
  platform::faults::fail("LoadLibraryA", 1);
  EXPECT_EQ(nullptr, LoadLibraryA("ws2_32"));
  const HMODULE library = LoadLibraryA("ws2_32");
  platform::faults::fail("GetProcAddress", 1);
  EXPECT_EQ(nullptr, GetProcAddress(library, "getaddrinfo"));
  platform::faults::fail("FreeLibrary", 1);
  EXPECT_FALSE(FreeLibrary(library));
  EXPECT_TRUE(FreeLibrary(library));
}

TEST_F(KernelLibraries, KnowTheMachineAndNoOtherName) {
  const HMODULE library = LoadLibraryA("ws2_32");
  const auto get = reinterpret_cast<LPFN_GETADDRINFO>(
      reinterpret_cast<void*>(GetProcAddress(library, "getaddrinfo")));
  const auto free = reinterpret_cast<LPFN_FREEADDRINFO>(
      reinterpret_cast<void*>(GetProcAddress(library, "freeaddrinfo")));
  ADDRINFOA hints{};
  ADDRINFOA* found = nullptr;
  EXPECT_EQ(WSAHOST_NOT_FOUND, get("elsewhere", nullptr, &hints, &found));
  EXPECT_EQ(WSAHOST_NOT_FOUND, get(nullptr, nullptr, &hints, &found));
  EXPECT_EQ(nullptr, found);
  // Only who asks for the full name gets it.
  ASSERT_EQ(0, get("dc1", nullptr, &hints, &found));
  EXPECT_EQ(nullptr, found->ai_canonname);
  EXPECT_EQ(nullptr, found->ai_next);
  EXPECT_EQ(1, platform::accounting::live()["address list"]);
  free(found);
  hints.ai_flags = AI_CANONNAME;
  ASSERT_EQ(0, get("DC1", nullptr, &hints, &found));
  EXPECT_STREQ("dc1.corp.example", found->ai_canonname);
  free(found);
  free(nullptr);
  EXPECT_EQ(0, platform::accounting::live()["address list"]);
  FreeLibrary(library);
}

}  // namespace
