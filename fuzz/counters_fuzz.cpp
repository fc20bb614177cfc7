// Whatever the bytes: a counter log is read or refused with its place, and what was read answers.

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/counters/counter_path.h"
#include "platform/counters/recorded_counters.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  std::int64_t now_ms = 0;
  std::unique_ptr<platform::CounterSource> source;
  try {
    source = platform::read_counters(text, "c", [&now_ms] { return now_ms; });
  } catch (const platform::ControllerError& error) {
    if (std::string(error.what()).rfind("c:", 0) != 0) std::abort();
    return 0;
  }
  for (int step = 0; step < 4; ++step) {
    for (const std::string& object : source->objects()) {
      std::vector<std::string> counters, instances;
      if (source->items(object, counters, instances) != 0 || counters.empty()) std::abort();
      instances.emplace_back();
      for (const std::string& instance : instances) {
        const platform::CounterPath path = {"", object, "", instance, 0, counters.front()};
        platform::CounterReference reference;
        double value = 0;
        if (source->find(path, reference) != 0) continue;
        const bool there = source->value(reference.number, source->snapshot(), value) == 0;
        if (there != (source->validate(path) == 0) || std::isnan(value)) std::abort();
      }
    }
    now_ms += 7000;
  }
  return 0;
}
