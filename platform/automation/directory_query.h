#pragma once
// The query objects over the directory (ADO with the provider "ADsDSOObject"): Connection, Command
// and Recordset, as far as counting records needs them.

#include "include/platform/automation.h"

namespace platform {

// Null for a class that is none of the three. The reference is the caller's.
IDispatch* make_query_object(REFCLSID class_id);

}  // namespace platform
