#pragma once
// The settings that Main takes from the environment, group by group in the order of start-up. Each
// variable is read once; include/setting_list.h tells how.

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

}  // namespace agent
