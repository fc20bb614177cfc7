#pragma once
// The directory of a live controller: the questions and writes of platform::Directory put to
// servers over LDAP, one cached connection a server.

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "platform/controller.h"
#include "platform/live/connection.h"

namespace platform::live {

// Finds a controller for a path that names no server; an empty answer means the one of the address.
using Locator = std::function<std::string()>;

class LiveDirectory : public Directory {
 public:
  explicit LiveDirectory(const Address& address);

  // The controller's own full name, "dc1.corp.example": questions to it, by this name, its first
  // part or the domain's, go to the address that was given, whatever kind that is. Called once,
  // before other threads ask.
  void set_own_name(const std::string& full_name);

  DirectoryResult read_root(std::string_view server, Entry& entry) override;
  DirectoryResult read(std::string_view server, std::string_view dn,
                       const std::vector<std::string>& names, Entry& entry) override;
  DirectoryResult search(std::string_view server, std::string_view base, SearchScope scope,
                         std::string_view filter, const std::vector<std::string>& names,
                         std::unique_ptr<EntryCursor>& cursor) override;
  DirectoryResult add(std::string_view server, const Entry& entry) override;
  DirectoryResult modify(std::string_view server, std::string_view dn,
                         const std::vector<Attribute>& attributes) override;
  DirectoryResult remove(std::string_view server, std::string_view dn) override;

  // Why the last question to the controller of the address failed.
  std::string last_failure() const { return primary_->last_failure(); }

 private:
  std::shared_ptr<Connection> connection(std::string_view server);
  DirectoryResult write(std::string_view server, const Change& change);
  bool is_own_name(const std::string& name) const;

  const Address address_;
  const std::shared_ptr<Connection> primary_;
  std::string own_name_;    // lower case
  std::string dns_suffix_;  // lower case
  Locator locator_;         // none yet: the address is the answer

  std::mutex lock_;
  std::map<std::string, std::shared_ptr<Connection>> others_;  // guarded by lock_
};

}  // namespace platform::live
