// The group policy objects of a domain.

#include "directory/dns_utils.h"
#include "directory/files.h"
#include "directory/patterns.h"
#include "directory/policy_file.h"

using directory::AdsPath;
using directory::copy_out;
using directory::view;

namespace {

// A policy's GPT.INI has a handful of lines; what stands behind this many bytes is not read.
constexpr std::size_t kPolicyFileLimit = 1 << 20;

void read_long(IADs* object, const char* attribute, std::int32_t& number) {
  directory::Variant value;
  if (SUCCEEDED(directory::read(object, attribute, value))) number = value.get().lVal;
}

void read_status(IADs* policy, std::int32_t& status) {
  std::int32_t flags = -1;
  read_long(policy, "flags", flags);
  if (flags < 0 || flags > 3) return;
  // 0 must stay free for "could not be read".
  status = flags == 0 ? -1 : flags;
}

// Leaves the version alone when the policy's folder does not tell it.
void read_folder(const trace::Scope& trace, const std::string& folder, std::int32_t& version) {
  const auto file =
      folder.empty() ? std::nullopt : directory::read_file(folder + "\\GPT.INI", kPolicyFileLimit);
  if (!file) {
    trace.error()("Failed to Open GPT.INI");
    return;
  }
  for (const directory::VersionLine& line : directory::version_lines(*file)) {
    trace.always()("Version String: %s", line.text.c_str());
    if (line.version) version = *line.version;
  }
}

// An attribute that cannot be read leaves its field at the preset.
GPOInfo read_policy(const trace::Scope& trace, IADs* policy) {
  GPOInfo info;
  std::string text;
  if (directory::read_text(policy, "cn", text)) copy_out(trace, info.guid, text);
  if (directory::read_text(policy, "displayName", text)) copy_out(trace, info.name, text);
  read_long(policy, "versionNumber", info.version);
  read_status(policy, info.status);
  std::string folder;
  directory::read_text(policy, "gPCFileSysPath", folder);
  read_folder(trace, folder, info.sysvolVersion);
  if (directory::read_time_text(policy, "whenCreated", text)) copy_out(trace, info.created, text);
  if (directory::read_time_text(policy, "whenChanged", text)) copy_out(trace, info.modified, text);
  return info;
}

}  // namespace

int DNSUtils::GetAllGPOList(const char* domain, std::vector<GPOInfo>& records) {
  DCW_TRACE("GetAllGPOList");
  directory::Walk walk;
  walk.yield_every = 25;
  walk.yields_always = true;
  const AdsPath<260> path(trace, L"LDAP://CN=Policies,CN=System,%S", {view(domain)});
  return trace.returns(directory::walk_container(trace, path.wide(), walk, [&](IADs* policy) {
    records.push_back(read_policy(trace, policy));
  }));
}
