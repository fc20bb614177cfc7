#include "framework/xaf/waiting.h"

#include <algorithm>
#include <utility>

namespace xaf {
namespace {

unsigned __stdcall run_body(void* argument) {
  const std::unique_ptr<std::function<void()>> body(static_cast<std::function<void()>*>(argument));
  (*body)();
  return 0;
}

}  // namespace

Thread::Thread(std::function<void()> body) {
  auto owned = std::make_unique<std::function<void()>>(std::move(body));
  unsigned identifier = 0;
  const auto result = _beginthreadex(nullptr, 0, run_body, owned.get(), 0, &identifier);
  if (result == 0) return;
  static_cast<void>(owned.release());  // the thread's own now
  handle_ = reinterpret_cast<HANDLE>(result);
}

std::int64_t steady_us() {
  LARGE_INTEGER count = {};
  LARGE_INTEGER frequency = {};
  QueryPerformanceCounter(&count);
  QueryPerformanceFrequency(&frequency);
  const std::int64_t whole = count.QuadPart / frequency.QuadPart;
  const std::int64_t rest = count.QuadPart % frequency.QuadPart;
  return whole * 1000000 + rest * 1000000 / frequency.QuadPart;
}

std::int64_t clock_ms() {
  struct _timeb now = {};
  _ftime64(&now);
  return static_cast<std::int64_t>(now.time) * 1000 + now.millitm;
}

DWORD wait_ms(std::int64_t duration_us) {
  constexpr std::int64_t kLongest = 0x7FFFFFFF;
  return static_cast<DWORD>(std::clamp<std::int64_t>((duration_us + 999) / 1000, 0, kLongest));
}

}  // namespace xaf
