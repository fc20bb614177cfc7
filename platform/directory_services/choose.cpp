#include "platform/directory_services/choose.h"

#include <tuple>

#include "include/platform/directory_services.h"
#include "platform/recorded/utf8.h"

namespace platform {
namespace {

struct Requirement {
  std::uint32_t asked;
  std::uint32_t role;
};
constexpr Requirement kRequirements[] = {
    {DS_DIRECTORY_SERVICE_REQUIRED, DS_DS_FLAG},
    {DS_GC_SERVER_REQUIRED, DS_GC_FLAG},
    {DS_PDC_REQUIRED, DS_PDC_FLAG},
    {DS_KDC_REQUIRED, DS_KDC_FLAG},
    {DS_TIMESERV_REQUIRED, DS_TIMESERV_FLAG},
    {DS_WRITABLE_REQUIRED, DS_WRITABLE_FLAG},
};

bool has_required_roles(const LocatedController& controller, std::uint32_t asked) {
  for (const Requirement& requirement : kRequirements) {
    if ((asked & requirement.asked) != 0 && (controller.flags & requirement.role) == 0) {
      return false;
    }
  }
  return true;
}

}  // namespace

bool is_named(const LocatedController& controller, std::string_view name) {
  if (name.empty()) return false;
  if (equal_without_case(controller.name, name)) return true;
  return equal_without_case(std::string_view(controller.name).substr(0, controller.name.find('.')),
                            name);
}

const LocatedController* choose_controller(const std::vector<LocatedController>& controllers,
                                           const LocatorQuestion& question, std::string_view domain,
                                           std::string_view site) {
  const bool wants_good_time = (question.flags & DS_GOOD_TIMESERV_PREFERRED) != 0;
  const bool avoids_itself = (question.flags & DS_AVOID_SELF) != 0;
  const auto rank = [&](const LocatedController& one) {
    const bool good_time = (one.flags & DS_GOOD_TIMESERV_FLAG) != 0;
    return std::tuple(wants_good_time && !good_time,
                      is_named(one, question.computer) == avoids_itself,
                      !equal_without_case(one.site, site));
  };
  const LocatedController* best = nullptr;
  for (const LocatedController& one : controllers) {
    if (!one.answers || !equal_without_case(one.domain, domain)) continue;
    if (!has_required_roles(one, question.flags)) continue;
    if (best == nullptr || rank(one) < rank(*best)) best = &one;
  }
  return best;
}

}  // namespace platform
