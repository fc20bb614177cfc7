#include "platform/kernel/local_machine.h"

#include <cstdint>
#include <vector>

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

std::string own_full_name(const MachineFacts& machine) {
  return machine.dns_suffix.empty() ? machine.host_name
                                    : machine.host_name + "." + machine.dns_suffix;
}

std::string name_in_dns(Controller& controller, std::string_view host) {
  DnsSource* dns = controller.dns();
  if (dns == nullptr) return {};
  std::string name(host);
  const std::string& suffix = controller.machine().dns_suffix;
  if (name.find('.') == name.npos && !suffix.empty()) name += "." + suffix;
  for (const std::uint16_t type : {std::uint16_t{1}, std::uint16_t{28}}) {
    std::vector<DnsRecord> records;
    if (dns->query(name, type, records) != 0) continue;
    for (const DnsRecord& record : records) {
      if (record.type == type && record.is_answer) return record.name;
    }
  }
  return {};
}

}  // namespace

bool is_local_machine(const Controller* controller, std::string_view machine) {
  while (machine.starts_with('\\')) machine.remove_prefix(1);
  if (machine.empty()) return true;
  if (controller == nullptr) return false;
  const MachineFacts& facts = controller->machine();
  return equal_without_case(machine, facts.host_name) ||
         equal_without_case(machine, facts.host_name + "." + facts.dns_suffix);
}

std::string full_name(Controller& controller, std::string_view host) {
  const MachineFacts& facts = controller.machine();
  const std::string own = own_full_name(facts);
  // As Windows has it, an empty name is the machine's own.
  const bool is_own =
      host.empty() || equal_without_case(host, facts.host_name) || equal_without_case(host, own);
  return is_own ? own : name_in_dns(controller, host);
}

}  // namespace platform
