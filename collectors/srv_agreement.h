#pragma once
// The question behind both DNS tables: whether DNS and the directory agree on which servers exist.
// One answers it with a summary, the other with a row for each server; the sequence of questions is
// written once here.

#include <functional>
#include <string>
#include <vector>

#include "collectors/prologue.h"
#include "directory/srv_comparison.h"
#include "include/trace.h"

namespace collectors {

// Compares one kind of server: the directory's list against the SRV records of the two DNS names,
// of which the second is asked for where the first does not exist.
using CompareServers =
    std::function<void(const char* primaryName, const char* fallbackName,
                       const std::vector<std::string>& directoryNames, SRVRecordType type)>;

// The DNS name of the forest root, which stands for the forest.
std::string find_forest_name(const trace::Scope& trace, const ServerNames& names);

// Global catalogs, domain controllers, PDC: each is compared once, save that an empty list of the
// directory's skips its comparison. False, traced, when the PDC's full name cannot be had: the
// collection then ends without a result.
bool compare_all(const trace::Scope& trace, const ServerNames& names,
                 const std::string& forest_name, const CompareServers& compare);

}  // namespace collectors
