#pragma once
// The small forest with three controllers in two sites, as the locator and the directory tell it:
// DC1 (Head-Office), DC2 (Branch) and DC9 (Branch), which does not answer.

#include <map>
#include <string>

#include "tests/support/small_recording.h"

namespace testing_support {

inline constexpr const char* kTwoSitesLocator = R"({
  "forest": "corp.example",
  "controllers": [
    {"name": "DC1.corp.example", "address": "10.53.1.11", "site": "Head-Office",
     "flags": ["PDC", "GC", "LDAP", "DS", "KDC", "TIMESERV", "WRITABLE"]},
    {"name": "DC2.corp.example", "address": "10.53.1.12", "site": "Branch",
     "flags": ["LDAP", "DS", "KDC", "TIMESERV", "GOOD_TIMESERV"],
     "domain_guid": "01020304-0506-0708-090a-0b0c0d0e0f10"},
    {"name": "DC9.corp.example", "site": "Branch", "answers": false},
    {"name": "DC1.child.corp.example", "address": "10.53.1.21",
     "flags": ["LDAP", "DS", "WRITABLE"]}
  ]
})";

// A site's settings; options is written as it stands, nothing where it is empty.
inline std::string site_settings(const std::string& site, const std::string& options) {
  const std::string site_dn = "CN=" + site + ",CN=Sites,CN=Configuration,DC=corp,DC=example";
  const std::string dn = "CN=NTDS Site Settings," + site_dn;
  return "\ndn: " + site_dn + "\nobjectClass: top\nobjectClass: site\n\ndn: " + dn +
         "\nobjectClass: top\nobjectClass: nTDSSiteSettings\ndistinguishedName: " + dn + "\n" +
         (options.empty() ? "" : "options: " + options + "\n");
}

inline std::string sites_container() {
  return "\ndn: CN=Sites,CN=Configuration,DC=corp,DC=example\nobjectClass: top\n"
         "objectClass: sitesContainer\n";
}

inline std::string two_sites_forest(const std::string& head_office_options,
                                    const std::string& branch_options) {
  return kSmallForest + sites_container() + site_settings("Head-Office", head_office_options) +
         site_settings("Branch", branch_options);
}

}  // namespace testing_support
