#pragma once
// A controller's answer to the question for the attribute netlogon, by which it tells its roles and
// its site. Answers come from the network and may hold any bytes.

#include <optional>
#include <string>
#include <string_view>

#include "platform/directory_services/services.h"

namespace platform {

struct NetlogonAnswer {
  LocatedController controller;  // address left empty
  std::string client_site;       // of who asked
};

// Of the extended form, which all controllers since Windows 2000 give. Nothing for any other, for
// one that is cut short, and for names that run in circles.
std::optional<NetlogonAnswer> decode_netlogon(std::string_view bytes);

}  // namespace platform
