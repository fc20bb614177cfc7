// Which kind of controller a place names. Apart from the recordings, since only this one asks for
// the live ones.

#include <utility>

#include "platform/controller.h"
#include "platform/recorded/utf8.h"

namespace platform {

std::shared_ptr<Controller> open_controller(const std::string& place, Clock clock) {
  if (place.empty()) return open_embedded_recording(std::move(clock));
  const std::string small = fold_case(place);
  for (const char* scheme : {"ldap://", "ldaps://", "ldapi://"}) {
    if (small.starts_with(scheme)) return open_live(place);
  }
  return open_recording(place, std::move(clock));
}

}  // namespace platform
