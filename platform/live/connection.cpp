#include "platform/live/connection.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <utility>

#include "platform/live/broken_pipe.h"
#include "platform/live/decode.h"
#include "platform/live/ldap_error.h"

namespace platform::live {
namespace {

// What controllers allow by default; larger pages are cut to it by the server anyway.
constexpr ber_int_t kPageSize = 1000;

struct FreeMessage {
  void operator()(LDAPMessage* message) const { ldap_msgfree(message); }
};
using Message = std::unique_ptr<LDAPMessage, FreeMessage>;

struct FreeControl {
  void operator()(LDAPControl* control) const { ldap_control_free(control); }
};
using Control = std::unique_ptr<LDAPControl, FreeControl>;

int ldap_scope(SearchScope scope) {
  switch (scope) {
    case SearchScope::kBase:
      return LDAP_SCOPE_BASE;
    case SearchScope::kOneLevel:
      return LDAP_SCOPE_ONELEVEL;
    default:
      return LDAP_SCOPE_SUBTREE;
  }
}

std::string diagnostic_of(LDAP* handle) {
  if (handle == nullptr) return {};
  char* text = nullptr;
  if (ldap_get_option(handle, LDAP_OPT_DIAGNOSTIC_MESSAGE, &text) != LDAP_OPT_SUCCESS) return {};
  std::string diagnostic = text == nullptr ? std::string() : std::string(text);
  ldap_memfree(text);
  return diagnostic;
}

// A change in the library's form; borrows its texts from the change.
class Modifications {
 public:
  explicit Modifications(const Change& change) {
    const int operation = change.kind == Change::Kind::kAdd ? LDAP_MOD_ADD : LDAP_MOD_REPLACE;
    values_.reserve(change.attributes.size());
    pointers_.reserve(change.attributes.size());
    modifications_.reserve(change.attributes.size());
    for (const Attribute& attribute : change.attributes) {
      // No values take an attribute away, and of a new object there is nothing to take.
      if (attribute.values.empty() && operation == LDAP_MOD_ADD) continue;
      std::vector<berval>& values = values_.emplace_back();
      for (const std::string& value : attribute.values) {
        values.push_back({value.size(), const_cast<char*>(value.data())});
      }
      std::vector<berval*>& pointers = pointers_.emplace_back();
      for (berval& value : values) pointers.push_back(&value);
      pointers.push_back(nullptr);
      LDAPMod& modification = modifications_.emplace_back();
      modification.mod_op = operation | LDAP_MOD_BVALUES;
      modification.mod_type = const_cast<char*>(attribute.name.c_str());
      modification.mod_bvalues = pointers.data();
      list_.push_back(&modification);
    }
    list_.push_back(nullptr);
  }
  Modifications(const Modifications&) = delete;
  Modifications& operator=(const Modifications&) = delete;

  LDAPMod** get() const { return const_cast<LDAPMod**>(list_.data()); }

