#pragma once
// What COM has handed out and not got back, one count for each kind. References are counted, not
// objects, so that a reference released once too seldom shows.

#include "platform/kernel/accounting.h"

namespace platform {

inline accounting::Counter live_interfaces{"interface"};
inline accounting::Counter live_enumerators{"enumerator"};
inline accounting::Counter live_strings{"bstr"};
inline accounting::Counter live_arrays{"safe array"};
inline accounting::Counter live_searches{"directory search"};
inline accounting::Counter live_columns{"search column"};

}  // namespace platform
