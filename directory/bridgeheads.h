#pragma once
// What the list of bridgehead servers of a transport says, apart from how it was asked for.

#include <cstdint>

#include "directory/com.h"
#include "include/trace.h"

namespace directory {

// How many servers the list names. The kind of value is tested exactly, deliberately: only a plain
// array and a single text count, so an array of variants, which is what a directory usually gives
// for several values, counts as 0. 0 or ADSI_OBJECT_ERR; an array is destroyed.
int count_bridgeheads(const trace::Scope& trace, Variant& list, std::int32_t& count);

// Whether a text of the list contains the server's name, which is upper-cased in place when there
// is a text to look at; the texts are taken as they are. The kind of value is tested likewise. 0 or
// ADSI_OBJECT_ERR; an array is destroyed.
int find_bridgehead(const trace::Scope& trace, Variant& list, char* server, bool& found);

}  // namespace directory
