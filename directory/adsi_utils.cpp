#include "directory/adsi_utils.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string>
#include <string_view>

#include "directory/patterns.h"

using directory::AdsPath;
using directory::bind_object;
using directory::copy_out;
using directory::Reference;
using directory::text_of;
using directory::Variant;
using directory::view;

namespace {

// The sizes of the conversions' work buffers; longer names are cut at them.
constexpr std::size_t kLdapNameSize = 225;
constexpr std::size_t kDnsNameSize = 128;
constexpr std::size_t kComponentSize = 64;
// "20110102030405.0Z", a newline and the zero end.
constexpr std::size_t kTimeTextSize = 19;

void trace_object_error(const trace::Scope& trace) {
  // The last system error is what is told here, not the result of the directory call.
  trace.error()("Error number %x\n", unsigned(GetLastError()));
  trace.error()("ADSI_OBJECT_ERR\n");
}

// One attribute of a server's root object.
int read_root(const trace::Scope& trace, const char* server, std::string_view attribute,
              std::string& text) {
  const AdsPath<200> path(trace, L"LDAP://%S/rootDSE", {view(server)});
  trace.detail()("Root DSE Object: %s\n", path.narrow().c_str());
  Reference<IADs> root;
  Variant value;
  if (FAILED(bind_object(path.wide(), root)) || !root ||
      FAILED(directory::read(root.get(), attribute, value))) {
    trace_object_error(trace);
    return ADSI_OBJECT_ERR;
  }
  text = text_of(value);
  return 0;
}

// The name's part at most as long as a work buffer of that size holds.
std::string_view within(const trace::Scope& trace, std::string_view name, std::size_t size) {
  if (name.size() < size) return name;
  trace.error()("Name of %zu characters cut to %zu", name.size(), size - 1);
  return name.substr(0, size - 1);
}

// The next run of characters other than an equals sign, as the runtime's tokeniser cuts: several
// signs in a row count as one.
bool next_token(std::string_view& rest, std::string_view& token) {
  rest.remove_prefix(std::min(rest.find_first_not_of('='), rest.size()));
  if (rest.empty()) return false;
  token = rest.substr(0, rest.find('='));
  rest.remove_prefix(token.size());
  return true;
}

// Decimal digits at a fixed place of the time text; a short text reads as 0 there.
int digits_at(const std::array<char, kTimeTextSize>& text, std::size_t at, std::size_t count) {
  return std::atoi(std::string(text.data() + at, count).c_str());
}

}  // namespace

int ADSIutils::ConvertDNSToLDAP(const char* dnsName, std::span<char> ldapName) {
  DCW_TRACE("ConvertDNSToLDAP");
  const std::string_view name = view(dnsName);
  if (name.empty()) {
    copy_out(trace, ldapName, "");
    trace.detail()("Error: DNSDomainName is empty or null");
    return trace.returns(-1);
  }
  if (name.find('=') != name.npos) {
    copy_out(trace, ldapName, "");
    trace.detail()("Error: DNSDomainName %s not in DNS format", dnsName);
    return trace.returns(-1);
  }
  trace.detail()("DNSDomainName = %s", dnsName);
  std::string components;
  for (const char c : name) c == '.' ? components.append(",DC=") : components.append(1, c);
  const std::string result = std::string("DC=").append(within(trace, components, kLdapNameSize));
  copy_out(trace, ldapName, result);
  trace.detail()("LDAPDomainName = %s", ldapName.empty() ? "" : ldapName.data());
  return trace.returns(0);
}

int ADSIutils::ConvertLDAPToDNS(const char* ldapName, std::span<char> dnsName) {
  DCW_TRACE("ConvertLDAPToDNS");
  const std::string_view name = view(ldapName);
  if (name.empty()) {
    copy_out(trace, dnsName, "");
    trace.detail()("Error: LDAPDomainName is empty or null");
    return trace.returns(-1);
  }
  if (name.find('.') != name.npos) {
    copy_out(trace, dnsName, "");
    trace.detail()("Error: LDAPDomainName %s not in LDAP format", ldapName);
    return trace.returns(-1);
  }
  trace.detail()("LDAPDomainName = %s", ldapName);
  std::string_view rest = within(trace, name, kDnsNameSize);
  std::string_view token;
  std::string result;
  next_token(rest, token);  // the first attribute type
  while (next_token(rest, token)) {
    const std::string_view component =
        within(trace, token.substr(0, token.find_first_of(", ")), kComponentSize);
    if (component.empty()) continue;
    if (!result.empty()) result.append(1, '.');
    result.append(component);
  }
  copy_out(trace, dnsName, result);
  trace.detail()("DNSDomainName = %s", dnsName.empty() ? "" : dnsName.data());
  return trace.returns(0);
}

int ADSIutils::GetAttributeValue(const char* distinguishedName, const char* attributeName,
                                 std::span<char> value) {
  DCW_TRACE("GetAttributeValue");
  if (distinguishedName == nullptr) {
    trace.detail()("Error: DistinguishedNameOfObject is empty or null");
    return trace.returns(-1);
  }
  if (attributeName == nullptr) {
    trace.detail()("Error: AttributeNameOfObject is empty or null");
    return trace.returns(-1);
  }
  const AdsPath<1024> path(trace, L"LDAP://%S", {distinguishedName});
  Reference<IADs> object;
  if (FAILED(bind_object(path.wide(), object)) || !object) {
    trace.detail()("Error: Unable to get object");
    return trace.returns(-1);
  }
  Variant read_value;
  if (FAILED(directory::read(object.get(), attributeName, read_value))) {
    trace.detail()("Error: Unable to fetch attribute value");
    return trace.returns(-1);
  }
  // Deliberately without a look at the value's type: of any other value the low 32 bits of its slot
  // come out as a number.
  copy_out(trace, value, std::to_string(read_value.get().lVal) + "\n");
  return trace.returns(0);
}

int ADSIutils::GetRootDSETime(const char* server, std::tm& time) {
  DCW_TRACE("GetRootDSETime");
  std::string current;
  if (read_root(trace, server, "currentTime", current) != 0) return trace.returns(ADSI_OBJECT_ERR);
  std::array<char, kTimeTextSize> text{};
  copy_out(trace, text, current + "\n");
  time = {};
  time.tm_sec = digits_at(text, 12, 2);
  time.tm_min = digits_at(text, 10, 2);
  // Deliberately an hour ahead: the replication latency is the difference of two such times, in
  // which the hour cancels, and it must be in both.
  time.tm_hour = digits_at(text, 8, 2) + 1;
  time.tm_mday = digits_at(text, 6, 2);
  time.tm_mon = digits_at(text, 4, 2) - 1;
  time.tm_year = digits_at(text, 0, 4) - 1900;
  time.tm_isdst = -1;
  std::mktime(&time);
  return trace.returns(0);
}

int ADSIutils::GetForestName(const char* server, std::span<char> forestName) {
  DCW_TRACE("GetForestName");
  std::string context;
  if (read_root(trace, server, "rootDomainNamingContext", context) != 0) {
    return trace.returns(ADSI_OBJECT_ERR);
  }
  copy_out(trace, forestName, context + "\n");
  return trace.returns(0);
}
