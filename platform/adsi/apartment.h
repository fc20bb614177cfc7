#pragma once
// Whether the calling thread may use COM objects.

namespace platform {

// True when the thread opened an apartment of its own, or any thread keeps the multithreaded one.
bool apartment_is_open();

}  // namespace platform
