#pragma once
// Which of several controllers the locator picks.

#include <string>
#include <string_view>
#include <vector>

#include "platform/directory_services/services.h"

namespace platform {

// "dc1" is DC1.corp.example's short name; case does not count. False for an empty name.
bool is_named(const LocatedController& controller, std::string_view name);

// A controller that answers, is of the domain and has every role that the question's flags require;
// null when there is none. Among these come first, each rule only where those before it leave a
// choice: a good time server when one is preferred; the asking computer itself (last, when it is to
// be avoided); the wanted site; the order of the list.
const LocatedController* choose_controller(const std::vector<LocatedController>& controllers,
                                           const LocatorQuestion& question, std::string_view domain,
                                           std::string_view site);

}  // namespace platform
