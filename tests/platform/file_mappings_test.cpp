// Named memory: inside a simulated machine, and between processes of this one.

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "include/platform/memory.h"
#include "platform/control.h"
#include "tests/platform/kernel_support.h"

namespace {

HANDLE create(const char* name, DWORD size = 16) {
  return CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, size, name);
}
HANDLE open(const char* name) { return OpenFileMappingA(FILE_MAP_READ, FALSE, name); }
char* view_of(HANDLE memory, DWORD access = FILE_MAP_READ | FILE_MAP_WRITE) {
  return static_cast<char*>(MapViewOfFile(memory, access, 0, 0, 0));
}

// The same holds for the names of a simulated machine and for those of this one.
class Memory : public ::testing::TestWithParam<bool> {
 protected:
  Memory() {
    if (GetParam()) time_.emplace();
  }
  ~Memory() override {
    platform::faults::clear();
    EXPECT_EQ(before_, platform::accounting::live());
  }
  std::map<std::string, std::int64_t> before_ = platform::accounting::live();
  std::optional<platform::VirtualTime> time_;
  const std::string name_ = "Local\\MemoryTest" + std::to_string(getpid());
};
INSTANTIATE_TEST_SUITE_P(OnTheMachine, Memory, ::testing::Values(true, false),
                         [](const auto& one) { return one.param ? "Simulated" : "Real"; });

TEST_P(Memory, IsZeroAndSharedByAllWhoOpenIt) {
  const HANDLE made = create(name_.c_str());
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(GetLastError(), 0u);
  const HANDLE opened = open(name_.c_str());
  ASSERT_NE(opened, nullptr);
  char* const written = view_of(made);
  const char* const read = view_of(opened, FILE_MAP_READ);
  ASSERT_NE(written, nullptr);
  ASSERT_NE(read, nullptr);
  EXPECT_EQ(std::string(read, 16), std::string(16, '\0'));
  written[3] = 'x';
  EXPECT_EQ(read[3], 'x');
  EXPECT_TRUE(UnmapViewOfFile(written));
  EXPECT_TRUE(UnmapViewOfFile(read));
  EXPECT_TRUE(CloseHandle(made));
  EXPECT_TRUE(CloseHandle(opened));
}

TEST_P(Memory, MadeASecondTimeIsTheFirst) {
  const HANDLE first = create(name_.c_str());
  char* const written = view_of(first);
  ASSERT_NE(written, nullptr);
  written[0] = 'a';
  const HANDLE second = create(name_.c_str());
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ALREADY_EXISTS});
  const char* const read = view_of(second, FILE_MAP_READ);
  EXPECT_EQ(read[0], 'a');
  UnmapViewOfFile(written);
  UnmapViewOfFile(read);
  CloseHandle(first);
  CloseHandle(second);
}

TEST_P(Memory, GoesWithItsLastHandle) {
  CloseHandle(create(name_.c_str()));
  EXPECT_EQ(open(name_.c_str()), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
}

TEST_P(Memory, ThatIsMappedOutlivesItsHandle) {
  const HANDLE made = create(name_.c_str());
  char* const view = view_of(made);
  ASSERT_NE(view, nullptr);
  CloseHandle(made);
  view[15] = 'z';
  EXPECT_EQ(view[15], 'z');
  EXPECT_TRUE(UnmapViewOfFile(view));
}

TEST_P(Memory, RefusesWhatItCannotDo) {
  EXPECT_EQ(CreateFileMappingA(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 0, nullptr),
            nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_PARAMETER});
  EXPECT_EQ(CreateFileMappingA(nullptr, nullptr, PAGE_READWRITE, 0, 16, nullptr), nullptr);
  EXPECT_EQ(OpenFileMappingA(FILE_MAP_READ, FALSE, nullptr), nullptr);
  EXPECT_EQ(MapViewOfFile(nullptr, FILE_MAP_READ, 0, 0, 0), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_INVALID_HANDLE});
  const HANDLE made = create(nullptr);
  ASSERT_NE(made, nullptr);
  EXPECT_EQ(MapViewOfFile(made, FILE_MAP_READ, 0, 0, 17), nullptr) << "more than there is";
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  CloseHandle(made);
  EXPECT_FALSE(UnmapViewOfFile(&made));
}

