// The constants that include/platform declares for other systems, held against the SDK's.

#include <gtest/gtest.h>

#include <cstdint>

#include "include/platform/adsi.h"
#include "include/platform/base.h"
#include "include/platform/counters.h"
#include "include/platform/environment.h"
#include "include/platform/files.h"
#include "include/platform/messages.h"
#include "include/platform/registry.h"
#include "include/platform/service_manager.h"
#include "include/platform/signals.h"
#include "include/platform/sockets.h"
#include "include/platform/streams.h"
#include "include/platform/system.h"
#include "include/platform/text.h"
#include "include/platform/threads.h"
#include "include/platform/time.h"

namespace {

struct Constant {
  const char* header;
  const char* name;
  std::uint32_t sdk;
  std::uint32_t ours;
};

const Constant kConstants[] = {
#include "platform_constants.inc"
};

TEST(PlatformConstants, EachEqualsTheSdks) {
  EXPECT_GT(std::size(kConstants), 150u);
  for (const Constant& constant : kConstants) {
    EXPECT_EQ(constant.ours, constant.sdk) << constant.name << " in " << constant.header;
  }
}

}  // namespace
