// Any bytes either read as one of the recording's JSON files or are refused with the file's name,
// and what was read answers questions.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "platform/commands/recorded_commands.h"
#include "platform/directory_services/recorded_services.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

void ask(platform::DirectoryServices& services) {
  std::string name;
  platform::LocatedController found;
  std::vector<platform::ReplicaNeighbour> neighbours;
  std::vector<platform::DomainTrust> trusts;
  services.site_of("DC1", name);
  services.find_controller({"", "", "", 0x2000}, found, name);
  services.bind("", "corp.example", name);
  services.neighbours("DC1", neighbours);
  services.trusts("", trusts);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  platform::MachineFacts machine;
  machine.host_name = "DC1";
  for (const platform::ServiceFiles& files : {platform::ServiceFiles{&text, nullptr, nullptr},
                                              platform::ServiceFiles{nullptr, &text, nullptr},
                                              platform::ServiceFiles{nullptr, nullptr, &text}}) {
    try {
      ask(*platform::read_directory_services(files, machine));
    } catch (const platform::ControllerError& error) {
      require(std::string_view(error.what()).find(".json: ") != std::string_view::npos);
    }
  }
  try {
    platform::read_commands(&text, {{"a", "b"}})->run("ping x");
  } catch (const platform::ControllerError& error) {
    require(std::string_view(error.what()).starts_with("commands.json: "));
  }
  const std::size_t half = size / 2;
  platform::matches_pattern(std::string_view(text).substr(0, half),
                            std::string_view(text).substr(half));
  return 0;
}
