// What include/platform declares for other systems, held against the SDK: each number and each
// interface identifier.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "include/platform/adsi.h"
#include "include/platform/automation.h"
#include "include/platform/base.h"
#include "include/platform/counters.h"
#include "include/platform/directory_services.h"
#include "include/platform/dns.h"
#include "include/platform/environment.h"
#include "include/platform/files.h"
#include "include/platform/libraries.h"
#include "include/platform/memory.h"
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
  std::uint64_t sdk;
  std::uint64_t ours;
};

struct InterfaceId {
  const char* name;
  IID sdk;
  IID ours;
};

// Codes are 32 bits, signed in one place and unsigned in another; handles keep all of theirs.
template <typename Value>
std::uint64_t bits(Value value) {
  if constexpr (std::is_pointer_v<Value>) {
    return reinterpret_cast<std::uintptr_t>(value);
  } else {
    return static_cast<std::uint32_t>(value);
  }
}

#define CONSTANT(header, name, sdk, ours) \
  constants.push_back({header, name, bits(sdk), bits(ours)});
#define INTERFACE_ID(name, sdk, ours) ids.push_back({name, sdk, ours});

struct Declared {
  Declared(){
#include "platform_constants.inc"
  } std::vector<Constant> constants;
  std::vector<InterfaceId> ids;
};

TEST(PlatformConstants, EachEqualsTheSdks) {
  const Declared declared;
  EXPECT_GT(declared.constants.size(), 280u);
  for (const Constant& constant : declared.constants) {
    EXPECT_EQ(constant.ours, constant.sdk) << constant.name << " in " << constant.header;
  }
}

TEST(PlatformConstants, EachInterfaceIdentifierEqualsTheSdks) {
  const Declared declared;
  EXPECT_GE(declared.ids.size(), 7u);
  for (const InterfaceId& id : declared.ids) {
    EXPECT_EQ(std::memcmp(&id.ours, &id.sdk, sizeof(IID)), 0) << id.name;
  }
}

}  // namespace