TEST_P(Memory, EachCallFailsOnPurpose) {
  for (const char* call : {"CreateFileMappingA", "OpenFileMappingA", "MapViewOfFile"}) {
    platform::faults::fail(call, 1);
    const HANDLE made = create(name_.c_str());
    const HANDLE opened = made == nullptr ? nullptr : open(name_.c_str());
    void* const view = opened == nullptr ? nullptr : view_of(opened, FILE_MAP_READ);
    EXPECT_EQ(view, nullptr) << call;
    EXPECT_TRUE(platform::faults::struck()) << call;
    platform::faults::clear();
    if (opened != nullptr) CloseHandle(opened);
    if (made != nullptr) CloseHandle(made);
  }
  const HANDLE made = create(nullptr);
  void* const view = view_of(made);
  platform::faults::fail("UnmapViewOfFile", 1);
  EXPECT_FALSE(UnmapViewOfFile(view));
  platform::faults::clear();
  CloseHandle(made);
}

TEST(MemoryOfTheMachine, IsNotSeenBySimulatedOnes) {
  const std::string name = "Local\\MemoryTest" + std::to_string(getpid());
  const HANDLE real = create(name.c_str());
  ASSERT_NE(real, nullptr);
  {
    const platform::VirtualTime time;
    EXPECT_EQ(open(name.c_str()), nullptr);
  }
  CloseHandle(real);
}

TEST(MemoryOfTheMachine, GoesWithAProcessThatIsKilled) {
  const std::string name = "Local\\KilledMemoryTest" + std::to_string(getpid());
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    char* const view = view_of(create(name.c_str()));
    view[0] = 'c';
    const char done = 1;
    if (::write(ready[1], &done, 1) == 1) ::pause();
    ::_exit(1);
  }
  char done = 0;
  ASSERT_EQ(::read(ready[0], &done, 1), 1);
  {
    const HANDLE opened = open(name.c_str());
    ASSERT_NE(opened, nullptr);
    const char* const view = view_of(opened, FILE_MAP_READ);
    EXPECT_EQ(view[0], 'c');
    UnmapViewOfFile(view);
    CloseHandle(opened);
  }
  ::kill(child, SIGKILL);
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  // The system keeps what the process left, and nobody finds it.
  EXPECT_EQ(open(name.c_str()), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_NOT_FOUND});
  const HANDLE again = create(name.c_str());
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(GetLastError(), 0u);
  const char* const view = view_of(again, FILE_MAP_READ);
  EXPECT_EQ(view[0], '\0') << "nothing of the old memory is left";
  UnmapViewOfFile(view);
  CloseHandle(again);
  ::close(ready[0]);
  ::close(ready[1]);
}

// As another user does it, in a process of its own; true when it found what it should.
bool as_another_user(const std::function<bool()>& body) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(::setresuid(65534, 65534, 65534) == 0 && body() ? 0 : 1);
  int status = -1;
  return ::waitpid(child, &status, 0) == child && status == 0;
}

TEST(MemoryOfTheMachine, OfAnotherUserIsOnlyTheAdministratorsToRead) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be two users";
  const std::string name = "Global\\OtherMemoryTest" + std::to_string(getpid());
  const HANDLE ours = create(name.c_str());
  ASSERT_NE(ours, nullptr);
  EXPECT_TRUE(as_another_user([&] {
    return open(name.c_str()) == nullptr && GetLastError() == ERROR_ACCESS_DENIED &&
           create(name.c_str()) == nullptr && GetLastError() == ERROR_ACCESS_DENIED;
  }));
  CloseHandle(ours);
}

TEST(MemoryOfTheMachine, OfAnotherUserIsReadButNotSharedByRoot) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can be two users";
  const std::string name = "Global\\ReadMemoryTest" + std::to_string(getpid());
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t child = ::fork();
  if (child == 0) {
    const bool made = ::setresuid(65534, 65534, 65534) == 0 && create(name.c_str()) != nullptr;
    const char byte = made ? 'y' : 'n';
    if (::write(ready[1], &byte, 1) == 1) ::pause();
    ::_exit(1);
  }
  char made = 0;
  EXPECT_EQ(::read(ready[0], &made, 1), 1);
  EXPECT_EQ(made, 'y');
  const HANDLE theirs = open(name.c_str());
  EXPECT_NE(theirs, nullptr);
  if (theirs != nullptr) CloseHandle(theirs);
  EXPECT_EQ(create(name.c_str()), nullptr);
  EXPECT_EQ(GetLastError(), DWORD{ERROR_ACCESS_DENIED});
  ::kill(child, SIGKILL);
  EXPECT_EQ(::waitpid(child, nullptr, 0), child);
  EXPECT_EQ(open(name.c_str()), nullptr);
  ::close(ready[0]);
  ::close(ready[1]);
}

}  // namespace
