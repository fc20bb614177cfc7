// Commands through a pipe. The system's own commands are answered by the controller; with one that
// leaves them to this machine, by the program of that name in the folder commands beside ours.

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "include/platform/threads.h"
#include "platform/commands/command_source.h"
#include "platform/control.h"
#include "platform/files.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/command_line.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/libraries.h"

namespace {

platform::accounting::Counter pipes{"pipe"};

std::mutex lock;
// Exit codes of the commands that the controller answered, by their streams; guarded by lock. Never
// destroyed: threads may outlive main.
auto& answered = *new std::map<FILE*, int>;

struct Output {
  std::string text;
  std::size_t at = 0;
};

ssize_t read_output(void* cookie, char* buffer, std::size_t size) {
  auto& output = *static_cast<Output*>(cookie);
  size = std::min(size, output.text.size() - output.at);
  std::memcpy(buffer, output.text.data() + output.at, size);
  output.at += size;
  return static_cast<ssize_t>(size);
}

int close_output(void* cookie) {
  delete static_cast<Output*>(cookie);
  return 0;
}

// A stream in text mode: two-character line ends become one, and a control-Z ends it.
std::string as_text(std::string_view bytes) {
  std::string text;
  for (std::size_t i = 0; i < bytes.size() && bytes[i] != '\x1A'; ++i) {
    if (bytes[i] == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n') continue;
    text += bytes[i];
  }
  return text;
}

FILE* open_answer(const platform::CommandAnswer& answer, bool is_binary) {
  auto output = std::make_unique<Output>();
  output->text = is_binary ? answer.output : as_text(answer.output);
  FILE* stream = fopencookie(output.get(), "r", {read_output, nullptr, nullptr, close_output});
  if (stream == nullptr) return nullptr;
  output.release();
  const std::lock_guard guard(lock);
  answered[stream] = answer.exit_code;
  return stream;
}

// The line that runs our own program in the place of the system's command. A program that is not
// there is not looked for elsewhere: this system's own of that name prints something else.
std::string own_program(const std::string& name, const char* command) {
  std::vector<std::string> words = platform::kernel::command_words(command);
  words.front() = platform::kernel::program_folders("commands").front() + "/" + name;
  for (const std::string& folder : platform::kernel::program_folders("commands")) {
    const std::string path = folder + "/" + name;
    if (access(path.c_str(), X_OK) == 0) words.front() = path;
  }
  return "exec " + platform::kernel::shell_line(words);
}

FILE* start(const char* command, bool reads, bool is_binary) {
  std::string line = command;
  if (const std::string name = platform::kernel::system_command(command); !name.empty() && reads) {
    const auto holder = platform::controller();
    if (platform::CommandSource* source = holder->commands()) {
      const platform::CommandAnswer answer = source->run(command);
      if (answer.takes_s != 0) Sleep(answer.takes_s * 1000);
      return open_answer(answer, is_binary);
    }
    line = own_program(name, command);
  }
  // "e": a command started beside this one must not keep this pipe open.
  return popen(line.c_str(), reads ? "re" : "we");
}

int close(FILE* stream) {
  {
    const std::lock_guard guard(lock);
    if (const auto known = answered.find(stream); known != answered.end()) {
      const int exit_code = known->second;
      answered.erase(known);
      std::fclose(stream);
      return exit_code;
    }
  }
  const int status = pclose(stream);
  if (status == -1) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

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
  FILE* stream = start(command, wanted[0] == 'r', wanted.find('b') != std::string_view::npos);
  if (stream != nullptr) pipes.add();
  return stream;
}

int _pclose(FILE* stream) {
  if (stream == nullptr) {
    errno = EINVAL;
    return -1;
  }
  // A close that fails on purpose still closes: the caller has no second try.
  const int status = close(stream);
  pipes.remove();
  if (const auto fault = platform::fault_point("_pclose")) {
    errno = static_cast<int>(fault->code);
    return -1;
  }
  return status;
}

// The linker sends every call of the C library's system here, so that the agent's call needs no
// name of ours in its source.
extern "C" {
int __wrap_system(const char* command);

// As on Windows the result is the command's exit code, or -1; with null, whether there is an
// interpreter.
int __wrap_system(const char* command) {
  if (command == nullptr) return 1;
  if (const auto fault = platform::fault_point("system")) {
    errno = static_cast<int>(fault->code);
    return -1;
  }
  FILE* stream = start(command, true, true);
  if (stream == nullptr) return -1;
  char buffer[4096];
  for (std::size_t got; (got = std::fread(buffer, 1, sizeof buffer, stream)) > 0;) {
    std::fwrite(buffer, 1, got, stdout);
  }
  std::fflush(stdout);
  return close(stream);
}
}
