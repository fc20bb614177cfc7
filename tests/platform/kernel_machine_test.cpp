// The machine: its version and names, message texts, environment, files, commands, text.

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

#include "kernel_support.h"
#include "platform/environment.h"
#include "platform/files.h"
#include "platform/messages.h"
#include "platform/service_manager.h"
#include "platform/sockets.h"
#include "platform/system.h"
#include "platform/text.h"

namespace {

class KernelMachine : public testing::Test {
 protected:
  KernelMachine() {
    auto controller = std::make_shared<kernel_test::BareController>();
    controller->facts.host_name = "dc1";
    controller->facts.dns_suffix = "corp.example";
    controller->facts.os_major = 6;
    controller->facts.os_minor = 1;
    controller->facts.os_build = 7601;
    controller->facts.language = 1031;
    platform::install(controller);
  }
  ~KernelMachine() override { platform::install(nullptr); }
};

TEST_F(KernelMachine, TheVersionIsTheControllers) {
  EXPECT_EQ(GetVersion(), 0x1DB10106u);
  OSVERSIONINFOA version{};
  version.dwOSVersionInfoSize = 148;
  EXPECT_TRUE(GetVersionExA(&version));
  EXPECT_EQ(version.dwMajorVersion, 6u);
  EXPECT_EQ(version.dwMinorVersion, 1u);
  EXPECT_EQ(version.dwBuildNumber, 7601u);
  EXPECT_EQ(version.dwPlatformId, 2u);
  version.dwOSVersionInfoSize = 147;
  EXPECT_FALSE(GetVersionExA(&version));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(GetSystemDefaultLangID(), 1031);
}

TEST_F(KernelMachine, NamesFitTheirBuffersOrSaySo) {
  char name[64] = "";
  EXPECT_EQ(gethostname(name, 64), 0);
  EXPECT_STREQ(name, "dc1");
  EXPECT_EQ(gethostname(name, 4), 0);
  EXPECT_EQ(gethostname(name, 3), SOCKET_ERROR);
  EXPECT_EQ(WSAGetLastError(), WSAEFAULT);
  DWORD size = 64;
  EXPECT_TRUE(GetComputerNameA(name, &size));
  EXPECT_STREQ(name, "DC1");
  EXPECT_EQ(size, 3u);
  EXPECT_FALSE(GetComputerNameA(name, &size));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BUFFER_OVERFLOW));
  EXPECT_EQ(size, 4u);
  size = 64;
  EXPECT_TRUE(GetComputerNameExA(ComputerNameDnsFullyQualified, name, &size));
  EXPECT_STREQ(name, "dc1.corp.example");
}

TEST(KernelMessageTexts, AreAllocatedAndFreed) {
  const auto before = platform::accounting::live();
  char* text = nullptr;
  const DWORD length = FormatMessageA(0x900, GetModuleHandleA("PDH.DLL"), 0xC0000BB8, 1024,
                                      reinterpret_cast<char*>(&text), 0, nullptr);
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(length, std::strlen(text));
  EXPECT_STREQ(text, "The specified object was not found on the computer.\r\n");
  EXPECT_EQ(LocalFree(text), nullptr);
  EXPECT_EQ(platform::accounting::live(), before);
  EXPECT_EQ(FormatMessageA(0x900, GetModuleHandleA("PDH.DLL"), 12345, 1024,
                           reinterpret_cast<char*>(&text), 0, nullptr),
            0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MR_MID_NOT_FOUND));
  EXPECT_EQ(text, nullptr);
  char fixed[64];
  EXPECT_EQ(FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM, nullptr, 5, 0, fixed, sizeof fixed, nullptr),
            19u);
  EXPECT_STREQ(fixed, "Access is denied.\r\n");
  EXPECT_EQ(GetModuleHandleA("nothing.dll"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
}

TEST(KernelStrings, AreThoseTheProgramRegistered) {
  platform::register_string_table({{9000, "Running"}, {9001, "Stopped"}});
  char text[16];
  EXPECT_EQ(LoadStringA(nullptr, 9000, text, sizeof text), 7);
  EXPECT_STREQ(text, "Running");
  EXPECT_EQ(LoadStringA(nullptr, 9001, text, 5), 4);
  EXPECT_STREQ(text, "Stop");
  EXPECT_EQ(LoadStringA(nullptr, 9002, text, sizeof text), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_RESOURCE_NAME_NOT_FOUND));
}

