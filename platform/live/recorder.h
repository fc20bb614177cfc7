#pragma once
// Writes a recording of a live controller: a folder that open_recording answers from.

#include <string>

#include "platform/controller.h"

namespace platform {

// Records the controller at an address (ldap://, ldaps://, ldapi://) into a folder, which is made
// when it is not there: directory.ldif with the root object and every naming context, registry.reg
// with what kind of machine it is, locator.json, replication.json and trusts.json with what every
// controller of the forest answers, services.json with the services of this machine where it has a
// service manager, and a README.md that says so. Attributes that hold secrets are never written.
// Progress goes to the standard error stream, a line a naming context.
//
// Throws ControllerError; the folder then holds no directory.ldif. A folder that already holds a
// recording is left alone and refused.
void record(const std::string& url, const std::string& folder);

}  // namespace platform
