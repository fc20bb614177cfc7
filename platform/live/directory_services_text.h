#pragma once
// The texts of locator.json, replication.json and trusts.json for what the locator, replication and
// trust interfaces of a controller answer: the other direction of
// directory_services/recorded_services.h.
//
// Left out is what the files have no form for: flags without a name, times past the year 9999,
// identifiers that are none. Any thread.

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/directory_services/services.h"

namespace platform {

// What a server answered: the items, or the status with which it refused.
template <typename Item>
struct ServerAnswer {
  Win32Status status = kStatusOk;
  std::vector<Item> items;
};

std::string locator_text(const std::vector<LocatedController>& controllers);
// By the servers' names.
std::string replication_text(const std::map<std::string, ServerAnswer<ReplicaNeighbour>>& servers);
std::string trusts_text(const std::map<std::string, ServerAnswer<DomainTrust>>& servers);

}  // namespace platform
