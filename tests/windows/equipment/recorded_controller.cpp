// What the controller parts need beneath them on Windows: which recording answers, its clock, the
// apartment of COM, and events.

#include <objbase.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

#include "platform/adsi/apartment.h"
#include "platform/control.h"
#include "platform/kernel/accounting.h"
#include "platform/registry/change_event.h"

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

class SystemEvent : public ChangeEvent {
 public:
  explicit SystemEvent(HANDLE own) : own_(own) {}
  ~SystemEvent() override { CloseHandle(own_); }
  SystemEvent(const SystemEvent&) = delete;
  SystemEvent& operator=(const SystemEvent&) = delete;
  void signal() override { SetEvent(own_); }

 private:
  const HANDLE own_;
};

}  // namespace

std::shared_ptr<ChangeEvent> change_event(HANDLE handle) {
  HANDLE own = nullptr;
  const HANDLE process = GetCurrentProcess();
  if (!DuplicateHandle(process, handle, process, &own, 0, FALSE, DUPLICATE_SAME_ACCESS))
    return nullptr;
  return std::make_shared<SystemEvent>(own);
}

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
