#pragma once
// A piece of a test in a process of its own: the agent's process-wide state is then what a start
// finds, a crash or a hang costs that piece alone, and the parent says which it was.

#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <string>

namespace testing_support {

// What the body complains about: "" when all is well, else its text, or how its process ended. The
// caller has started no thread. A body that takes longer than this of real time is ended as a hang.
inline std::string in_fresh_process(const std::function<std::string()>& body,
                                    unsigned patience_s = 120) {
  int pipe_ends[2];
  if (::pipe(pipe_ends) != 0) return "no pipe";
  const pid_t child = ::fork();
  if (child < 0) return "no process";
  if (child == 0) {
    ::close(pipe_ends[0]);
    ::alarm(patience_s);
    const std::string complaint = body();
    const char* rest = complaint.c_str();
    // The end of the text with its zero is the sign that the body came through.
    for (std::size_t left = complaint.size() + 1; left > 0;) {
      const ssize_t written = ::write(pipe_ends[1], rest, left);
      if (written <= 0) break;
      rest += written;
      left -= static_cast<std::size_t>(written);
    }
    ::_exit(0);
  }
  ::close(pipe_ends[1]);
  std::string text;
  char buffer[4096];
  for (ssize_t got; (got = ::read(pipe_ends[0], buffer, sizeof buffer)) > 0;) {
    text.append(buffer, static_cast<std::size_t>(got));
  }
  ::close(pipe_ends[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  if (WIFSIGNALED(status)) {
    return std::string("the process ended by signal: ") + ::strsignal(WTERMSIG(status));
  }
  if (text.empty() || text.back() != '\0') {
    return "the process ended by itself, code " + std::to_string(WEXITSTATUS(status));
  }
  text.pop_back();
  return text;
}

}  // namespace testing_support
