#include "agent/startup_settings.h"

#include "include/setting_list.h"
#include "include/settings.h"

namespace agent {
namespace {

using settings::Reading;
using settings::Setting;

struct PingRule {
  const Setting* setting;
  std::atomic<std::int32_t>* value;
  const char* text;
};
const PingRule kPingRules[] = {
    {&settings::kPingCount, &g_pingCount, "Main: DWA_PING_COUNT %d."},
    {&settings::kPingSize, &g_pingSize, "Main: DWA_PING_SIZE is %d."},
    {&settings::kPingTimeout, &g_pingTimeout, "Main: DWA_PING_TIMEOUT is %d."},
};

struct SysvolRule {
  const Setting* setting;
  std::atomic<std::int32_t>* value;
  const char* text_when_unset;
};
const SysvolRule kSysvolRules[] = {
    {&settings::kSysvolTestInterval, &g_sysvolTestInterval,
     "Main: Sysvol replication feature turned off"},
    {&settings::kSysvolVerificationInterval, &g_sysvolVerificationInterval,
     "Main: Sysvol Replication waiting turned off"},
    // The one name without the prefix of the others; installations have it set so.
    {&settings::kFileCreationGap, &g_fileCreationGap,
     "Main: Sysvol 'FILE_CREATION_AND_REPLICATION_START_GAP' feature turned off"},
};

const char* text_of(const Setting& setting) { return SYS1_GetEnv(setting.name, 0); }

}  // namespace

void read_ping_settings(const trace::Scope& trace) {
  for (const PingRule& rule : kPingRules) {
    const Reading reading = settings::read(*rule.setting, text_of(*rule.setting));
    *rule.value = reading.value;
    if (reading.taken) trace.always()(rule.text, reading.value);
  }
}

void read_object_count_period(const trace::Scope& trace) {
  const char* text = text_of(settings::kObjectCountPeriod);
  if (text == nullptr) {
    trace.always()(
        "Main: Caching is turned OFF for Number OF Objects thread, assigning default value");
  }
  g_numberOfObjectsInterval = settings::in_ms(
      settings::kObjectCountPeriod, settings::read(settings::kObjectCountPeriod, text).value);
}

void read_iteration_yield(const trace::Scope& trace) {
  const char* text = text_of(settings::kIterationYield);
  if (text == nullptr) {
    trace.error()("Main: DWA_WAIT_TIME variable not found, enabling sleep");
  } else if (settings::read(settings::kIterationYield, text).value == 0) {
    g_sleepWhileIterating = 0;
    trace.error()("Main:  Do not sleep while Iterating loop");
  } else {
    trace.error()("Main: Sleep while Iterating loop");
  }
}

void read_cache_interval(const trace::Scope& trace) {
  const char* text = text_of(settings::kCacheInterval);
  if (text == nullptr) {
    trace.always()("Main: Caching is turned OFF");
    return;
  }
  const Reading seconds = settings::read(settings::kCacheInterval, text);
  if (!seconds.taken) {
    trace.always()("Main: Invalid or Zero Caching interval found. Caching is turned OFF");
    return;
  }
  trace.always()("Main: Caching is turned ON with interval %d secs", seconds.value);
  g_cacheInterval = settings::in_ms(settings::kCacheInterval, seconds.value);
}

bool read_sysvol_intervals(const trace::Scope& trace) {
  for (const SysvolRule& rule : kSysvolRules) {
    const char* text = text_of(*rule.setting);
    if (text == nullptr) trace.always()("%s", rule.text_when_unset);
    *rule.value = settings::read(*rule.setting, text).value;
  }
  g_forceReplication = 1;
  if (g_sysvolTestInterval <= 0) return false;
  for (const SysvolRule& rule : kSysvolRules) {
    *rule.value = settings::in_ms(*rule.setting, *rule.value);
  }
  // A verification that takes as long as the whole period switches the test off, without a word.
  return g_sysvolVerificationInterval < g_sysvolTestInterval;
}

void read_forced_replication(const trace::Scope& trace) {
  const char* text = text_of(settings::kForcedReplication);
  if (text == nullptr) {
    trace.always()(
        "Main: Sysvol 'DWA_SYSVOL_FORCE_REPLICATION_FLAG' not defined so by default force "
        "replication is ENABLED");
  } else if (settings::read(settings::kForcedReplication, text).value == 0) {
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
