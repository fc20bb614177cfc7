#include "platform/kernel/local_machine.h"

#include "platform/recorded/utf8.h"

namespace platform {

bool is_local_machine(const Controller* controller, std::string_view machine) {
  while (machine.starts_with('\\')) machine.remove_prefix(1);
  if (machine.empty()) return true;
  if (controller == nullptr) return false;
  const MachineFacts& facts = controller->machine();
  return equal_without_case(machine, facts.host_name) ||
         equal_without_case(machine, facts.host_name + "." + facts.dns_suffix);
}

}  // namespace platform
