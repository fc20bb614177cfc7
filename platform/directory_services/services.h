#pragma once
// What a controller's locator, replication and trust interfaces know. Plain portable C++ like the
// rest of a controller; platform/directory_services/calls.cpp puts the Windows calls on top.
//
// All operations may be called from any thread. server and computer: a short or full host name
// without backslashes, or empty for the controller's own machine.

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

using Win32Status = std::uint32_t;  // 0 is success
inline constexpr Win32Status kStatusOk = 0;
inline constexpr Win32Status kStatusNoLogonServers = 1311;
inline constexpr Win32Status kStatusNoSuchDomain = 1355;
inline constexpr Win32Status kStatusServerUnavailable = 1722;  // the RPC server
inline constexpr Win32Status kStatusNoSiteName = 1919;

using GuidBytes = std::array<std::uint8_t, 16>;  // as they lie in memory on Windows
// The bytes in the order of the text: its first three groups lie in memory with their last byte
// first.
inline constexpr std::array<std::size_t, 16> kGuidTextOrder{3, 2, 1,  0,  5,  4,  7,  6,
                                                            8, 9, 10, 11, 12, 13, 14, 15};

// A controller as the locator describes it.
struct LocatedController {
  std::string name;     // full, "DC1.corp.example"
  std::string address;  // "10.53.1.11"
  std::string domain;   // "corp.example"
  std::string forest;
  std::string site;
  std::uint32_t flags = 0;  // DS_PDC_FLAG and its kin
  GuidBytes domain_guid{};
  bool answers = true;
};

struct LocatorQuestion {
  std::string_view computer;
  std::string_view domain;  // empty for the computer's own
  std::string_view site;    // empty for no preference
  std::uint32_t flags = 0;  // DS_PDC_REQUIRED and its kin
};

// One inbound replication link. Times are 100 ns since 1601, 0 for never.
struct ReplicaNeighbour {
  std::string naming_context;
  std::string source_dsa;      // dn of the source's NTDS Settings
  std::string source_address;  // "<guid>._msdcs.corp.example"
  std::string transport;       // dn; empty for none
  std::uint32_t flags = 0;
  GuidBytes naming_context_guid{};
  GuidBytes source_guid{};
  GuidBytes source_invocation{};
  GuidBytes transport_guid{};
  std::int64_t synced_usn = 0;
  std::int64_t filter_usn = 0;
  std::uint64_t last_success = 0;
  std::uint64_t last_attempt = 0;
  std::uint32_t last_result = 0;
  std::uint32_t failures = 0;
};

struct DomainTrust {
  std::string netbios_name;  // empty for none, as the next
  std::string dns_name;
  std::uint32_t flags = 0;  // DS_DOMAIN_DIRECT_OUTBOUND and its kin
  std::uint32_t parent_index = 0;
  std::uint32_t type = 0;
  std::uint32_t attributes = 0;
  std::string sid;  // raw bytes; empty for none
  GuidBytes guid{};
};

class DirectoryServices {
 public:
  virtual ~DirectoryServices() = default;
  virtual Win32Status site_of(std::string_view computer, std::string& site) = 0;
  // client_site: of the computer that asks; empty when it is in none.
  virtual Win32Status find_controller(const LocatorQuestion& question, LocatedController& found,
                                      std::string& client_site) = 0;
  // Whether the controller, or with an empty name any of the domain, can be bound; full_name is
  // then its own.
  virtual Win32Status bind(std::string_view controller, std::string_view domain,
                           std::string& full_name) = 0;
  // Every controller of the forest that is known here, with those that do not answer.
  virtual std::vector<LocatedController> controllers() = 0;
  virtual Win32Status neighbours(std::string_view server, std::vector<ReplicaNeighbour>& found) = 0;
  virtual Win32Status trusts(std::string_view server, std::vector<DomainTrust>& found) = 0;
};

}  // namespace platform
