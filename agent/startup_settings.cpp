#include "agent/startup_settings.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "include/platform/text.h"
#include "include/settings.h"

namespace agent {
namespace {

constexpr std::int32_t kObjectCountPeriod_s = 1800;
constexpr std::int32_t kFileCreationGap_s = 15;

std::int32_t within_32_bits(long long value) {
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<long long>(value, Limits::min(), Limits::max()));
}

struct PingRule {
  const char* variable;
  std::atomic<std::int32_t>* setting;
  std::int32_t preset;
  const char* text;
};
const PingRule kPingRules[] = {
    {"DWA_PING_COUNT", &g_pingCount, 1, "Main: DWA_PING_COUNT %d."},
    {"DWA_PING_SIZE", &g_pingSize, 32, "Main: DWA_PING_SIZE is %d."},
    {"DWA_PING_TIMEOUT", &g_pingTimeout, 2000, "Main: DWA_PING_TIMEOUT is %d."},
};

struct SysvolRule {
  const char* variable;
  std::atomic<std::int32_t>* setting;
  std::int32_t preset;
  const char* text_when_unset;
};
const SysvolRule kSysvolRules[] = {
    {"DWA_SYSVOL_REPLICATION_TEST_INTERVAL", &g_sysvolTestInterval, 0,
     "Main: Sysvol replication feature turned off"},
    {"DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL", &g_sysvolVerificationInterval, 0,
     "Main: Sysvol Replication waiting turned off"},
    // The one name without the prefix of the others; installations have it set so.
    {"FILE_CREATION_AND_REPLICATION_START_GAP", &g_fileCreationGap, kFileCreationGap_s,
     "Main: Sysvol 'FILE_CREATION_AND_REPLICATION_START_GAP' feature turned off"},
};

}  // namespace

std::int32_t to_number(const char* text) { return within_32_bits(std::strtoll(text, nullptr, 10)); }

std::int32_t scaled(std::int32_t value, std::int32_t factor) {
  return within_32_bits(static_cast<long long>(value) * factor);
}

void read_ping_settings(const trace::Scope& trace) {
  for (const PingRule& rule : kPingRules) {
    *rule.setting = rule.preset;
    const char* text = SYS1_GetEnv(rule.variable, 0);
    if (text == nullptr) continue;
    const std::int32_t value = to_number(text);
    if (value < 0) continue;
    *rule.setting = value;
    trace.always()(rule.text, value);
  }
}

void read_object_count_period(const trace::Scope& trace) {
  std::int32_t period = kObjectCountPeriod_s;
  if (const char* text = SYS1_GetEnv("DWA_NUMBEROFOBJECTS_TIMEOUT", 0); text == nullptr) {
    trace.always()(
        "Main: Caching is turned OFF for Number OF Objects thread, assigning default value");
  } else {
    period = std::max(period, to_number(text));
  }
  g_numberOfObjectsInterval = scaled(period, 1000);
}

void read_iteration_yield(const trace::Scope& trace) {
  const char* text = SYS1_GetEnv("DWA_ENABLE_WAIT_TIME", 0);
  if (text == nullptr) {
    trace.error()("Main: DWA_WAIT_TIME variable not found, enabling sleep");
  } else if (_stricmp(text, "FALSE") == 0) {
    g_sleepWhileIterating = 0;
    trace.error()("Main:  Do not sleep while Iterating loop");
  } else {
    trace.error()("Main: Sleep while Iterating loop");
  }
}

void read_cache_interval(const trace::Scope& trace) {
  const char* text = SYS1_GetEnv("DWA_CACHE_INTERVAL", 0);
  if (text == nullptr) {
    trace.always()("Main: Caching is turned OFF");
    return;
  }
  const std::int32_t seconds = to_number(text);
  if (seconds < 1) {
    trace.always()("Main: Invalid or Zero Caching interval found. Caching is turned OFF");
    return;
  }
  trace.always()("Main: Caching is turned ON with interval %d secs", seconds);
  g_cacheInterval = scaled(seconds, 1000);
}

bool read_sysvol_intervals(const trace::Scope& trace) {
  for (const SysvolRule& rule : kSysvolRules) {
    *rule.setting = rule.preset;
    const char* text = SYS1_GetEnv(rule.variable, 0);
    if (text == nullptr) {
      trace.always()("%s", rule.text_when_unset);
    } else if (const std::int32_t value = to_number(text); value > 0) {
      *rule.setting = value;
    }
  }
  g_forceReplication = 1;
  if (g_sysvolTestInterval <= 0) return false;
  g_sysvolTestInterval = scaled(g_sysvolTestInterval, 60000);
  g_sysvolVerificationInterval = scaled(g_sysvolVerificationInterval, 60000);
  g_fileCreationGap = scaled(g_fileCreationGap, 1000);
  // A verification that takes as long as the whole period switches the test off, without a word.
  return g_sysvolVerificationInterval < g_sysvolTestInterval;
}

void read_forced_replication(const trace::Scope& trace) {
  const char* text = SYS1_GetEnv("DWA_SYSVOL_FORCE_REPLICATION_FLAG", 0);
  if (text == nullptr) {
    trace.always()(
        "Main: Sysvol 'DWA_SYSVOL_FORCE_REPLICATION_FLAG' not defined so by default force "
        "replication is ENABLED");
  } else if (_stricmp(text, "false") == 0) {
    g_forceReplication = 0;
    trace.always()(
        "Main: Sysvol 'DWA_SYSVOL_FORCE_REPLICATION_FLAG'is FALSE so force replication is "
        "DISABLED");
  } else {
    trace.always()(
        "Main: Sysvol 'DWA_SYSVOL_FORCE_REPLICATION_FLAG' is other than false so by default force "
        "replication is ENABLED");
  }
}

}  // namespace agent
