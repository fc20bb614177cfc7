#pragma once
// A machine with the services that a test writes down, as a recording's services.json read by the
// real reader, under the stage of the sampling tests.

#include <string>
#include <vector>

#include "platform/recorded/recording.h"
#include "tests/collectors/sampling.h"

namespace testing_support {

// The keys and values of one service; quotes are written as '.
inline std::string service(std::string keys) {
  for (char& one : keys) {
    if (one == '\'') one = '"';
  }
  return "{" + keys + "}";
}

inline std::string services_file(const std::vector<std::string>& services) {
  std::string text = "[";
  for (const std::string& one : services) text += (text.size() > 1 ? ",\n" : "") + one;
  return text + "]";
}

inline const std::string kDnsServer = service(
    "'Name':'DNS','DisplayName':'DNS Server','ServiceType':'Own Process','State':'Running',"
    "'StartMode':'Auto','PathName':'C:\\\\Windows\\\\dns.exe -x','StartName':'LocalSystem',"
    "'LoadOrderGroup':'NetworkProvider','Dependencies':['Tcpip','Afd'],'AcceptStop':true,"
    "'ProcessId':77");
inline const std::string kTimeServer = service(
    "'Name':'W32Time','DisplayName':'Windows Time','ServiceType':'Share Process',"
    "'State':'Stopped','StartMode':'Manual','PathName':'svchost.exe','StartName':'LocalService'");

class ServicesTest : public Sampling {
 protected:
  ServicesTest() { install({kDnsServer, kTimeServer}); }

  static void install(const std::vector<std::string>& services) {
    platform::install(platform::make_recording(
        {{"registry.reg", kMachine}, {"services.json", services_file(services)}}, "services",
        platform::clock_now_ms));
  }
  // A machine on which no service manager answers.
  static void install_none() {
    platform::install(platform::make_recording({{"registry.reg", kMachine}}, "no services",
                                               platform::clock_now_ms));
  }
};

}  // namespace testing_support
