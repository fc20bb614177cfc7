#include "platform/live/decode.h"

#include <strings.h>

#include <memory>
#include <string_view>
#include <utility>

namespace platform::live {
namespace {

constexpr std::string_view kRange = ";range=";

// A controller cuts very long lists of values and then says so in the name, "member;range=0-1499".
// A plain read answers with the values that came, under the attribute's own name.
std::string_view without_range(std::string_view name) {
  const auto at = name.find(';');
  if (at == std::string_view::npos || name.size() - at < kRange.size()) return name;
  const std::string_view option = name.substr(at, kRange.size());
  return strncasecmp(option.data(), kRange.data(), kRange.size()) == 0 ? name.substr(0, at) : name;
}

}  // namespace

bool decode_entry(LDAP* handle, LDAPMessage* message, std::vector<Entry>& entries) {
  BerElement* reader = nullptr;
  berval text{0, nullptr};
  if (ldap_get_dn_ber(handle, message, &reader, &text) != LDAP_SUCCESS) return false;
  struct FreeReader {
    void operator()(BerElement* element) const { ber_free(element, 0); }
  };
  const std::unique_ptr<BerElement, FreeReader> owner(reader);

  Entry entry;
  entry.dn.assign(text.bv_val, text.bv_len);
  entry.attributes.reserve(24);
  for (;;) {
    berval* values = nullptr;
    // Name and values point into the message; only the array of values is the caller's.
    if (ldap_get_attribute_ber(handle, message, reader, &text, &values) != LDAP_SUCCESS) {
      return false;
    }
    if (text.bv_val == nullptr) break;
    Attribute& attribute = entry.attributes.emplace_back();
    attribute.name = without_range({text.bv_val, text.bv_len});
    for (berval* value = values; value != nullptr && value->bv_val != nullptr; ++value) {
      attribute.values.emplace_back(value->bv_val, value->bv_len);
    }
    ldap_memfree(values);
  }
  entries.push_back(std::move(entry));
  return true;
}

}  // namespace platform::live
