#pragma once
// The address book that the directory serves to mail clients, as its performance counters see it.

#include "tables/definition.h"

namespace tables {

inline constexpr auto DCWNTDSAB =
    define(kLongHead, "DCWNTDSAB",
           "Address-book load on this controller: one row a sample, none when the system has no "
           "such counters.",
           Timing{"AddressBook", 1},
           integer("ABANRPS",
                   "Ambiguous name resolutions for address-book clients per second over the half "
                   "second of the sample, truncated to a whole number."),
           integer("ABBRSPS",
                   "Address-book browse operations per second over the half second of the sample, "
                   "truncated to a whole number."),
           integer("ABCLISES", "Address-book client sessions connected now."),
           integer("ABMATPS",
                   "Address-book find operations (matches) per second over the half second of the "
                   "sample, truncated to a whole number."),
           integer("ABPRPRPS",
                   "Address-book property reads per second over the half second of the sample, "
                   "truncated to a whole number."),
           integer("ABPRXLKP",
                   "Proxy-address lookups of address-book clients per second over the half second "
                   "of the sample, truncated to a whole number."),
           integer("ABSRCPS",
                   "Address-book key searches per second over the half second of the sample, "
                   "truncated to a whole number."));

static_assert(DCWNTDSAB.row_size() == 244);

}  // namespace tables
