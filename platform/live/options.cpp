#include "platform/live/options.h"

#include <strings.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>
#include <string_view>

#include "platform/controller.h"
#include "platform/live/environment_text.h"

namespace platform::live {
namespace {

constexpr std::string_view kSchemes[] = {"ldap://", "ldaps://", "ldapi://"};

std::string read_password(const std::string& file) {
  struct stat status {};
  if (::stat(file.c_str(), &status) != 0) {
    throw ControllerError("DIRWATCH_BIND_PASSWORD_FILE: cannot read '" + file + "'");
  }
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw ControllerError("DIRWATCH_BIND_PASSWORD_FILE: others may read '" + file +
                          "'; chmod 600 it");
  }
  std::ifstream stream(file, std::ios::binary);
  std::string password{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) throw ControllerError("DIRWATCH_BIND_PASSWORD_FILE: cannot read '" + file + "'");
  while (!password.empty() && (password.back() == '\n' || password.back() == '\r')) {
    password.pop_back();
  }
  // A bind with a name and no password is an anonymous one, which would look like success.
  if (password.empty()) throw ControllerError("the password file '" + file + "' is empty");
  return password;
}

}  // namespace

std::string Address::uri() const {
  std::string text{kSchemes[static_cast<int>(transport)]};
  text += host;
  if (port != 0) text += ":" + std::to_string(port);
  return text;
}

Address parse_address(const std::string& url) {
  const auto refuse = [&url](const std::string& reason) {
    throw ControllerError("address '" + url + "': " + reason +
                          "; write ldap://host[:port], ldaps://host[:port] or ldapi://%2Fpath");
  };
  Address address;
  std::string_view rest;
  for (const Transport transport : {Transport::kLdap, Transport::kLdaps, Transport::kLdapi}) {
    const std::string_view scheme = kSchemes[static_cast<int>(transport)];
    if (strncasecmp(url.c_str(), scheme.data(), scheme.size()) == 0) {
      address.transport = transport;
      rest = std::string_view(url).substr(scheme.size());
    }
  }
  while (rest.ends_with('/')) rest.remove_suffix(1);
  if (rest.empty()) refuse("it names no server");
  if (rest.find('/') != std::string_view::npos) refuse("nothing may follow the server");
  // An IPv6 address stands in brackets, so that its colons are not taken for the port's.
  const auto colon = rest.rfind(':');
  const auto bracket = rest.rfind(']');
  const bool has_port = address.transport != Transport::kLdapi && colon != std::string_view::npos &&
                        (bracket == std::string_view::npos || colon > bracket);
  if (has_port && !read_number(rest.substr(colon + 1), 1, 65535, address.port)) {
    refuse("the port is not a number from 1 to 65535");
  }
  address.host = has_port ? rest.substr(0, colon) : rest;
  if (address.host.empty()) refuse("it names no server");
  return address;
}

Options read_options(Transport transport) {
  Options options;
  options.timeout_s = seconds_from_environment("DIRWATCH_LDAP_TIMEOUT", options.timeout_s, 3600);
  options.tls_ca_file = environment("DIRWATCH_TLS_CA");
  const std::string verify = environment("DIRWATCH_TLS_VERIFY");
  if (!verify.empty() && verify != "yes" && verify != "no") {
    throw ControllerError("DIRWATCH_TLS_VERIFY=" + verify + ": give yes or no");
  }
  options.tls_verify = verify != "no";
  options.bind_dn = environment("DIRWATCH_BIND_DN");
  if (options.bind_dn.empty() || transport == Transport::kLdapi) return options;
  if (transport == Transport::kLdap && environment("DIRWATCH_ALLOW_PLAIN_BIND") != "1") {
    throw ControllerError(
        "DIRWATCH_BIND_DN over ldap:// would send the password readable; use ldaps://, or Kerberos "
        "(unset DIRWATCH_BIND_DN), or set DIRWATCH_ALLOW_PLAIN_BIND=1");
  }
  const std::string file = environment("DIRWATCH_BIND_PASSWORD_FILE");
  if (file.empty()) {
    throw ControllerError(
        "DIRWATCH_BIND_DN is set; name its password's file in "
        "DIRWATCH_BIND_PASSWORD_FILE");
  }
  options.bind_password = read_password(file);
  return options;
}

}  // namespace platform::live
