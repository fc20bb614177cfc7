#pragma once
// Conversions between the two spellings of a domain name, small reads of single objects, and the
// marker object by which replication is measured. No
// state: each call goes to the directory, from any thread of the process's apartment. Out buffers
// are the caller's; what does not fit is cut and traced. A failed call leaves them untouched, save
// the two conversions, which empty theirs.

#include <ctime>
#include <span>

#include "directory/result_codes.h"
#include "include/consistency_object.h"

class ADSIutils {
 public:
  // a.b gives DC=a,DC=b. 0, or -1 for a name that is empty or holds an equals sign.
  static int ConvertDNSToLDAP(const char* dnsName, std::span<char> ldapName);
  // DC=a,DC=b gives a.b, whatever the attribute types are. 0, or -1 for a name that is empty or
  // holds a dot.
  static int ConvertLDAPToDNS(const char* ldapName, std::span<char> dnsName);

  // A numeric attribute of an object as decimal text with a newline behind it. 0 or -1.
  static int GetAttributeValue(const char* distinguishedName, const char* attributeName,
                               std::span<char> value);

  // The server's own clock, one hour ahead. 0 or ADSI_OBJECT_ERR.
  static int GetRootDSETime(const char* server, std::tm& time);
  // The forest root's naming context with a newline behind it. 0 or ADSI_OBJECT_ERR.
  static int GetForestName(const char* server, std::span<char> forestName);

  // The consistency object: one a controller, named after it, in the LostAndFound container of the
  // domain given by its distinguished name. It outlives the agent; nothing deletes it. Each: 0,
  // ADSI_CONTAINER_ERR or ADSI_OBJECT_ERR.
  //
  // Reads the object of that name as the server sees it. On failure the fields read before stay.
  static int GetConsistencyObject(const char* server, const char* domain, const char* name,
                                  ConsistencyObject& record);
  // Makes the server's own object with the time now. ADSI_OBJECT_ERR also when it exists.
  static int CreateConsistencyObject(const char* server, const char* domain);
  // Writes the time now into it. 0 also when the change is not committed.
  static int UpdateConsistencyObject(const char* server, const char* domain);
};
