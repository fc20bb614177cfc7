// Files on other machines: their paths, the shares of a recording, and the file calls over them.

#include "platform/shares/recorded_shares.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

#include "include/platform/files.h"
#include "platform/control.h"
#include "platform/live/live_shares.h"
#include "platform/shares/share_path.h"
#include "tests/support/small_recording.h"

namespace {

using platform::parse_share_path;

TEST(SharePath, BeginsWithTwoSlashesOfEitherKind) {
  const auto path = parse_share_path("\\\\dc1\\SYSVOL\\corp.example\\\\a.txt");
  ASSERT_TRUE(path.has_value());
  EXPECT_EQ("dc1", path->server);
  EXPECT_EQ("SYSVOL", path->share);
  EXPECT_EQ("corp.example/a.txt", path->path);
  EXPECT_TRUE(parse_share_path("//dc1/x").has_value());
}

TEST(SharePath, OfThisMachineIsNone) {
  for (const char* path : {"", "\\", "\\\\", "C:\\a", "/tmp/x", "\\tmp", "///x", "\\\\\\x"}) {
    EXPECT_FALSE(parse_share_path(path).has_value()) << path;
  }
}

TEST(SharePath, WithoutAShareOrAPathHasThemEmpty) {
  EXPECT_EQ("", parse_share_path("\\\\dc1")->share);
  EXPECT_EQ("", parse_share_path("\\\\dc1\\x\\")->path);
}

TEST(SmbUrl, EscapesWhatHasAMeaningInAddresses) {
  EXPECT_EQ("smb://corp.example/sysvol/Policies/%7BA%7D/GPT%20%251.INI",
            platform::live::smb_url({"corp.example", "sysvol", "Policies/{A}/GPT %1.INI"}));
}

class SharedFiles : public ::testing::Test {
 protected:
  SharedFiles()
      : recording_(testing_support::kSmallForest, "",
                   {{"shares/DC2/SYSVOL/corp.example/a.txt", "hello"}}) {
    std::filesystem::create_directories(recording_.folder() + "/shares/DC2/Empty");
    platform::install(platform::open_recording(recording_.folder()));
  }
  ~SharedFiles() override { platform::faults::clear(); }

  static DWORD open_error(const std::string& path, DWORD access = GENERIC_READ,
                          DWORD disposition = OPEN_EXISTING) {
    const HANDLE file = CreateFileA(path.c_str(), access, FILE_SHARE_READ, nullptr, disposition,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return GetLastError();
    CloseHandle(file);
    return 0;
  }
  static std::string content(const std::string& path) {
    const HANDLE file = CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return "error " + std::to_string(GetLastError());
    std::string text;
    char block[3];
    DWORD count = 0;
    while (ReadFile(file, block, sizeof block, &count, nullptr) && count != 0) {
      text.append(block, count);
    }
    CloseHandle(file);
    return text;
  }
  testing_support::SmallRecording recording_;
};

TEST_F(SharedFiles, AreReadUnderAnySpellingOfTheServer) {
  EXPECT_EQ("hello", content("\\\\DC2\\SYSVOL\\corp.example\\a.txt"));
  EXPECT_EQ("hello", content("\\\\dc2.corp.example\\sysvol\\CORP.example\\A.TXT"));
}

TEST_F(SharedFiles, TellWhatIsMissingOnTheWay) {
  EXPECT_EQ(DWORD{ERROR_BAD_NETPATH}, open_error("\\\\dc9\\SYSVOL\\a"));
  EXPECT_EQ(DWORD{ERROR_BAD_NET_NAME}, open_error("\\\\dc2\\other\\a"));
  EXPECT_EQ(DWORD{ERROR_PATH_NOT_FOUND}, open_error("\\\\dc2\\SYSVOL\\nowhere\\a"));
  EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, open_error("\\\\dc2\\SYSVOL\\corp.example\\b"));
  EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, open_error("\\\\dc2\\SYSVOL\\corp.example"));
  EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, open_error("\\\\dc2\\Empty\\a"));
}

TEST_F(SharedFiles, AreWrittenAndDeletedInTheProcessAlone) {
  const std::string path = "\\\\DC2\\SYSVOL\\corp.example\\new.txt";
  const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr,
                                  OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, file);
  EXPECT_EQ(DWORD{ERROR_SUCCESS}, GetLastError());
  DWORD written = 0;
  EXPECT_TRUE(WriteFile(file, "stamp", 5, &written, nullptr));
  EXPECT_EQ(5u, written);
  CloseHandle(file);
  EXPECT_EQ("stamp", content(path));
  EXPECT_EQ(0, _access(path.c_str(), 0));
  EXPECT_FALSE(
      std::filesystem::exists(recording_.folder() + "/shares/DC2/SYSVOL/corp.example/new.txt"));
  EXPECT_TRUE(DeleteFileA(path.c_str()));
  EXPECT_FALSE(DeleteFileA(path.c_str()));
  EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, GetLastError());
  EXPECT_EQ(-1, _access(path.c_str(), 0));
  EXPECT_EQ(ENOENT, errno);
}

TEST_F(SharedFiles, ThatExistAreToldByTheLastError) {
  const std::string path = "\\\\DC2\\SYSVOL\\corp.example\\a.txt";
  EXPECT_EQ(DWORD{ERROR_FILE_EXISTS}, open_error(path, GENERIC_WRITE, CREATE_NEW));
  const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_WRITE, nullptr,
                                  CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  ASSERT_NE(INVALID_HANDLE_VALUE, file);
  EXPECT_EQ(DWORD{ERROR_ALREADY_EXISTS}, GetLastError());
  char byte = 0;
  DWORD count = 0;
  EXPECT_FALSE(ReadFile(file, &byte, 1, &count, nullptr));
  EXPECT_EQ(DWORD{ERROR_ACCESS_DENIED}, GetLastError());
  CloseHandle(file);
  EXPECT_EQ("", content(path));
}

TEST_F(SharedFiles, HaveAttributes) {
  EXPECT_EQ(DWORD{FILE_ATTRIBUTE_DIRECTORY}, GetFileAttributesA("\\\\DC2\\SYSVOL\\corp.example"));
  EXPECT_EQ(DWORD{FILE_ATTRIBUTE_ARCHIVE},
            GetFileAttributesA("\\\\DC2\\SYSVOL\\corp.example\\a.txt"));
  EXPECT_EQ(INVALID_FILE_ATTRIBUTES, GetFileAttributesA("\\\\DC3\\SYSVOL"));
  EXPECT_EQ(DWORD{ERROR_BAD_NETPATH}, GetLastError());
}

TEST(SharedFilesOfAMachineWithoutShares, AreOutOfReach) {
  const testing_support::SmallRecording recording;
  EXPECT_EQ(INVALID_HANDLE_VALUE, CreateFileA("\\\\dc1\\SYSVOL\\a", GENERIC_READ, 0, nullptr,
                                              OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  EXPECT_EQ(DWORD{ERROR_BAD_NETPATH}, GetLastError());
  EXPECT_FALSE(DeleteFileA("\\\\dc1\\SYSVOL\\a"));
  EXPECT_EQ(DWORD{ERROR_BAD_NETPATH}, GetLastError());
}

}  // namespace
