// The SMB library as it is installed.

#include "platform/live/smb_library.h"

#include <gtest/gtest.h>

namespace {

TEST(SmbLibrary, HasEveryFunctionThatSharesCall) {
  const platform::live::SmbLibrary* library = platform::live::SmbLibrary::load();
  ASSERT_NE(nullptr, library);
#define DCW_EXPECT_FOUND(member, function) EXPECT_NE(nullptr, library->member) << #function;
  DCW_FOR_EACH_SMB_FUNCTION(DCW_EXPECT_FOUND)
#undef DCW_EXPECT_FOUND
}

TEST(SmbLibrary, IsLoadedOnce) {
  EXPECT_EQ(platform::live::SmbLibrary::load(), platform::live::SmbLibrary::load());
}

}  // namespace
