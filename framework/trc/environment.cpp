#include "platform/environment.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "framework/trc/internal.h"

const char* SYS1_GetEnv(const char* name, int /*reserved*/) {
  return name == nullptr ? nullptr : std::getenv(name);
}

int SYS1_PutEnv(const char* assignment) {
  if (assignment == nullptr) return 1;
  const char* equals = std::strchr(assignment, '=');
  if (equals == nullptr || equals == assignment) return 1;

  const std::string name(assignment, equals);
  const char* value = equals + 1;
  const char* present = std::getenv(name.c_str());
  // The environment is imported twice, and the second time other threads may be reading it: a
  // variable that already has its value is left alone, since setting it would move its text.
  if (std::strcmp(present == nullptr ? "" : present, value) == 0) return 0;

  const int result = _putenv(assignment);
  if (result == 0 && name == "TRC_TRC1") trc::read_flags_from_environment();
  return result;
}