TEST(KernelServices, WithoutAManagerTheDispatcherSaysSo) {
  char name[] = "DirWatcher";
  const SERVICE_TABLE_ENTRYA table[] = {{name, [](DWORD, char**) {}}, {nullptr, nullptr}};
  EXPECT_FALSE(StartServiceCtrlDispatcherA(table));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FAILED_SERVICE_CONTROLLER_CONNECT));
  EXPECT_FALSE(StartServiceCtrlDispatcherA(nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_DATA));
  EXPECT_EQ(RegisterServiceCtrlHandlerA("DirWatcher", nullptr), nullptr);
  EXPECT_FALSE(SetServiceStatus(nullptr, nullptr));
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_HANDLE));
}

TEST(KernelEnvironment, SetsReplacesAndRemoves) {
  EXPECT_EQ(_putenv("DW_TEST_ONE=1"), 0);
  const char* first = std::getenv("DW_TEST_ONE");
  ASSERT_NE(first, nullptr);
  EXPECT_STREQ(first, "1");
  EXPECT_EQ(_putenv("DW_TEST_ONE=1"), 0);
  EXPECT_EQ(std::getenv("DW_TEST_ONE"), first) << "an equal value writes nothing";
  EXPECT_EQ(_putenv("DW_TEST_ONE=two=2"), 0);
  EXPECT_STREQ(std::getenv("DW_TEST_ONE"), "two=2");
  EXPECT_STREQ(first, "1") << "what a reader holds stays as it was";
  EXPECT_EQ(_putenv("DW_TEST_ONE="), 0);
  EXPECT_EQ(std::getenv("DW_TEST_ONE"), nullptr);
  EXPECT_EQ(_putenv("no equals sign"), -1);
  EXPECT_EQ(_putenv("=value"), -1);
  for (int index = 0; index < 200; ++index) {
    ASSERT_EQ(_putenv(("DW_MANY_" + std::to_string(index) + "=x").c_str()), 0);
  }
  EXPECT_STREQ(std::getenv("DW_MANY_0"), "x");
  EXPECT_STREQ(std::getenv("DW_MANY_199"), "x");
}

TEST(KernelEnvironment, ReadingBesideWritingIsSafe) {
  kernel_test::TestThread writer([] {
    for (int turn = 0; turn < 2000; ++turn) {
      _putenv(("DW_RACE=" + std::to_string(turn)).c_str());
    }
    return 0u;
  });
  for (int turn = 0; turn < 2000; ++turn) {
    const char* value = std::getenv("DW_RACE");
    if (value != nullptr) {
      ASSERT_GE(std::atoi(value), 0);
    }
  }
  EXPECT_EQ(WaitForSingleObject(writer.handle(), INFINITE), WAIT_OBJECT_0);
}

TEST(KernelEnvironment, ExpandsWhatIsSetAndKeepsWhatIsNot) {
  ASSERT_EQ(_putenv("DW_HOME=/opt/dw"), 0);
  char text[64];
  EXPECT_EQ(ExpandEnvironmentStringsA("%DW_HOME%/logs", text, sizeof text), 13u);
  EXPECT_STREQ(text, "/opt/dw/logs");
  EXPECT_EQ(ExpandEnvironmentStringsA("%DW_UNSET%/%dw_home%", text, sizeof text), 19u);
  EXPECT_STREQ(text, "%DW_UNSET%//opt/dw");
  EXPECT_EQ(ExpandEnvironmentStringsA("100% of %DW_HOME%", text, sizeof text), 16u);
  EXPECT_STREQ(text, "100% of /opt/dw");
  EXPECT_EQ(ExpandEnvironmentStringsA("%DW_HOME%", text, 3), 8u) << "the size it needs";
}

