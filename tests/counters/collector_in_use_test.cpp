#include "counters/collector_in_use.h"

#include "machine.h"

namespace {

class CollectorInUseTest : public CountersTest {
 protected:
  CollectorInUseTest() {
    install(series_of(g_ESEList, 1));
    set_version(10, 0);
  }
};

TEST_F(CollectorInUseTest, OutlivesItsDestructionUntilItsUseEnds) {
  const auto before = live();
  g_ESE = new ADPDH(kDatabaseCollector);
  {
    const CollectorInUse use(g_ESE);
    deleteGlobals();
    EXPECT_EQ(nullptr, g_ESE.load());
    EXPECT_NE(before, live());
    ASSERT_NE(nullptr, use.get());
    EXPECT_EQ(1, use.get()->CollectData());
    EXPECT_EQ(1, use.get()->GetValues()[0]);
  }
  EXPECT_EQ(before, live());
}

TEST_F(CollectorInUseTest, IsDestroyedByTheLastOfItsUses) {
  const auto before = live();
  g_ESE = new ADPDH(kDatabaseCollector);
  {
    const CollectorInUse first(g_ESE);
    {
      const CollectorInUse second(g_ESE);
      deleteGlobals();
    }
    EXPECT_EQ(1, first.get()->CollectData());
  }
  EXPECT_EQ(before, live());
}

TEST_F(CollectorInUseTest, StaysWhenNobodyDestroysIt) {
  g_ESE = new ADPDH(kDatabaseCollector);
  ADPDH* const collector = g_ESE;
  { const CollectorInUse use(g_ESE); }
  const CollectorInUse again(g_ESE);
  EXPECT_EQ(collector, again.get());
  EXPECT_EQ(1, again.get()->IsPresent());
}

TEST_F(CollectorInUseTest, IsNoneWhereThereIsNone) {
  const CollectorInUse use(g_ESE);
  EXPECT_EQ(nullptr, use.get());
  destroy_when_unused(nullptr);
}

// A stop does not wait for a collection, which takes half a second.
TEST_F(CollectorInUseTest, DoesNotHoldUpTheStop) {
  g_ESE = new ADPDH(kDatabaseCollector);
  std::int32_t collected = 0;
  const auto thread = _beginthreadex(
      nullptr, 0,
      [](void* result) -> unsigned {
        const CollectorInUse use(g_ESE);
        *static_cast<std::int32_t*>(result) = use.get()->CollectData();
        return 0;
      },
      &collected, 0, nullptr);
  Sleep(100);
  const auto before = time.elapsed_ms();
  deleteGlobals();
  EXPECT_EQ(before, time.elapsed_ms());
  EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(reinterpret_cast<HANDLE>(thread), 60000));
  CloseHandle(reinterpret_cast<HANDLE>(thread));
  EXPECT_EQ(1, collected);
}

}  // namespace
