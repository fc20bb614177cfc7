// Who holds the five operations-master roles.

#include <array>

#include "directory/dns_utils.h"
#include "directory/patterns.h"

using directory::AdsPath;
using directory::bind_or_trace;
using directory::copy_out;
using directory::read_or_trace;
using directory::Reference;
using directory::view;

namespace {

// The traces of the owner's settings and of its server; formats of one text each.
struct RoleTraces {
  const char* owner = "FSMO Role Owner : %s\n";
  const char* parent = "Parent Object %s;\n";
};

// Text as a work buffer of that size holds it.
template <std::size_t kSize>
int read_in(const trace::Scope& trace, IADs* object, std::string_view attribute,
            std::string& text) {
  std::string whole;
  if (read_or_trace(trace, object, attribute, whole) != 0) return ADSI_OBJECT_ERR;
  std::array<char, kSize> buffer{};
  copy_out(trace, buffer, whole);
  text = buffer.data();
  return 0;
}

// From the object that holds a role's attribute over the owner's settings to the owner's server,
// and the wanted attribute there. kSize is that of the paths and of the narrow texts.
template <std::size_t kSize>
int read_role_owner(const trace::Scope& trace, const AdsPath<kSize>& holder_path,
                    const RoleTraces& traces, std::string_view attribute, std::span<char> out) {
  Reference<IADs> holder;
  if (bind_or_trace(trace, holder_path.wide(), holder) != 0) return ADSI_OBJECT_ERR;
  std::string owner;
  if (read_in<kSize>(trace, holder.get(), "fSMORoleOwner", owner) != 0) return ADSI_OBJECT_ERR;
  trace.detail()(traces.owner, owner.c_str());
  Reference<IADs> settings;
  const AdsPath<kSize> settings_path(trace, L"LDAP://%S", {owner});
  if (bind_or_trace(trace, settings_path.wide(), settings) != 0) return ADSI_OBJECT_ERR;
  std::string parent;
  if (directory::parent_or_trace(trace, settings.get(), parent) != 0) return ADSI_OBJECT_ERR;
  trace.detail()(traces.parent, parent.c_str());
  Reference<IADs> server;
  const AdsPath<kSize> server_path(trace, L"%S", {parent});
  if (bind_or_trace(trace, server_path.wide(), server) != 0) return ADSI_OBJECT_ERR;
  std::string name;
  if (read_or_trace(trace, server.get(), attribute, name) != 0) return ADSI_OBJECT_ERR;
  copy_out(trace, out, name);
  return 0;
}

// The naming context of a server's root object beneath which a role's attribute stands.
int read_context(const trace::Scope& trace, const AdsPath<1024>& root_path,
                 std::string_view attribute, std::string& context) {
  Reference<IADs> root;
  if (bind_or_trace(trace, root_path.wide(), root) != 0) return ADSI_OBJECT_ERR;
  return read_in<1024>(trace, root.get(), attribute, context);
}

}  // namespace

int DNSUtils::GetPDCFSMO(const char* domain, std::span<char> owner, const char* attribute) {
  DCW_TRACE("GetPDCFSMO");
  constexpr RoleTraces kTraces{"NTDS Settings FSMO Role Owner Object: %s\n",
                               "Parent Object of NTDS Settings  %s;\n"};
  const AdsPath<260> holder(trace, L"LDAP://%S", {view(domain)});
  return trace.returns(read_role_owner(trace, holder, kTraces, view(attribute), owner));
}

int DNSUtils::GetRIDFSMO(const char* domain, std::span<char> owner) {
  DCW_TRACE("GetRIDFSMO");
  constexpr RoleTraces kTraces{"FSMO Role Owner: %s\n", "Parent Object: %s;\n"};
  const AdsPath<1024> holder(trace, L"LDAP://CN=RID Manager$,CN=System,%S", {view(domain)});
  return trace.returns(read_role_owner(trace, holder, kTraces, "cn", owner));
}

int DNSUtils::GetInfrastructureFSMO(const char* domain, std::span<char> owner) {
  DCW_TRACE("GetInfrastructureFSMO");
  const AdsPath<1024> holder(trace, L"LDAP://CN=Infrastructure,%S", {view(domain)});
  return trace.returns(read_role_owner(trace, holder, {}, "cn", owner));
}

int DNSUtils::GetSchemaFSMO(const char* server, std::span<char> owner) {
  DCW_TRACE("GetSchemaFSMO");
  const AdsPath<1024> root(trace, L"LDAP://%S/rootDSE", {view(server)});
  std::string schema;
  if (read_context(trace, root, "schemaNamingContext", schema) != 0) {
    return trace.returns(ADSI_OBJECT_ERR);
  }
  const AdsPath<1024> holder(trace, L"LDAP://%S", {schema});
  trace.detail()("Query for dMD Object: %s\n", holder.narrow().c_str());
  return trace.returns(read_role_owner(trace, holder, {}, "cn", owner));
}

int DNSUtils::GetDomainNamingFSMO(const char* server, std::span<char> owner) {
  DCW_TRACE("GetDomainNamingFSMO");
  const AdsPath<1024> root(trace, L"LDAP://%S/rootDSE", {view(server)});
  trace.detail()("Root DSE Object: %s\n", root.narrow().c_str());
  std::string configuration;
  if (read_context(trace, root, "configurationNamingContext", configuration) != 0) {
    return trace.returns(ADSI_OBJECT_ERR);
  }
  trace.detail()("Configuration Naming Context : %s\n", configuration.c_str());
  const AdsPath<1024> holder(trace, L"LDAP://CN=Partitions,%S", {configuration});
  trace.detail()("Query for crossRefContainer Object: %s\n", holder.narrow().c_str());
  return trace.returns(read_role_owner(trace, holder, {}, "cn", owner));
}
