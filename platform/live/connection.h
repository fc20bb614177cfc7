#pragma once
// One connection to one server under one identity. It is made at the first question, kept, and made
// again at the next question after it broke. Any thread may ask; a lock lets one question at a time
// through, so a server sees one conversation however many collectors run.
//
// Answers are taken over page by page and a page is whole before the lock is let go: walks may be
// nested on one connection, and what a page brought stays good when the server goes away.

#include <ldap.h>

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/controller.h"
#include "platform/live/handshake_limit.h"
#include "platform/live/options.h"

namespace platform::live {

struct Question {
  std::string base;
  SearchScope scope = SearchScope::kBase;
  std::string filter = "(objectClass=*)";
  std::vector<std::string> names;  // none: all attributes that a plain read gives
};

// A change of one object. Of a modified one each attribute has exactly these values from then on.
struct Change {
  enum class Kind { kAdd, kModify, kRemove };
  Kind kind = Kind::kModify;
  std::string dn;
  std::vector<Attribute> attributes;
};

// Where a paged walk stands. The server keeps its side of it with the connection, so a walk cannot
// go on over another one.
struct Bookmark {
  std::string cookie;
  std::uint64_t connection = 0;  // 0: the walk has not begun
  bool at_end = false;
};

class Connection {
 public:
  Connection(Address address, Options options);
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  const Address& address() const { return address_; }

  // Asks without pages and appends what comes. An LDAP result code.
  int ask(const Question& question, std::vector<Entry>& entries);

  // Appends the page at the bookmark and moves it. On an error the entries that arrived before it
  // are appended all the same.
  int ask_page(const Question& question, Bookmark& bookmark, std::vector<Entry>& entries);

  // An LDAP result code. A connection found broken only now gets no second chance: nobody could
  // tell whether the change had been made.
  int write(const Change& change);

  // What the last failed question of this connection came to, for people.
  std::string last_failure() const;

 private:
  struct Unbind {
    void operator()(LDAP* handle) const;
  };
  using Handle = std::unique_ptr<LDAP, Unbind>;

  // With lock_ held.
  int connect();
  int bind_in_time(LDAP* handle);
  int bind(LDAP* handle) const;
  int exchange(const Question& question, Bookmark* bookmark, std::vector<Entry>& entries);
  int receive(int message_id, Bookmark* bookmark, std::vector<Entry>& entries);
  int finish(LDAPMessage* message, Bookmark* bookmark);
  int ask_once_more_if_stale(const Question& question, Bookmark* bookmark,
                             std::vector<Entry>& entries);
  int send(const Change& change, int& message_id);
  int note_failure(int code, LDAP* handle);

  static int limit_waits(LDAP* handle, Sockbuf* buffer, LDAPURLDesc* server, sockaddr* peer,
                         ldap_conncb* callback);
  static void forget(LDAP* handle, Sockbuf* buffer, ldap_conncb* callback);

  const Address address_;
  const Options options_;
  HandshakeLimit* handshake_ = nullptr;  // guarded by lock_; set while a ldaps connection is made
  ldap_conncb connected_;                // called by the library with every socket it opens

  mutable std::mutex lock_;
  Handle handle_;                 // guarded by lock_; null while not connected
  std::uint64_t generation_ = 0;  // guarded by lock_; grows with every connection made
  std::string last_failure_;      // guarded by lock_
};

}  // namespace platform::live
