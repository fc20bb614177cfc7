// Whatever the bytes: a services file is read or refused by its name, and every service that was
// read can be asked about.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/services/recorded_services.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  try {
    const auto services = platform::read_services(text, "s");
    std::vector<platform::ServiceListing> listed;
    if (services->list(listed) != 0) std::abort();
    for (const platform::ServiceListing& one : listed) {
      platform::ServiceState state;
      platform::ServiceSetup setup;
      services->open(one.name);
      if (services->state(one.name, state) == 0 && state.type != one.state.type) std::abort();
      services->setup(one.name, setup);
    }
  } catch (const platform::ControllerError& error) {
    if (std::string(error.what()).rfind("s:", 0) != 0) std::abort();
  }
  return 0;
}
