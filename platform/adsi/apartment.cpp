#include "platform/adsi/apartment.h"

#include <atomic>

#include "include/platform/adsi.h"
#include "platform/kernel/fault_point.h"

namespace {

struct ThreadApartment {
  unsigned openings = 0;
  bool is_multithreaded = false;
};
thread_local ThreadApartment this_thread;

// Openings of the multithreaded apartment by all threads that have not been closed.
std::atomic<unsigned> multithreaded_openings{0};

}  // namespace

HRESULT CoInitializeEx(LPVOID reserved, DWORD apartment) {
  if (const auto fault = platform::fault_point("CoInitializeEx", E_OUTOFMEMORY)) {
    return fault->hresult();
  }
  if (reserved != nullptr) return E_INVALIDARG;
  const bool wants_multithreaded = (apartment & COINIT_APARTMENTTHREADED) == 0;
  if (this_thread.openings > 0 && this_thread.is_multithreaded != wants_multithreaded) {
    return RPC_E_CHANGED_MODE;
  }
  this_thread.is_multithreaded = wants_multithreaded;
  if (wants_multithreaded) multithreaded_openings.fetch_add(1);
  return this_thread.openings++ == 0 ? S_OK : S_FALSE;
}

void CoUninitialize() {
  // One call too many is ignored, as COM does.
  if (this_thread.openings == 0) return;
  --this_thread.openings;
  if (this_thread.is_multithreaded) multithreaded_openings.fetch_sub(1);
}

namespace platform {

bool apartment_is_open() { return this_thread.openings > 0 || multithreaded_openings.load() > 0; }

}  // namespace platform
