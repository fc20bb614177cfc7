#pragma once
// Distinguished names as text: cut into their parts, and brought to one form for comparing. Both
// ways of escaping count, a backslash before a character and a backslash before two hex digits.

#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The relative names from the left, blanks around them removed, escapes kept; views into dn.
std::vector<std::string_view> split_dn(std::string_view dn);

// "CN=a\, b , DC=X" and "cn=A\2C B,dc=x" give the same text. The empty dn stays empty.
std::string normalise_dn(std::string_view dn);

// What follows the first relative name; empty for the last one.
std::string_view parent_dn(std::string_view dn);

// Position of the first character for which wanted holds and that no backslash stands before.
std::size_t find_unescaped(std::string_view text, char wanted, std::size_t from = 0);

// The value of the first relative name without escapes: "a, b" for "CN=a\, b,DC=x".
std::string leaf_value(std::string_view dn);

// "corp.example/Users" for "CN=Users,DC=corp,DC=example"; a domain itself ends in the slash.
std::string canonical_name(std::string_view dn);

// "corp.example" for "DC=corp,DC=example": the domain components joined.
std::string dns_name(std::string_view dn);

}  // namespace platform
