#pragma once
// Signals from outside, for the part of the platform that gives them another meaning than a
// console's.

#include <functional>

namespace platform {

// From now on SIGTERM, SIGINT, SIGHUP and SIGPWR, each as often as it comes, are told to the
// listener on a thread of its own that virtual time does not know, and none of them ends the
// process or reaches a console handler. Holds to the end of the process; false when the system
// refuses.
bool deliver_signals(std::function<void(int number)> listener);

}  // namespace platform
