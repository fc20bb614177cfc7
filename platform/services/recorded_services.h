#pragma once
// The services of a recording: a JSON file with the properties that Windows' own instrumentation
// (the class Win32_Service) has for them.

#include <memory>
#include <string>

#include "platform/controller.h"

namespace platform {

// text: the file's bytes, an array of objects; docs/recordings.md has the keys. Strict: a key that
// is unknown, missing, written twice or of another type ends the reading. Throws ControllerError,
// "file:line: what" for what is no JSON and "file: service NUMBER (NAME): key: what" otherwise.
//
// Services are given in the order of the file.
std::unique_ptr<ServiceManager> read_services(const std::string& text,
                                              const std::string& file_name);

}  // namespace platform
