// Which flags apply to which unit. A change bumps the generation word, and every unit record asks
// again at its next entry.

#include <cstdlib>
#include <map>
#include <mutex>

#include "framework/trc/internal.h"

extern "C" {
std::atomic<std::uint32_t> TRC1_Generation{1};
}

namespace trc {
namespace {

constexpr std::uint32_t kDefaultFlags = 128;  // errors and unusual paths

struct Settings {
  std::mutex mutex;
  // Guarded by mutex.
  std::uint32_t flags = kDefaultFlags;
  bool set_by_call = false;  // then the environment no longer counts
  bool environment_read = false;
  std::map<std::string, std::uint32_t, std::less<>> units;
};

// Never destroyed: functions may trace until the very end of the process.
Settings& settings() {
  static Settings* const instance = new Settings;
  return *instance;
}

void next_generation() {
  // 0 stays unused, so that a zeroed unit record always synchronises at its first entry.
  if (TRC1_Generation.fetch_add(1) + 1 == 0) TRC1_Generation.fetch_add(1);
}

bool flags_from_environment(std::uint32_t& flags) {
  const char* text = std::getenv("TRC_TRC1");
  if (text == nullptr || *text < '0' || *text > '9') return false;
  const bool hexadecimal = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
  char* end = nullptr;
  const unsigned long long value = std::strtoull(text, &end, hexadecimal ? 16 : 10);
  if (end == text || *end != '\0' || value > 0xFFFFFFFFu) return false;
  flags = static_cast<std::uint32_t>(value);
  return true;
}

// The caller holds the mutex.
void apply_environment(Settings& state) {
  state.environment_read = true;
  if (!state.set_by_call && !flags_from_environment(state.flags)) state.flags = kDefaultFlags;
}

}  // namespace

std::string_view base_name(std::string_view path) {
  const std::size_t slash = path.find_last_of("/\\");
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

void set_flags(std::uint32_t flags) {
  Settings& state = settings();
  const std::lock_guard hold(state.mutex);
  state.flags = flags;
  state.set_by_call = true;
  next_generation();
}

void set_unit_flags(std::string_view unit, std::uint32_t flags) {
  Settings& state = settings();
  const std::lock_guard hold(state.mutex);
  state.units.insert_or_assign(std::string(unit), flags);
  next_generation();
}

void clear_unit_flags() {
  Settings& state = settings();
  const std::lock_guard hold(state.mutex);
  state.units.clear();
  next_generation();
}

void read_flags_from_environment() {
  Settings& state = settings();
  const std::lock_guard hold(state.mutex);
  apply_environment(state);
  next_generation();
}

void forget_flags() {
  Settings& state = settings();
  const std::lock_guard hold(state.mutex);
  state.units.clear();
  state.set_by_call = false;
  apply_environment(state);
  next_generation();
}

}  // namespace trc

std::uint32_t TRC1_Sync(TRC1_UnitRecord* unit) {
  trc::Settings& state = trc::settings();
  const std::lock_guard hold(state.mutex);
  if (!state.environment_read) trc::apply_environment(state);

  std::uint32_t flags = state.flags;
  auto found = state.units.find(std::string_view(unit->function_name, unit->function_name_length));
  if (found == state.units.end() && unit->file != nullptr) {
    found = state.units.find(trc::base_name({unit->file->path, unit->file->path_length}));
  }
  if (found != state.units.end()) flags = found->second;

  // Flags before generation: a reader that sees the new generation must not take the old flags.
  unit->cached_flags.store(flags, std::memory_order_relaxed);
  unit->cached_generation.store(TRC1_Generation.load(), std::memory_order_release);
  return flags;
}
