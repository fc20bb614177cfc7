#include "platform/live/live_dns.h"

#include <ares.h>
#include <netdb.h>
#include <poll.h>

#include <cstring>
#include <string_view>
#include <type_traits>

#include "platform/live/environment_text.h"

namespace platform::live {
namespace {

constexpr std::uint16_t kA = 1;
constexpr std::uint16_t kAaaa = 28;
constexpr std::uint16_t kSrv = 33;
constexpr int kInternet = 1;
constexpr int kTries = 2;
constexpr DnsStatus kNotImplemented = 9004;

struct Answer {
  int status = ARES_ETIMEOUT;
  std::string packet;
};

void take_answer(void* argument, int status, int, unsigned char* packet, int size) {
  auto* answer = static_cast<Answer*>(argument);
  answer->status = status;
  if (packet != nullptr && size > 0) {
    answer->packet.assign(reinterpret_cast<const char*>(packet), static_cast<std::size_t>(size));
  }
}

DnsStatus dns_status(int status) {
  switch (status) {
    case ARES_SUCCESS:
      return 0;
    case ARES_ENODATA:
      return kDnsNoRecords;
    case ARES_ENOTFOUND:
      return kDnsNoSuchName;
    case ARES_EREFUSED:
      return kDnsRefused;
    case ARES_ESERVFAIL:
      return kDnsServerFailure;
    case ARES_EFORMERR:
    case ARES_EBADRESP:
      return kDnsBadPacket;
    default:  // nobody answered, or all that did refused or failed
      return kDnsTimeout;
  }
}

struct DestroyChannel {
  void operator()(ares_channeldata* channel) const { ares_destroy(channel); }
};
using Channel = std::unique_ptr<ares_channeldata, DestroyChannel>;

Channel open_channel(const DnsOptions& options) {
  static const int ready = ares_library_init(ARES_LIB_INIT_ALL);
  if (ready != ARES_SUCCESS) return nullptr;
  ares_options settings{};
  settings.timeout = options.timeout_s * 1000;
  settings.tries = kTries;
  ares_channel made = nullptr;
  if (ares_init_options(&made, &settings, ARES_OPT_TIMEOUTMS | ARES_OPT_TRIES) != ARES_SUCCESS) {
    return nullptr;
  }
  Channel channel(made);
  if (!options.servers.empty() &&
      ares_set_servers_ports_csv(made, options.servers.c_str()) != ARES_SUCCESS) {
    return nullptr;
  }
  return channel;
}

// Moves packets until no question is open; the library's own time-outs bound it.
void run(ares_channel channel) {
  for (;;) {
    ares_socket_t sockets[ARES_GETSOCK_MAXNUM];
    const int wanted = ares_getsock(channel, sockets, ARES_GETSOCK_MAXNUM);
    if (wanted == 0) return;
    pollfd polled[ARES_GETSOCK_MAXNUM];
    nfds_t count = 0;
    for (int i = 0; i < ARES_GETSOCK_MAXNUM; ++i) {
      const bool reads = ARES_GETSOCK_READABLE(wanted, i) != 0;
      const bool writes = ARES_GETSOCK_WRITABLE(wanted, i) != 0;
      if (!reads && !writes) continue;
      polled[count++] = {sockets[i],
                         static_cast<short>((reads ? POLLIN : 0) | (writes ? POLLOUT : 0)), 0};
    }
    timeval room{};
    const timeval* next = ares_timeout(channel, nullptr, &room);
    const int wait_ms =
        next == nullptr ? -1 : static_cast<int>(next->tv_sec * 1000 + next->tv_usec / 1000 + 1);
    poll(polled, count, wait_ms);
    bool moved = false;
    for (nfds_t i = 0; i < count; ++i) {
      if (polled[i].revents == 0) continue;
      const bool writes = (polled[i].revents & POLLOUT) != 0;
      const bool reads = (polled[i].revents & ~POLLOUT) != 0;
      ares_process_fd(channel, reads ? polled[i].fd : ARES_SOCKET_BAD,
                      writes ? polled[i].fd : ARES_SOCKET_BAD);
      moved = true;
    }
    if (!moved) ares_process_fd(channel, ARES_SOCKET_BAD, ARES_SOCKET_BAD);
  }
}

const unsigned char* bytes_of(const std::string& packet) {
  return reinterpret_cast<const unsigned char*>(packet.data());
}

std::string without_last_dot(std::string_view name) {
  if (name.ends_with('.')) name.remove_suffix(1);
  return std::string(name);
}

int parse_servers(const std::string& packet, std::string_view name,
                  std::vector<DnsRecord>& records) {
  ares_srv_reply* first = nullptr;
  const int status =
      ares_parse_srv_reply(bytes_of(packet), static_cast<int>(packet.size()), &first);
  for (const ares_srv_reply* reply = first; reply != nullptr; reply = reply->next) {
    DnsRecord& record = records.emplace_back();
    record.name = without_last_dot(name);
    record.type = kSrv;
    record.target = without_last_dot(reply->host);
    record.priority = reply->priority;
    record.weight = reply->weight;
    record.port = reply->port;
  }
  if (first != nullptr) ares_free_data(first);
  return status;
}

// The host's records bear its own name, behind its aliases.
int parse_addresses(const std::string& packet, std::uint16_t type,
                    std::vector<DnsRecord>& records) {
  hostent* host = nullptr;
  const int size = static_cast<int>(packet.size());
  const int status = type == kA
                         ? ares_parse_a_reply(bytes_of(packet), size, &host, nullptr, nullptr)
                         : ares_parse_aaaa_reply(bytes_of(packet), size, &host, nullptr, nullptr);
  if (host == nullptr) return status;
  for (char** address = host->h_addr_list; *address != nullptr; ++address) {
    DnsRecord& record = records.emplace_back();
    record.name = without_last_dot(host->h_name);
    record.type = type;
    record.address.assign(*address, static_cast<std::size_t>(host->h_length));
  }
  ares_free_hostent(host);
  return status;
}

class LiveDns : public DnsSource {
 public:
  explicit LiveDns(const DnsOptions& options) : options_(options) {}

  DnsStatus query(std::string_view name, std::uint16_t type,
                  std::vector<DnsRecord>& records) override {
    if (type != kSrv && type != kA && type != kAaaa) return kNotImplemented;
    const Channel channel = open_channel(options_);
    if (channel == nullptr) return kDnsTimeout;
    Answer answer;
    ares_query(channel.get(), std::string(name).c_str(), kInternet, type, take_answer, &answer);
    run(channel.get());
    if (answer.status != ARES_SUCCESS) return dns_status(answer.status);
    const int parsed = type == kSrv ? parse_servers(answer.packet, name, records)
                                    : parse_addresses(answer.packet, type, records);
    if (parsed != ARES_SUCCESS) return dns_status(parsed);
    return records.empty() ? kDnsNoRecords : 0;
  }

 private:
  const DnsOptions options_;
};

}  // namespace

DnsOptions read_dns_options() {
  DnsOptions options;
  options.servers = environment("DIRWATCH_DNS_SERVERS");
  if (!options.servers.empty() && open_channel(options) == nullptr) {
    throw ControllerError("DIRWATCH_DNS_SERVERS=" + options.servers +
                          ": give addresses, with commas between");
  }
  options.timeout_s = seconds_from_environment("DIRWATCH_DNS_TIMEOUT", options.timeout_s, 60);
  return options;
}

std::unique_ptr<DnsSource> make_live_dns(const DnsOptions& options) {
  return std::make_unique<LiveDns>(options);
}

}  // namespace platform::live
