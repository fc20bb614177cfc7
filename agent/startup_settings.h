#pragma once
// The settings that Main takes from the environment, group by group in the order of start-up. Each
// variable is read once; non-numeric text reads as 0.

#include <cstdint>

#include "include/trace.h"

namespace agent {

// What step of start-up a group belongs to decides when it is called; see Main.
void read_ping_settings(const trace::Scope& trace);
// The period of the object count; the variable can only lengthen it.
void read_object_count_period(const trace::Scope& trace);
void read_iteration_yield(const trace::Scope& trace);
// Leaves g_cacheInterval positive when caching is on.
void read_cache_interval(const trace::Scope& trace);
// Test interval, verification interval and gap; true when the test is to run.
bool read_sysvol_intervals(const trace::Scope& trace);
void read_forced_replication(const trace::Scope& trace);

// Decimal text as a number: 0 for text that is none, the nearest bound for one out of range.
std::int32_t to_number(const char* text);
// A period in another unit; the largest number for one out of range.
std::int32_t scaled(std::int32_t value, std::int32_t factor);

}  // namespace agent
