#pragma once
// The shares of a recording: files held in memory. What the agent writes stays in the process and
// leaves the recording's folder as it is.

#include <map>
#include <memory>
#include <string>

#include "platform/controller.h"

namespace platform {

// files: "SERVER/SHARE/folder/file" against bytes; a name that ends in a slash is an empty folder.
// A server is named as its folder is, or as that with the machine's DNS suffix behind it; letter
// case does not count. A server without a folder is a machine that is down.
std::unique_ptr<Shares> make_recorded_shares(const std::map<std::string, std::string>& files,
                                             const std::string& dns_suffix);

}  // namespace platform
