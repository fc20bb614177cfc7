#pragma once
// What the end of a process must know of critical sections.

#include "platform/kernel/scheduler.h"

namespace platform::kernel {

// Hands the sections that an ended thread of an ending process still owns to those who wait for
// them, so that the unwinding of the others does not stand still for ever.
void give_up_sections_of(const Thread& thread, Lock& lock);

}  // namespace platform::kernel
