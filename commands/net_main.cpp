// net time, which Samba's program of that name answers.

#include <cstdio>
#include <string>
#include <string_view>

#include "commands/run_program.h"

int main(int count, char** arguments) {
  if (count != 2 || std::string_view(arguments[1]) != "time") {
    std::fputs("The syntax of this command is: net time\r\n", stdout);
    return 1;
  }
  const auto ran = commands::run_program({"/usr/bin/net", "time"});
  if (ran.exit_code != 0) {
    std::fputs("Could not locate a time-server.\r\n", stdout);
    return 2;
  }
  const std::string time = ran.output.substr(0, ran.output.find('\n'));
  std::printf(
      "Current time at the time-server is %s\r\n\r\nThe command completed successfully.\r\n",
      time.c_str());
  return 0;
}
