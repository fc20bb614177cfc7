// w32tm /monitor /computers:A,*B over the network time protocol.

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands/time_text.h"

namespace {

constexpr int kWait_ms = 1000;
constexpr std::uint64_t kFrom1900To1970_s = 2208988800u;

commands::NtpTime now() {
  timeval time{};
  gettimeofday(&time, nullptr);
  const auto seconds = static_cast<std::uint64_t>(time.tv_sec) + kFrom1900To1970_s;
  return seconds << 32 | (static_cast<std::uint64_t>(time.tv_usec) << 32) / 1'000'000;
}

struct FreeAddresses {
  void operator()(addrinfo* list) const { freeaddrinfo(list); }
};

std::optional<double> ask(const addrinfo& address) {
  const int socket_handle = socket(address.ai_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (socket_handle < 0) return std::nullopt;
  std::optional<double> offset;
  const commands::NtpTime sent = now();
  const std::string question = commands::time_question(sent);
  // Connected, so that only the one asked can answer.
  if (connect(socket_handle, address.ai_addr, address.ai_addrlen) == 0 &&
      send(socket_handle, question.data(), question.size(), 0) > 0) {
    pollfd waited{socket_handle, POLLIN, 0};
    std::array<char, 512> packet;
    if (poll(&waited, 1, kWait_ms) == 1) {
      const ssize_t size = recv(socket_handle, packet.data(), packet.size(), 0);
      const auto received = now();
      if (size > 0) {
        offset = commands::read_time_packet({packet.data(), static_cast<std::size_t>(size)}, sent,
                                            received);
      }
    }
  }
  close(socket_handle);
  return offset;
}

commands::WatchedClock watch(const commands::Watched& machine) {
  commands::WatchedClock clock{machine, "", std::nullopt};
  addrinfo hints{};
  hints.ai_socktype = SOCK_DGRAM;
  addrinfo* list = nullptr;
  if (getaddrinfo(machine.name.c_str(), "123", &hints, &list) != 0) return clock;
  const std::unique_ptr<addrinfo, FreeAddresses> owner(list);
  char text[256] = "";
  getnameinfo(list->ai_addr, list->ai_addrlen, text, sizeof text, nullptr, 0, NI_NUMERICHOST);
  clock.address = text;
  clock.offset_s = ask(*list);
  return clock;
}

}  // namespace

int main(int count, char** arguments) {
  const auto wish = commands::read_monitor_wish({arguments + 1, arguments + count});
  if (!wish) {
    std::fputs("Usage: w32tm /monitor /computers:name[,*name...]\r\n", stdout);
    return 1;
  }
  std::vector<commands::WatchedClock> clocks;
  for (const auto& machine : *wish) clocks.push_back(watch(machine));
  std::fputs(commands::monitor_text(clocks).c_str(), stdout);
  return 0;
}
