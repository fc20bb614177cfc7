#pragma once
// Sends what a library imports to this one, wherever this one exports a call of the same name.

#include <windows.h>

namespace equipment {

// library: null for the program itself. Its imports are bound by now.
void redirect_imports(HMODULE library);
// This library.
HMODULE own_library();

}  // namespace equipment
