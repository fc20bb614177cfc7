#include "collectors/neighbours.h"

#include "directory/dns_utils.h"
#include "directory/repl_utils.h"
#include "directory/text.h"

namespace collectors {

namespace {

std::string narrow(const wchar_t* text) {
  return text == nullptr ? std::string() : directory::narrowed(text);
}

}  // namespace

Neighbours::Neighbours(const char* domain) {
  DS_REPL_NEIGHBORSW* found = nullptr;
  unsigned char ok = 0;
  ReplUtils::GetReplicationPartnersInfo(domain, 0, &found, ok);
  if (ok != 0) record_ = found;
}

Neighbours::~Neighbours() {
  if (record_ != nullptr) DsReplicaFreeInfo(DS_REPL_INFO_NEIGHBORS, record_);
}

std::span<const DS_REPL_NEIGHBORW> Neighbours::all() const {
  if (record_ == nullptr) return {};
  const DS_REPL_NEIGHBORW* const first = record_->rgNeighbor;
  return {first, record_->cNumNeighbors};
}

std::string naming_context_of(const DS_REPL_NEIGHBORW& neighbour) {
  return narrow(neighbour.pszNamingContext);
}

Partner::Partner(const DS_REPL_NEIGHBORW& neighbour) : settings(narrow(neighbour.pszSourceDsaDN)) {
  DNSUtils::GetPartner(settings.c_str(), host, "cn");
  DNSUtils::GetDirectPartnerSiteName(settings.c_str(), site);
}

}  // namespace collectors
