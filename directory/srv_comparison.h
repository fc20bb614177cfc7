#pragma once
// What DNSUtils::CompareSRV compares, and how it gives the outcome back. A server is missing when
// the directory lists it and DNS does not; it is bogus when DNS lists it and the directory does
// not.

#include <cstdint>
#include <vector>

#include "tables/catalogue/dcwntdsdad.h"
#include "tables/catalogue/dcwntdsdai.h"
#include "tables/row.h"

// Stored in rows, so that the values are part of the row format.
enum class SRVRecordType : std::int32_t {
  kGlobalCatalog = 0,
  kDomainController = 1,
  kPrimaryDomainController = 2,
};

enum class SRVCompareMode : std::int32_t {
  kRows = 1,     // a row for each server that differs
  kSummary = 2,  // counters and last names in one row
};

using SRVDifferences = std::vector<tables::Row<tables::DCWNTDSDAD>>;
using SRVSummary = tables::Row<tables::DCWNTDSDAI>;
