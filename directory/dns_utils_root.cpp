// Questions to a server's root object.

#include <cstdlib>

#include "directory/dns_utils.h"
#include "directory/patterns.h"

using directory::AdsPath;
using directory::bind_or_trace;
using directory::copy_out;
using directory::Reference;
using directory::text_of;
using directory::Variant;
using directory::view;

namespace {

// An attribute of the root object as text; false, traced, when it cannot be read.
bool read_level(const trace::Scope& trace, IADs* root, const char* attribute, std::string& text) {
  Variant value;
  const HRESULT result = directory::read(root, attribute, value);
  if (FAILED(result)) {
    trace.error()("pObj->Get(%s) Failed. Error number: %x\n", attribute, unsigned(result));
    return false;
  }
  text = text_of(value);
  return true;
}

// A naming context that a root object names. A context that cannot be read empties the buffer.
int read_context(const trace::Scope& trace, const AdsPath<200>& path, const char* attribute,
                 std::span<char> context) {
  Reference<IADs> root;
  if (bind_or_trace(trace, path.wide(), root) != 0) return ADSI_OBJECT_ERR;
  std::string text;
  const int result = directory::read_or_trace(trace, root.get(), attribute, text);
  copy_out(trace, context, text);
  return result;
}

constexpr const wchar_t* kRootOfServer = L"LDAP://%S/rootDSE";

}  // namespace

int DNSUtils::GetSchemaNamingContext(const char* server, std::span<char> context) {
  DCW_TRACE("GetSchemaNamingContext");
  const AdsPath<200> path(trace, kRootOfServer, {view(server)});
  return trace.returns(read_context(trace, path, "schemaNamingContext", context));
}

int DNSUtils::GetConfigurationNamingContext(const char* server, std::span<char> context) {
  DCW_TRACE("GetConfigurationNamingContext");
  const AdsPath<200> path(trace, kRootOfServer, {view(server)});
  return trace.returns(read_context(trace, path, "configurationNamingContext", context));
}

// Whatever server is named, the forest root's context is the answer: callers take it for the
// forest's name.
int DNSUtils::GetDefaultNamingContext(const char*, std::span<char> context) {
  DCW_TRACE("GetDefaultNamingContext");
  const AdsPath<200> path(trace, L"LDAP://RootDSE");
  return trace.returns(read_context(trace, path, "rootDomainNamingContext", context));
}

int DNSUtils::GetDefaultNamingContextOfServer(const char* server, std::span<char> context) {
  // Entry and exit are traced under this name, which people who read the traces know.
  DCW_TRACE("GetConfigurationNamingContext");
  const AdsPath<200> path(trace, kRootOfServer, {view(server)});
  return trace.returns(read_context(trace, path, "defaultNamingContext", context));
}

int DNSUtils::GetRootDSEInfo(const char* server, RootDSEInfo& info) {
  DCW_TRACE("GetRootDSEInfo");
  info = {};
  const AdsPath<260> path(trace, kRootOfServer, {view(server)});
  Reference<IADs> root;
  if (bind_or_trace(trace, path.wide(), root) != 0) return trace.returns(ADSI_OBJECT_ERR);
  std::string text;
  if (read_level(trace, root.get(), "rootDomainNamingContext", text)) {
    copy_out(trace, info.rootDomainName, text);
    copy_out(trace, info.rootFQDN, text);
  }
  const struct {
    const char* attribute;
    std::int32_t* level;
  } levels[] = {{"domainControllerFunctionality", &info.dcFunctionality},
                {"domainFunctionality", &info.domainFunctionality},
                {"forestFunctionality", &info.forestFunctionality}};
  for (const auto& [attribute, level] : levels) {
    // Levels come as strings.
    if (read_level(trace, root.get(), attribute, text)) *level = std::atoi(text.c_str());
  }
  return trace.returns(0);
}

int DNSUtils::GetNamingContexts(const char* server, std::vector<std::string>& contexts) {
  DCW_TRACE("GetNamingContexts");
  const AdsPath<260> path(trace, kRootOfServer, {view(server)});
  trace.detail()("Root DSE Object: %s\n", path.narrow().c_str());
  Reference<IADs> root;
  if (bind_or_trace(trace, path.wide(), root) != 0) return trace.returns(ADSI_OBJECT_ERR);
  Variant values;
  const HRESULT result = directory::read(root.get(), "namingContexts", values);
  if (FAILED(result)) {
    trace.error()("pObj->Get Failed. Error number: %x\n", unsigned(result));
    return trace.returns(ADSI_OBJECT_ERR);
  }
  directory::ArrayMessages messages;
  messages.traces_bounds = true;
  return trace.returns(directory::walk_values(trace, values, messages, [&](const Variant& value) {
    char name[225];
    copy_out(trace, name, text_of(value));
    trace.detail()("Naming Context %s\n", name);
    contexts.emplace_back(name);
  }));
}
