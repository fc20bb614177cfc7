// What the controller parts need beneath them on Windows: which recording answers, its clock, and
// the apartment of COM.

#include <objbase.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "platform/adsi/apartment.h"
#include "platform/control.h"
#include "platform/kernel/accounting.h"

namespace platform {
namespace {

// Stands still, so that every sample meets the recording's first moment however long its start
// took.
constexpr std::int64_t kMoment = 1293937445000;

std::shared_ptr<Controller> open_recorded() {
  const char* folder = std::getenv("DIRWATCH_CONTROLLER");
  try {
    return open_recording(folder == nullptr ? "" : folder, [] { return kMoment; });
  } catch (const ControllerError& error) {
    std::fprintf(stderr, "equipment: DIRWATCH_CONTROLLER: %s\n", error.what());
    std::exit(3);  // any row from now on would be of something else
  }
}

}  // namespace

std::shared_ptr<Controller> controller() {
  // Never destroyed: threads may outlive main.
  static const auto& opened = *new std::shared_ptr<Controller>(open_recorded());
  return opened;
}

std::int64_t clock_now_ms() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

bool apartment_is_open() {
  APTTYPE type;
  APTTYPEQUALIFIER qualifier;
  return CoGetApartmentType(&type, &qualifier) == S_OK;
}

// Processes are not simulated here: nobody keeps a ledger.
void accounting::Counter::note(std::int64_t) {}

}  // namespace platform
