// Whatever the bytes: a zone file is read or refused with its line, and every name that was read
// can be asked for.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/dns/recorded_dns.h"
#include "platform/dns/zone_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(bytes), size);
  try {
    const std::vector<platform::DnsRecord> records = platform::read_zone(text, "z");
    const auto dns = platform::read_dns(text, "z");
    for (const platform::DnsRecord& record : records) {
      if (record.name.size() > 253 || record.name.ends_with('.')) std::abort();
      std::vector<platform::DnsRecord> found;
      const platform::DnsStatus status = dns->query(record.name, record.type, found);
      if (status != 0 || found.empty()) std::abort();
    }
  } catch (const platform::ControllerError& error) {
    if (std::string(error.what()).rfind("z:", 0) != 0) std::abort();
  }
  return 0;
}
