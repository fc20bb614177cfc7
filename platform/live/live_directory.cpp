#include "platform/live/live_directory.h"

#include <algorithm>
#include <cctype>
#include <utility>

#include "platform/live/ldap_error.h"
#include "trace.h"

namespace platform::live {
namespace {

std::string lower(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return result;
}

void report_failure(const Connection& connection, const Question& question) {
  DCW_TRACE("LiveDirectory::ask");
  trace.error()("LDAP question for <%s> failed: %s\n", question.base.c_str(),
                connection.last_failure().c_str());
}

// An interrupted walk must not look like a complete one to whoever reads the trace.
void report_interrupted_walk(const Connection& connection, const Question& question,
                             std::size_t delivered) {
  DCW_TRACE("LiveCursor::next");
  trace.always()("LDAP walk of <%s> ended early after %zu objects: %s\n", question.base.c_str(),
                 delivered, connection.last_failure().c_str());
}

// Holds one page of a walk at a time.
class LiveCursor : public EntryCursor {
 public:
  LiveCursor(std::shared_ptr<Connection> connection, Question question)
      : connection_(std::move(connection)), question_(std::move(question)) {}

  // The first page, so that a base that is not there is told when the walk is opened.
  DirectoryResult open() {
    fetch();
    if (result_ != kDirectoryOk && page_.empty()) {
      report_failure(*connection_, question_);
      return result_;
    }
    return kDirectoryOk;
  }

  DirectoryResult next(Entry& entry) override {
    while (at_ == page_.size()) {
      if (result_ != kDirectoryOk) {
        if (!reported_) report_interrupted_walk(*connection_, question_, delivered_);
        reported_ = true;
        return result_;
      }
      if (bookmark_.at_end) return kDirectoryEnd;
      fetch();
    }
    entry = std::move(page_[at_++]);
    ++delivered_;
    return kDirectoryOk;
  }

 private:
  void fetch() {
    page_.clear();
    at_ = 0;
    result_ = directory_result(connection_->ask_page(question_, bookmark_, page_));
  }

  const std::shared_ptr<Connection> connection_;
  const Question question_;
  Bookmark bookmark_;
  std::vector<Entry> page_;
  std::size_t at_ = 0;
  std::size_t delivered_ = 0;
  DirectoryResult result_ = kDirectoryOk;  // of the last fetch; its entries come first
  bool reported_ = false;
};

}  // namespace

LiveDirectory::LiveDirectory(const Address& address)
    : address_(address),
      primary_(std::make_shared<Connection>(address, read_options(address.transport))) {}

void LiveDirectory::set_own_name(const std::string& full_name) {
  own_name_ = lower(full_name);
  const auto dot = own_name_.find('.');
  dns_suffix_ = dot == std::string::npos ? std::string() : own_name_.substr(dot + 1);
}

bool LiveDirectory::is_own_name(const std::string& name) const {
  return name == own_name_ || name == own_name_.substr(0, own_name_.find('.')) ||
         name == dns_suffix_ || name == lower(address_.host);
}

std::shared_ptr<Connection> LiveDirectory::connection(std::string_view server) {
  std::string name = lower(server);
  if (name.empty() && locator_) name = lower(locator_());
  if (name.empty() || is_own_name(name)) return primary_;
  if (name.find('.') == std::string::npos && !dns_suffix_.empty()) name += "." + dns_suffix_;

  const std::lock_guard guard(lock_);
  std::shared_ptr<Connection>& known = others_[name];
  if (known == nullptr) {
    Address other;
    // A local socket reaches one server only; the others are asked over the network.
    other.transport =
        address_.transport == Transport::kLdapi ? Transport::kLdap : address_.transport;
    other.host = name;
    known = std::make_shared<Connection>(other, read_options(other.transport));
  }
  return known;
}

DirectoryResult LiveDirectory::read_root(std::string_view server, Entry& entry) {
  return read(server, "", {}, entry);
}

DirectoryResult LiveDirectory::read(std::string_view server, std::string_view dn,
                                    const std::vector<std::string>& names, Entry& entry) try {
  const std::shared_ptr<Connection> asked = connection(server);
  Question question;
  question.base = dn;
  question.names = names;
  std::vector<Entry> entries;
  const int code = asked->ask(question, entries);
  if (code != LDAP_SUCCESS) {
    report_failure(*asked, question);
    return directory_result(code);
  }
  if (entries.empty()) return kDirectoryNoObject;
  entry = std::move(entries.front());
  return kDirectoryOk;
} catch (const ControllerError& error) {
  DCW_TRACE("LiveDirectory::read");
  trace.error()("%s\n", error.what());
  return kDirectoryOperations;
}

DirectoryResult LiveDirectory::search(std::string_view server, std::string_view base,
                                      SearchScope scope, std::string_view filter,
                                      const std::vector<std::string>& names,
                                      std::unique_ptr<EntryCursor>& cursor) try {
  Question question;
  question.base = base;
  question.scope = scope;
  if (!filter.empty()) question.filter = filter;
  question.names = names;
  auto walk = std::make_unique<LiveCursor>(connection(server), std::move(question));
  const DirectoryResult result = walk->open();
  if (result == kDirectoryOk) cursor = std::move(walk);
  return result;
} catch (const ControllerError& error) {
  DCW_TRACE("LiveDirectory::search");
  trace.error()("%s\n", error.what());
  return kDirectoryOperations;
}

DirectoryResult LiveDirectory::add(std::string_view server, const Entry& entry) {
  return write(server, {Change::Kind::kAdd, entry.dn, entry.attributes});
}

DirectoryResult LiveDirectory::modify(std::string_view server, std::string_view dn,
                                      const std::vector<Attribute>& attributes) {
  return write(server, {Change::Kind::kModify, std::string(dn), attributes});
}

DirectoryResult LiveDirectory::remove(std::string_view server, std::string_view dn) {
  return write(server, {Change::Kind::kRemove, std::string(dn), {}});
}

DirectoryResult LiveDirectory::write(std::string_view server, const Change& change) try {
  const std::shared_ptr<Connection> asked = connection(server);
  const int code = asked->write(change);
  if (code != LDAP_SUCCESS) {
    DCW_TRACE("LiveDirectory::write");
    trace.error()("LDAP change of <%s> failed: %s\n", change.dn.c_str(),
                  asked->last_failure().c_str());
  }
  return directory_result(code);
} catch (const ControllerError& error) {
  DCW_TRACE("LiveDirectory::write");
  trace.error()("%s\n", error.what());
  return kDirectoryOperations;
}

}  // namespace platform::live