 private:
  std::vector<std::vector<berval>> values_;
  std::vector<std::vector<berval*>> pointers_;
  std::vector<LDAPMod> modifications_;
  std::vector<LDAPMod*> list_;
};

// Kerberos takes everything from the ticket; the library must ask a person nothing.
int answer_nothing(LDAP*, unsigned, void*, void*) { return LDAP_SUCCESS; }

int set_tls(LDAP* handle, const Options& options) {
  int demand = options.tls_verify ? LDAP_OPT_X_TLS_DEMAND : LDAP_OPT_X_TLS_NEVER;
  int code = ldap_set_option(handle, LDAP_OPT_X_TLS_REQUIRE_CERT, &demand);
  if (code == LDAP_OPT_SUCCESS && !options.tls_ca_file.empty()) {
    code = ldap_set_option(handle, LDAP_OPT_X_TLS_CACERTFILE, options.tls_ca_file.c_str());
  }
  // The settings above count only for a context made after them.
  int client = 0;
  if (code == LDAP_OPT_SUCCESS) code = ldap_set_option(handle, LDAP_OPT_X_TLS_NEWCTX, &client);
  return code;
}

// Without the first time-out a lost network, and without the second a frozen server, would hold the
// collector for minutes.
int set_options(LDAP* handle, const Options& options) {
  const int version = LDAP_VERSION3;
  const timeval timeout{options.timeout_s, 0};
  int code = ldap_set_option(handle, LDAP_OPT_PROTOCOL_VERSION, &version);
  for (const int option : {LDAP_OPT_NETWORK_TIMEOUT, LDAP_OPT_TIMEOUT}) {
    if (code == LDAP_OPT_SUCCESS) code = ldap_set_option(handle, option, &timeout);
  }
  if (code == LDAP_OPT_SUCCESS) code = ldap_set_option(handle, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  if (code == LDAP_OPT_SUCCESS) code = ldap_set_option(handle, LDAP_OPT_RESTART, LDAP_OPT_ON);
  // Kerberos must ask for the name it was given, not for what a reverse lookup makes of it.
  if (code == LDAP_OPT_SUCCESS) {
    code = ldap_set_option(handle, LDAP_OPT_X_SASL_NOCANON, LDAP_OPT_ON);
  }
  return code;
}

}  // namespace

void Connection::Unbind::operator()(LDAP* handle) const {
  const BrokenPipeGuard guard;
  ldap_unbind_ext(handle, nullptr, nullptr);
}

Connection::Connection(Address address, Options options)
    : address_(std::move(address)),
      options_(std::move(options)),
      connected_{limit_waits, forget, this} {}

// The library polls with a time-out and then reads without one. A server that freezes behind the
// first half of a message is only bounded by the socket itself.
int Connection::limit_waits(LDAP*, Sockbuf* buffer, LDAPURLDesc*, sockaddr*,
                            ldap_conncb* callback) {
  Connection& self = *static_cast<Connection*>(callback->lc_arg);
  const timeval timeout{self.options_.timeout_s, 0};
  ber_socket_t socket = -1;
  ber_sockbuf_ctrl(buffer, LBER_SB_OPT_GET_FD, &socket);
  setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
  setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &timeout, sizeof timeout);
  if (self.handshake_ != nullptr) self.handshake_->watch(socket);
  return LDAP_SUCCESS;
}

void Connection::forget(LDAP*, Sockbuf*, ldap_conncb*) {}

std::string Connection::last_failure() const {
  const std::lock_guard guard(lock_);
  return last_failure_;
}

int Connection::note_failure(int code, LDAP* handle) {
  last_failure_ = explain(code, diagnostic_of(handle), address_.uri());
  return code;
}

int Connection::bind(LDAP* handle) const {
  if (address_.transport == Transport::kLdapi) return LDAP_SUCCESS;
  if (!options_.bind_dn.empty()) {
    berval password{options_.bind_password.size(),
                    const_cast<char*>(options_.bind_password.data())};
    return ldap_sasl_bind_s(handle, options_.bind_dn.c_str(), LDAP_SASL_SIMPLE, &password, nullptr,
                            nullptr, nullptr);
  }
  // Over plain ldap at least signing; inside TLS neither, which controllers refuse there, but tied
  // to the TLS channel, which they may demand.
  const bool encrypted = address_.transport == Transport::kLdaps;
  ldap_set_option(handle, LDAP_OPT_X_SASL_SECPROPS, encrypted ? "maxssf=0" : "minssf=1");
  if (encrypted) {
    int binding = LDAP_OPT_X_SASL_CBINDING_TLS_ENDPOINT;
    ldap_set_option(handle, LDAP_OPT_X_SASL_CBINDING, &binding);
  }
  return ldap_sasl_interactive_bind_s(handle, nullptr, "GSSAPI", nullptr, nullptr, LDAP_SASL_QUIET,
                                      answer_nothing, nullptr);
}

int Connection::bind_in_time(LDAP* handle) {
  if (address_.transport != Transport::kLdaps) return bind(handle);
  HandshakeLimit limit{std::chrono::seconds(options_.timeout_s)};
  handshake_ = &limit;
  const int code = bind(handle);
  handshake_ = nullptr;
  return code != LDAP_SUCCESS && limit.expired() ? LDAP_TIMEOUT : code;
}

int Connection::connect() {
  LDAP* raw = nullptr;
  int code = ldap_initialize(&raw, address_.uri().c_str());
  Handle handle(raw);
  if (code != LDAP_SUCCESS) return note_failure(code, nullptr);
  if (set_options(raw, options_) != LDAP_OPT_SUCCESS ||
      ldap_set_option(raw, LDAP_OPT_CONNECT_CB, &connected_) != LDAP_OPT_SUCCESS ||
      (address_.transport == Transport::kLdaps && set_tls(raw, options_) != LDAP_OPT_SUCCESS)) {
    return note_failure(LDAP_LOCAL_ERROR, raw);
  }
  code = bind_in_time(raw);
  if (code != LDAP_SUCCESS) return note_failure(code, raw);
  handle_ = std::move(handle);
  ++generation_;
  return LDAP_SUCCESS;
}

int Connection::ask(const Question& question, std::vector<Entry>& entries) {
  const std::lock_guard guard(lock_);
  return ask_once_more_if_stale(question, nullptr, entries);
}

int Connection::ask_page(const Question& question, Bookmark& bookmark,
                         std::vector<Entry>& entries) {
  const std::lock_guard guard(lock_);
  if (bookmark.connection == 0) return ask_once_more_if_stale(question, &bookmark, entries);
  if (handle_ == nullptr || bookmark.connection != generation_) {
    last_failure_ = address_.uri() + ": the connection that the walk began on is gone";
    return LDAP_SERVER_DOWN;
  }
  return exchange(question, &bookmark, entries);
}

// A server that went away and came back while nobody asked is noticed only now. That is no fault
// of the question, which gets a second chance on a new connection. A server that does not answer in
// time gets none: the caller would wait twice.
int Connection::ask_once_more_if_stale(const Question& question, Bookmark* bookmark,
                                       std::vector<Entry>& entries) {
  const bool had_connection = handle_ != nullptr;
  const std::size_t before = entries.size();
  int code = exchange(question, bookmark, entries);
  if (had_connection && code == LDAP_SERVER_DOWN && entries.size() == before) {
    code = exchange(question, bookmark, entries);
  }
  return code;
}

int Connection::exchange(const Question& question, Bookmark* bookmark,
                         std::vector<Entry>& entries) {
  const BrokenPipeGuard no_signal;
  if (handle_ == nullptr) {
    const int code = connect();
    if (code != LDAP_SUCCESS) return code;
  }
  std::vector<char*> names;
  for (const std::string& name : question.names) names.push_back(const_cast<char*>(name.c_str()));
  names.push_back(nullptr);

  Control page;
  if (bookmark != nullptr) {
    berval cookie{bookmark->cookie.size(), bookmark->cookie.data()};
    LDAPControl* raw = nullptr;
    if (ldap_create_page_control(handle_.get(), kPageSize, &cookie, 1, &raw) != LDAP_SUCCESS) {
      return note_failure(LDAP_NO_MEMORY, handle_.get());
    }
    page.reset(raw);
    bookmark->connection = generation_;
  }
  LDAPControl* controls[] = {page.get(), nullptr};
  int message_id = 0;
  int code =
      ldap_search_ext(handle_.get(), question.base.c_str(), ldap_scope(question.scope),
                      question.filter.c_str(), question.names.empty() ? nullptr : names.data(), 0,
                      controls, nullptr, nullptr, LDAP_NO_LIMIT, &message_id);
  if (code == LDAP_SUCCESS) {
    code = receive(message_id, bookmark, entries);
  } else {
    note_failure(code, handle_.get());
  }
  if (connection_is_lost(code)) handle_.reset();
  return code;
}

int Connection::write(const Change& change) {
  const std::lock_guard guard(lock_);
  const BrokenPipeGuard no_signal;
  if (handle_ == nullptr) {
    const int code = connect();
    if (code != LDAP_SUCCESS) return code;
  }
  int message_id = 0;
  int code = send(change, message_id);
  if (code == LDAP_SUCCESS) {
    std::vector<Entry> none;
    code = receive(message_id, nullptr, none);
  } else {
    note_failure(code, handle_.get());
  }
  if (connection_is_lost(code)) handle_.reset();
  return code;
}

int Connection::send(const Change& change, int& message_id) {
  LDAP* handle = handle_.get();
  if (change.kind == Change::Kind::kRemove) {
    return ldap_delete_ext(handle, change.dn.c_str(), nullptr, nullptr, &message_id);
  }
  const Modifications modifications(change);
  return change.kind == Change::Kind::kAdd
             ? ldap_add_ext(handle, change.dn.c_str(), modifications.get(), nullptr, nullptr,
                            &message_id)
             : ldap_modify_ext(handle, change.dn.c_str(), modifications.get(), nullptr, nullptr,
                               &message_id);
}

// The time-out counts from one message to the next: a server that is slow and alive may take as
// long as it needs for a page.
int Connection::receive(int message_id, Bookmark* bookmark, std::vector<Entry>& entries) {
  LDAP* handle = handle_.get();
  for (;;) {
    timeval timeout{options_.timeout_s, 0};
    LDAPMessage* raw = nullptr;
    const int type = ldap_result(handle, message_id, LDAP_MSG_ONE, &timeout, &raw);
    const Message message(raw);
    if (type == 0) {
      ldap_abandon_ext(handle, message_id, nullptr, nullptr);
      return note_failure(LDAP_TIMEOUT, nullptr);
    }
    if (type < 0) {
      int code = LDAP_SERVER_DOWN;
      ldap_get_option(handle, LDAP_OPT_RESULT_CODE, &code);
      return note_failure(code == LDAP_SUCCESS ? LDAP_SERVER_DOWN : code, handle);
    }
    if (type == LDAP_RES_SEARCH_ENTRY) {
      if (!decode_entry(handle, raw, entries)) return note_failure(LDAP_DECODING_ERROR, handle);
    } else if (type != LDAP_RES_SEARCH_REFERENCE && type != LDAP_RES_INTERMEDIATE) {
      return finish(raw, bookmark);  // of a search or of a change
    }
    // The rest is a reference to another context or server; those are not followed.
  }
}

int Connection::finish(LDAPMessage* message, Bookmark* bookmark) {
  int code = LDAP_OTHER;
  char* text = nullptr;
  LDAPControl** controls = nullptr;
  if (ldap_parse_result(handle_.get(), message, &code, nullptr, &text, nullptr, &controls, 0) !=
      LDAP_SUCCESS) {
    code = LDAP_DECODING_ERROR;
  }
  if (code != LDAP_SUCCESS) {
    last_failure_ = explain(code, text == nullptr ? std::string() : text, address_.uri());
  }
  ldap_memfree(text);
  if (bookmark != nullptr) {
    bookmark->cookie.clear();
    LDAPControl* page = ldap_control_find(LDAP_CONTROL_PAGEDRESULTS, controls, nullptr);
    berval cookie{0, nullptr};
    ber_int_t estimate = 0;
    if (page != nullptr &&
        ldap_parse_pageresponse_control(handle_.get(), page, &estimate, &cookie) == LDAP_SUCCESS) {
      bookmark->cookie.assign(cookie.bv_val == nullptr ? "" : cookie.bv_val, cookie.bv_len);
      ldap_memfree(cookie.bv_val);
    }
    bookmark->at_end = bookmark->cookie.empty();
  }
  ldap_controls_free(controls);
  return code;
}

}  // namespace platform::live
