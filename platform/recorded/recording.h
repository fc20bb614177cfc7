#pragma once
// Puts a recording together from its files, wherever they come from.

#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/controller.h"

namespace platform {

// Names within the folder against bytes. Known are directory.ldif, counters.csv, registry.reg,
// services.json, dns.zone, locator.json, replication.json, trusts.json and what stands beneath
// shares/; a part whose file is missing is absent. Throws ControllerError.
using RecordingFiles = std::map<std::string, std::string>;
std::shared_ptr<Controller> make_recording(const RecordingFiles& files, std::string description,
                                           Clock clock);

// What kind of machine a registry speaks of. What it does not tell stays as it is in facts.
void read_machine_facts(RegistryHive& hive, MachineFacts& facts);

struct EmbeddedFile {
  std::string_view name;
  std::string_view bytes;
};
// Generated from recordings/default, sorted by name.
std::span<const EmbeddedFile> embedded_recording_files();

}  // namespace platform
