#include "services_machine.h"
#include "tables/ckutil.h"

namespace {

using testing_support::service;
using testing_support::ServicesTest;

class ServiceRunning : public ServicesTest {
 protected:
  ServiceRunning() {
    std::vector<std::string> all;
    for (int state = 1; state <= 7; ++state) {
      all.push_back(service("'Name':'S" + std::to_string(state) +
                            "','StartMode':2,'State':" + std::to_string(state)));
    }
    all.push_back(service("'Name':'Denied','StartMode':2,'State':4,'StateError':5"));
    install(all);
  }
};

TEST_F(ServiceRunning, IsSaidOfARunningOne) {
  EXPECT_TRUE(CKUtil::IsServiceRunning("S4"));
  EXPECT_EQ(trace_.count("Service Name: S4"), 1u);
  EXPECT_EQ(trace_.count("Service is running"), 1u);
}

TEST_F(ServiceRunning, IsNotSaidOfAStoppedOrAPausedOne) {
  EXPECT_FALSE(CKUtil::IsServiceRunning("S1"));
  EXPECT_FALSE(CKUtil::IsServiceRunning("S7"));
  EXPECT_EQ(trace_.count("Service is running"), 0u);
}

TEST_F(ServiceRunning, IsNotSaidOfOneOnItsWay) {
  for (const char* name : {"S2", "S3", "S5", "S6"}) {
    EXPECT_FALSE(CKUtil::IsServiceRunning(name)) << name;
  }
}

TEST_F(ServiceRunning, IsNotSaidOfAnUnknownOne) {
  EXPECT_FALSE(CKUtil::IsServiceRunning("NoSuch"));
  EXPECT_EQ(trace_.count("OpenService failed: (1060)"), 1u);
}

TEST_F(ServiceRunning, IsNotSaidWhenTheManagerDoesNotAnswer) {
  install_none();
  EXPECT_FALSE(CKUtil::IsServiceRunning("S4"));
  EXPECT_EQ(trace_.count("OpenSCManager failed: (1722)"), 1u);
}

TEST_F(ServiceRunning, IsNotSaidWhenTheStatusCannotBeRead) {
  EXPECT_FALSE(CKUtil::IsServiceRunning("Denied"));
  EXPECT_EQ(trace_.count("QueryServiceStatusEx failed: (5)"), 1u);
}

TEST_F(ServiceRunning, GivesBackItsHandlesWhateverFails) {
  const auto before = platform::accounting::live();
  for (const char* call : {"none", "OpenSCManagerA", "OpenServiceA", "QueryServiceStatusEx"}) {
    platform::faults::fail(call, 1);
    EXPECT_EQ(CKUtil::IsServiceRunning("S4"), std::string("none") == call);
    platform::faults::clear();
    EXPECT_EQ(before, platform::accounting::live()) << call;
  }
}

}  // namespace
