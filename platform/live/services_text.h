#pragma once
// The text of services.json for what a service manager tells: the other direction of
// services/recorded_services.h.

#include <string>

#include "platform/controller.h"

namespace platform {

// What the manager refuses to tell of a service is kept as the error that it gave. Of names that
// differ in letter case alone the first one stays: the file cannot tell them apart. Empty when the
// manager does not answer or cannot list.
std::string services_text(ServiceManager& manager);

}  // namespace platform
