// Commands through a pipe.

#include <sys/wait.h>

#include <cerrno>
#include <string_view>

#include "platform/files.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"

namespace {
platform::accounting::Counter pipes{"pipe"};
}

FILE* _popen(const char* command, const char* mode) {
  if (const auto fault = platform::fault_point("_popen")) {
    errno = static_cast<int>(fault->code);
    return nullptr;
  }
  const std::string_view wanted = mode == nullptr ? "" : mode;
  const bool known = !wanted.empty() && (wanted[0] == 'r' || wanted[0] == 'w') &&
                     wanted.find_first_not_of("tb", 1) == std::string_view::npos;
  if (command == nullptr || !known) {
    errno = EINVAL;
    return nullptr;
  }
  // "e": a command started beside this one must not keep this pipe open.
  FILE* stream = popen(command, wanted[0] == 'r' ? "re" : "we");
  if (stream != nullptr) pipes.add();
  return stream;
}

int _pclose(FILE* stream) {
  if (stream == nullptr) {
    errno = EINVAL;
    return -1;
  }
  // A close that fails on purpose still closes: the caller has no second try.
  const int status = pclose(stream);
  pipes.remove();
  if (const auto fault = platform::fault_point("_pclose")) {
    errno = static_cast<int>(fault->code);
    return -1;
  }
  if (status == -1) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}
