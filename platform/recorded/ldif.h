#pragma once
// Reads and writes LDIF (RFC 2849) content files. A strict reader of our own, because recordings
// are also read where no LDAP library is, and because a fault in a recording must be told by its
// line.
//
// Only entries are taken, also such as ldifde exports ("changetype: add" behind the dn): other
// change records and values that stand in other files are refused. A file without a version line is
// taken too, since the usual tools can leave it out.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "platform/controller.h"

namespace platform {

struct LdifRecord {
  // Attribute names keep their options ("whenChanged;x-server-dc2"); values of one name are
  // gathered at the place of its first line.
  Entry entry;
  std::size_t line = 0;  // of its dn, from 1
};

// Throws ControllerError, whose text begins with file_name and the line: "directory.ldif:17: ...".
std::vector<LdifRecord> read_ldif(std::string_view text, const std::string& file_name);

// The first line of a file, and an entry with the empty line before it. Lines are folded at 76
// characters; values that are not safe text, and all that begin or end with a blank, are base64.
std::string ldif_version_line();
std::string ldif_record(const Entry& entry);

}  // namespace platform
