#pragma once
// The file through which the thread that counts the domain's objects tells the table of LDAP
// attributes how many there are. The file is their only link: it outlives the process, and a count
// takes minutes. Writer and reader share it without a lock; a reader that meets the writer finds no
// file or a short one, and shows 0 or a part until the next sample.

#include <cstdint>
#include <string>

#include "collectors/object_count_text.h"

namespace collectors {

// Beneath the installation's folder. Without MARLOW_HOME the path begins at the root of the drive.
std::string object_count_path();

// Replaces the file. False when it cannot be opened or written.
bool write_object_count(const std::string& path, std::int32_t count);

}  // namespace collectors
