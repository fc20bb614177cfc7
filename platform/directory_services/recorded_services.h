#pragma once
// The locator, replication and trust interfaces answered from a recording's locator.json,
// replication.json and trusts.json; docs/recordings.md describes the files.

#include <memory>
#include <string>

#include "platform/controller.h"
#include "platform/directory_services/services.h"

namespace platform {

// The text of each file, null for one that the recording lacks. Without a locator no server is
// known, and a binding needs one; without one of the others there are no neighbours and no trusts.
struct ServiceFiles {
  const std::string* locator = nullptr;
  const std::string* replication = nullptr;
  const std::string* trusts = nullptr;
};

// Null when the recording has none of them. Throws ControllerError.
std::unique_ptr<DirectoryServices> read_directory_services(const ServiceFiles& files,
                                                           const MachineFacts& machine);

}  // namespace platform
