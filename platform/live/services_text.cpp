#include "platform/live/services_text.h"

#include <nlohmann/json.hpp>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "platform/live/json_text.h"
#include "platform/recorded/utf8.h"
#include "platform/services/service_words.h"

namespace platform {
namespace {

using Json = nlohmann::ordered_json;

Json word(std::uint32_t number, std::span<const ServiceWord> words) {
  for (const ServiceWord& one : words) {
    if (one.number == number) return one.word;
  }
  return number;
}

void add_text(Json& object, const char* key, const std::string& text) {
  if (!text.empty()) object[key] = text;
}

void add_number(Json& object, const char* key, std::uint32_t number) {
  if (number != 0) object[key] = number;
}

void add_state(Json& object, const ServiceState& state) {
  object["ServiceType"] = word(state.type, kServiceTypes);
  object["State"] = word(state.state, kServiceStates);
  if ((state.controls_accepted & kAcceptStop) != 0) object["AcceptStop"] = true;
  if ((state.controls_accepted & kAcceptPause) != 0) object["AcceptPause"] = true;
  add_number(object, "ExitCode", state.exit_code);
  add_number(object, "ServiceSpecificExitCode", state.specific_exit_code);
  add_number(object, "CheckPoint", state.check_point);
  add_number(object, "WaitHint", state.wait_hint_ms);
  add_number(object, "ProcessId", state.process_id);
}

void add_setup(Json& object, const ServiceSetup& setup) {
  object["StartMode"] = word(setup.start_type, kStartModes);
  object["ErrorControl"] = word(setup.error_control, kErrorControls);
  add_number(object, "TagId", setup.tag);
  add_text(object, "PathName", setup.program);
  add_text(object, "LoadOrderGroup", setup.load_order_group);
  add_text(object, "StartName", setup.account);
  if (!setup.dependencies.empty()) object["Dependencies"] = setup.dependencies;
}

Json written(ServiceManager& manager, const ServiceListing& listed) {
  Json object;
  object["Name"] = listed.name;
  add_text(object, "DisplayName", listed.display_name);
  ServiceState state = listed.state;
  ServiceSetup setup;
  const ServiceError open_error = manager.open(listed.name);
  const ServiceError state_error = manager.state(listed.name, state);
  const ServiceError setup_error = manager.setup(listed.name, setup);
  add_state(object, state);
  add_setup(object, setup);
  add_number(object, "OpenError", open_error);
  add_number(object, "StateError", state_error);
  add_number(object, "SetupError", setup_error);
  return object;
}

}  // namespace

std::string services_text(ServiceManager& manager) {
  std::vector<ServiceListing> listed;
  if (manager.connect() != 0 || manager.list(listed) != 0) return {};
  Json services = Json::array();
  std::set<std::string> names;
  for (const ServiceListing& one : listed) {
    if (names.insert(fold_case(one.name)).second) services.push_back(written(manager, one));
  }
  return json_text(services);
}

}  // namespace platform
