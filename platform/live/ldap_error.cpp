#include "platform/live/ldap_error.h"

#include <ldap.h>

#include <array>
#include <cctype>
#include <utility>

namespace platform::live {
namespace {

constexpr DirectoryResult win32_result(std::uint32_t error) {
  return static_cast<DirectoryResult>(0x80070000u | error);
}

constexpr std::array kResults{
    std::pair{LDAP_SUCCESS, kDirectoryOk},
    std::pair{LDAP_OPERATIONS_ERROR, kDirectoryOperations},
    std::pair{LDAP_PROTOCOL_ERROR, win32_result(0x2021)},
    std::pair{LDAP_TIMELIMIT_EXCEEDED, win32_result(0x2022)},
    std::pair{LDAP_SIZELIMIT_EXCEEDED, win32_result(0x2023)},
    std::pair{LDAP_AUTH_METHOD_NOT_SUPPORTED, win32_result(0x2027)},
    std::pair{LDAP_STRONG_AUTH_REQUIRED, win32_result(0x2028)},
    std::pair{LDAP_REFERRAL, kDirectoryReferral},
    std::pair{LDAP_ADMINLIMIT_EXCEEDED, win32_result(0x2024)},
    std::pair{LDAP_UNAVAILABLE_CRITICAL_EXTENSION, win32_result(0x202C)},
    std::pair{LDAP_CONFIDENTIALITY_REQUIRED, win32_result(0x202D)},
    std::pair{LDAP_NO_SUCH_ATTRIBUTE, win32_result(0x200A)},
    std::pair{LDAP_UNDEFINED_TYPE, win32_result(0x200C)},
    std::pair{LDAP_TYPE_OR_VALUE_EXISTS, win32_result(0x200D)},
    std::pair{LDAP_INVALID_SYNTAX, win32_result(0x200B)},
    std::pair{LDAP_OBJECT_CLASS_VIOLATION, win32_result(0x2014)},
    std::pair{LDAP_NOT_ALLOWED_ON_NONLEAF, kDirectoryNotLeaf},
    std::pair{LDAP_NAMING_VIOLATION, win32_result(0x2037)},
    std::pair{LDAP_CONSTRAINT_VIOLATION, win32_result(0x202F)},
    std::pair{LDAP_NO_SUCH_OBJECT, kDirectoryNoObject},
    std::pair{LDAP_INVALID_DN_SYNTAX, win32_result(0x2032)},
    std::pair{LDAP_INAPPROPRIATE_AUTH, win32_result(0x2029)},
    std::pair{LDAP_INVALID_CREDENTIALS, win32_result(1326)},
    std::pair{LDAP_INSUFFICIENT_ACCESS, kDirectoryAccess},
    std::pair{LDAP_BUSY, win32_result(0x200E)},
    std::pair{LDAP_UNAVAILABLE, win32_result(0x200F)},
    std::pair{LDAP_UNWILLING_TO_PERFORM, win32_result(0x2035)},
    std::pair{LDAP_ALREADY_EXISTS, kDirectoryExists},
    std::pair{LDAP_SERVER_DOWN, kDirectoryServerDown},
    std::pair{LDAP_CONNECT_ERROR, kDirectoryServerDown},
    std::pair{LDAP_LOCAL_ERROR, win32_result(0x203B)},
    std::pair{LDAP_ENCODING_ERROR, win32_result(0x203C)},
    std::pair{LDAP_DECODING_ERROR, win32_result(0x203D)},
    std::pair{LDAP_TIMEOUT, kDirectoryTimeout},
    std::pair{LDAP_AUTH_UNKNOWN, win32_result(0x202A)},
    std::pair{LDAP_FILTER_ERROR, win32_result(0x203E)},
    std::pair{LDAP_PARAM_ERROR, win32_result(0x203F)},
    std::pair{LDAP_NO_MEMORY, win32_result(0x000E)},
    std::pair{LDAP_NOT_SUPPORTED, win32_result(0x2040)},
};

bool contains(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

bool names_an_address(const std::string& address) {
  const auto host = address.find("://");
  return host != std::string::npos && host + 3 < address.size() &&
         std::isdigit(static_cast<unsigned char>(address[host + 3])) != 0;
}

std::string advice(int code, const std::string& diagnostic, const std::string& address) {
  if (contains(diagnostic, "No Kerberos credentials") || contains(diagnostic, "No credentials") ||
      contains(diagnostic, "Ticket expired")) {
    return "get a Kerberos ticket first: kinit USER@REALM (and check KRB5CCNAME)";
  }
  if (contains(diagnostic, "not found in Kerberos database") && names_an_address(address)) {
    return "Kerberos needs the server's full name in the address instead of its number";
  }
  if (contains(diagnostic, "GSSAPI") || contains(diagnostic, "SASL")) {
    return "check the ticket with klist, the clock, and that the name is the server's full one";
  }
  if (contains(diagnostic, "ertificate") || contains(diagnostic, "TLS")) {
    return "name the file of the issuing authority in DIRWATCH_TLS_CA, and use the name that "
           "stands in the certificate; DIRWATCH_TLS_VERIFY=no turns the check off";
  }
  switch (code) {
    case LDAP_SERVER_DOWN:
    case LDAP_CONNECT_ERROR:
      return "check the address, that the server runs, and that the port is open; for ldaps:// "
             "also its certificate and DIRWATCH_TLS_CA";
    case LDAP_TIMEOUT:
      return "the server takes connections and does not answer; DIRWATCH_LDAP_TIMEOUT sets the "
             "seconds to wait";
    case LDAP_INVALID_CREDENTIALS:
      return "check DIRWATCH_BIND_DN and the password in DIRWATCH_BIND_PASSWORD_FILE";
    case LDAP_STRONG_AUTH_REQUIRED:
    case LDAP_CONFIDENTIALITY_REQUIRED:
      return "the server wants a protected connection: use ldaps://, or ldap:// with a ticket";
    case LDAP_AUTH_METHOD_NOT_SUPPORTED:
    case LDAP_AUTH_UNKNOWN:
      return "Kerberos needs the SASL module for GSSAPI (Debian: libsasl2-modules-gssapi-mit)";
    default:
      return {};
  }
}

}  // namespace

DirectoryResult directory_result(int ldap_code) {
  for (const auto& [code, result] : kResults) {
    if (code == ldap_code) return result;
  }
  return win32_result(0x001F);  // a device attached to the system is not functioning: "other"
}

bool connection_is_lost(int ldap_code) {
  return ldap_code == LDAP_SERVER_DOWN || ldap_code == LDAP_CONNECT_ERROR ||
         ldap_code == LDAP_TIMEOUT || ldap_code == LDAP_UNAVAILABLE ||
         ldap_code == LDAP_LOCAL_ERROR || ldap_code == LDAP_DECODING_ERROR ||
         ldap_code == LDAP_ENCODING_ERROR;
}

std::string explain(int ldap_code, const std::string& diagnostic, const std::string& address) {
  std::string text = address + ": " + ldap_err2string(ldap_code);
  if (!diagnostic.empty()) text += " (" + diagnostic + ")";
  const std::string next = advice(ldap_code, diagnostic, address);
  if (!next.empty()) text += "; " + next;
  return text;
}

}  // namespace platform::live
