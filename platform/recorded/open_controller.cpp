// Which kind of controller a place names. Apart from the recordings, since only this one asks for
// the live ones and for the recording inside the program.

#include <utility>

#include "platform/controller.h"
#include "platform/recorded/recording.h"
#include "platform/recorded/utf8.h"

namespace platform {

std::shared_ptr<Controller> open_embedded_recording(Clock clock) {
  RecordingFiles files;
  for (const EmbeddedFile& file : embedded_recording_files()) {
    files[std::string(file.name)] = std::string(file.bytes);
  }
  return make_recording(files, "the embedded recording", std::move(clock));
}

std::shared_ptr<Controller> open_controller(const std::string& place, Clock clock) {
  if (place.empty()) return open_embedded_recording(std::move(clock));
  const std::string small = fold_case(place);
  for (const char* scheme : {"ldap://", "ldaps://", "ldapi://"}) {
    if (small.starts_with(scheme)) return open_live(place);
  }
  return open_recording(place, std::move(clock));
}

}  // namespace platform
