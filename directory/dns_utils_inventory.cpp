// Inventories of the directory.

#include <algorithm>
#include <cstring>

#include "directory/dns_utils.h"
#include "directory/patterns.h"

using directory::AdsPath;
using directory::copy_out;
using directory::Variant;

namespace {

// The class below "top": the second value of the object's classes.
bool read_class(const trace::Scope& trace, IADs* object, std::span<char> className) {
  Variant classes;
  if (FAILED(directory::read(object, "objectClass", classes)) || !classes.is_array()) return false;
  Variant second;
  const HRESULT result = directory::element(classes, 1, second);
  if (FAILED(result)) {
    trace.error()("SafeArrayGetElement Failed. Error number: %x\n", unsigned(result));
  } else {
    copy_out(trace, className, directory::text_of(second));
  }
  classes.destroy_array();
  return SUCCEEDED(result);
}

bool is_container(const char* className) {
  return std::strstr(className, "Container") != nullptr ||
         std::strstr(className, "container") != nullptr;
}

// A child of the context when it is a container. An attribute that cannot be read stays empty: the
// container is there all the same.
bool read_container(const trace::Scope& trace, IADs* child, const std::string& context,
                    ContainerInfo& info) {
  info = {};
  if (!read_class(trace, child, info.className) || !is_container(info.className)) return false;
  copy_out(trace, info.partition, context);
  std::string text;
  if (directory::read_text(child, "cn", text)) copy_out(trace, info.commonName, text);
  if (directory::read_text(child, "distinguishedName", text)) {
    copy_out(trace, info.distinguishedName, text);
  }
  if (directory::read_time_text(child, "whenCreated", text)) copy_out(trace, info.created, text);
  if (directory::read_time_text(child, "whenChanged", text)) copy_out(trace, info.modified, text);
  return true;
}

}  // namespace

int DNSUtils::GetAllCNTList(const std::vector<std::string>& contexts,
                            std::vector<ContainerInfo>& records, std::int32_t count) {
  DCW_TRACE("GetAllCNTList");
  directory::Walk walk;
  walk.yield_every = 20;
  walk.yield_text = "Sleep Enabled";
  const auto wanted = std::min(static_cast<std::size_t>(std::max(count, 0)), contexts.size());
  for (std::size_t i = 0; i < wanted; ++i) {
    const std::string& context = contexts[i];
    const AdsPath<260> path(trace, L"LDAP://%S", {context});
    const int result = directory::walk_container(trace, path.wide(), walk, [&](IADs* child) {
      ContainerInfo info;
      if (read_container(trace, child, context, info)) records.push_back(info);
    });
    if (result != ADSI_ENUM_END) return trace.returns(result);
  }
  return trace.returns(ADSI_ENUM_END);
}
