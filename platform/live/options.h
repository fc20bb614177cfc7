#pragma once
// How a live directory is reached: what its address says and what the environment adds.
//
//   DIRWATCH_LDAP_TIMEOUT        seconds that a question may wait for its answer (10)
//   DIRWATCH_BIND_DN             simple bind as this name instead of Kerberos
//   DIRWATCH_BIND_PASSWORD_FILE  file with that name's password, for its owner's eyes only
//   DIRWATCH_ALLOW_PLAIN_BIND=1  allow a simple bind over ldap://, readable on the wire
//   DIRWATCH_TLS_CA              file of the authority that issued the server's certificate
//   DIRWATCH_TLS_VERIFY=no       take any certificate

#include <string>

namespace platform::live {

enum class Transport { kLdap, kLdaps, kLdapi };

struct Address {
  Transport transport = Transport::kLdap;
  std::string host;  // for ldapi the escaped path of the socket
  int port = 0;      // 0: the transport's own

  std::string uri() const;
};

// ldap://host[:port], ldaps://host[:port], ldapi://%2Fpath. Throws ControllerError.
Address parse_address(const std::string& url);

struct Options {
  int timeout_s = 10;
  std::string bind_dn;  // empty: Kerberos
  std::string bind_password;
  std::string tls_ca_file;
  bool tls_verify = true;
};

// Reads the environment. Throws ControllerError for a value that cannot be meant, for a password
// file that others may read, and for a simple bind that this transport would show to the network.
Options read_options(Transport transport);

}  // namespace platform::live
