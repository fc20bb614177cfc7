#pragma once
// Handles of table objects. A handle stays good for as long as somebody holds the object; numbers
// are not used again until all 32 bits have gone round.

#include <cstdint>

#include "xaf.h"

namespace xaf::handles {

std::uint32_t add(xaftable* object);
// Holds the object. Null when it is gone or given up.
xaftable* hold(std::uint32_t handle);
// True when the object is to be deleted now: it has been given up and this was the last hold.
bool drop(std::uint32_t handle);
// The framework gives the object up. True when nobody holds it: it is to be deleted now.
bool give_up(std::uint32_t handle);
// The object is being destroyed.
void forget(std::uint32_t handle);

}  // namespace xaf::handles