TEST(KernelFiles, AreWrittenReadAndDeletedWithTheErrorsOfWindows) {
  const auto folder = std::filesystem::temp_directory_path() /
                      ("dw-kernel-" + std::to_string(GetCurrentProcessId()));
  std::filesystem::create_directory(folder);
  const std::string path = folder.string() + "\\one.txt";
  EXPECT_EQ(CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(CreateFileA((folder.string() + "\\no\\one.txt").c_str(), GENERIC_READ, 0, nullptr,
                        OPEN_EXISTING, 0, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  DWORD count = 0;
  EXPECT_TRUE(WriteFile(file, "hello", 5, &count, nullptr));
  EXPECT_EQ(count, 5u);
  EXPECT_TRUE(CloseHandle(file));
  EXPECT_EQ(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr),
            INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_EXISTS));
  file = CreateFileA(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  char text[16] = "";
  EXPECT_TRUE(ReadFile(file, text, sizeof text, &count, nullptr));
  EXPECT_EQ(count, 5u);
  EXPECT_STREQ(text, "hello");
  CloseHandle(file);
  EXPECT_EQ(_access(path.c_str(), 0), 0);
  EXPECT_EQ(GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_DIRECTORY, 0u);
  EXPECT_EQ(GetFileAttributesA(folder.c_str()) & FILE_ATTRIBUTE_DIRECTORY,
            FILE_ATTRIBUTE_DIRECTORY);
  EXPECT_TRUE(DeleteFileA(path.c_str()));
  EXPECT_FALSE(DeleteFileA(path.c_str()));
  EXPECT_EQ(_access(path.c_str(), 0), -1);
  EXPECT_EQ(GetFileAttributesA(path.c_str()), INVALID_FILE_ATTRIBUTES);
  std::filesystem::remove_all(folder);
}

TEST(KernelCommands, GiveTheirOutputAndTheirCode) {
  FILE* pipe = _popen("echo one; exit 3", "rt");
  ASSERT_NE(pipe, nullptr);
  char line[16] = "";
  EXPECT_NE(std::fgets(line, sizeof line, pipe), nullptr);
  EXPECT_STREQ(line, "one\n");
  EXPECT_EQ(_pclose(pipe), 3);
  EXPECT_EQ(_popen("true", "x"), nullptr);
}

TEST(KernelText, GoesBothWaysWithTheSizesOfWindows) {
  const char* narrow = "Z\xC3\xBCrich \xF0\x9F\x98\x80";
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, narrow, -1, nullptr, 0), 9);
  wchar_t wide[16];
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, narrow, -1, wide, 16), 9);
  EXPECT_STREQ(wide, L"Z\u00FCrich \U0001F600");
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, wide, -1, nullptr, 0, nullptr, nullptr), 13);
  char back[16];
  EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, wide, -1, back, 16, nullptr, nullptr), 13);
  EXPECT_STREQ(back, narrow);
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", 2, wide, 16), 2) << "no zero end is added";
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", -1, wide, 3), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER));
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "abc", 0, wide, 3), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_INVALID_PARAMETER));
}

TEST(KernelText, BrokenSequencesAreReplacedOrRefused) {
  wchar_t wide[8] = {};
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, 0, "a\xC3(", -1, wide, 8), 4);
  EXPECT_STREQ(wide, L"a\uFFFD(");
  EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "a\xC3(", -1, wide, 8), 0);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_NO_UNICODE_TRANSLATION));
  for (const char* broken : {"\xC0\x80", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xFF", "\xE2\x82"}) {
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, broken, -1, nullptr, 0), 0);
  }
  const wchar_t pair[] = {static_cast<wchar_t>(0xD83D), static_cast<wchar_t>(0xDE00), 0};
  char narrow[8];
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, pair, -1, narrow, 8, nullptr, nullptr), 5);
  EXPECT_STREQ(narrow, "\xF0\x9F\x98\x80");
  const wchar_t alone[] = {static_cast<wchar_t>(0xD83D), 0};
  EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, alone, -1, narrow, 8, nullptr, nullptr), 4);
  EXPECT_STREQ(narrow, "\xEF\xBF\xBD");
}

TEST(KernelText, ComparisonsIgnoreLetterCase) {
  EXPECT_EQ(_stricmp("False", "FALSE"), 0);
  EXPECT_LT(_stricmp("abc", "abd"), 0);
  EXPECT_EQ(_strnicmp("TESTing", "test", 4), 0);
  EXPECT_EQ(lstrcmpiA("Test", "tEST"), 0);
  EXPECT_NE(lstrcmpA("Test", "tEST"), 0);
  EXPECT_LT(lstrcmpiA("ab", "abc"), 0);
  EXPECT_EQ(lstrcmpiA(nullptr, nullptr), 0);
}

TEST(KernelText, NumbersAreWrittenInTheirRadix) {
  char text[40];
  EXPECT_STREQ(_itoa(-5, text, 10), "-5");
  EXPECT_STREQ(_itoa(-1, text, 16), "ffffffff");
  EXPECT_STREQ(_itoa(INT32_MIN, text, 10), "-2147483648");
  EXPECT_STREQ(_ltoa(255, text, 16), "ff");
  EXPECT_STREQ(_ultoa(4294967295ul, text, 10), "4294967295");
  EXPECT_STREQ(_ultoa(5, text, 2), "101");
}

}  // namespace
