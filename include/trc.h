#pragma once
// The trace and base-services library (TRC.dll) as the agent sees it: trace calls keyed by one
// static unit record a function, the process environment, and one kind of lock. Our own library
// stands behind these declarations; the agent knows nothing else of it.

#include <atomic>
#include <cstddef>
#include <cstdint>

#if defined(_WIN32) && defined(TRC_BUILD)
#define TRC_API __declspec(dllexport)
#elif defined(_WIN32)
#define TRC_API __declspec(dllimport)
#else
#define TRC_API
#endif

#if defined(__MINGW32__)
#define TRC_PRINTF(format_at, first_at) __attribute__((format(gnu_printf, format_at, first_at)))
#else
#define TRC_PRINTF(format_at, first_at) __attribute__((format(printf, format_at, first_at)))
#endif

// One a source file; shared by the unit records of its functions.
struct TRC1_FileRecord {
  const char* path;
  std::uint32_t path_length;
  const char* build_date;  // "Sep 30 2011"
  std::uint32_t build_date_length;
  const char* build_time;  // "05:48:41"
  std::uint32_t build_time_length;
  const char* revision;  // "1.3"
  std::uint32_t revision_length;
};

// One static record a traced function. The two cached words are atomics because a function may be
// entered by several threads while the trace configuration changes; any mix of old and new flags is
// harmless, a torn read is not.
struct TRC1_UnitRecord {
  TRC1_FileRecord* file;
  const char* function_name;
  std::uint32_t function_name_length;
  std::uint32_t first_line;
  const std::atomic<std::uint32_t>* generation_source;  // changes with every trace reconfiguration
  std::uint32_t options;                                // written as 512
  std::atomic<std::uint32_t> cached_flags;
  std::atomic<std::uint32_t> cached_generation;
};

inline constexpr std::uint32_t TRC1_UnitOptions = 512;

enum TRC1_EventKind : std::uint32_t {
  TRC1_Entry = 0,
  TRC1_ExitWithResult = 1,
  TRC1_Exit = 2,
};

extern "C" {
// The word that every unit record's generation_source points at. Never 0, so that a zeroed record
// synchronises at its first entry.
TRC_API extern std::atomic<std::uint32_t> TRC1_Generation;

// Refreshes the record's cached flags and generation from the trace configuration. Any thread.
TRC_API std::uint32_t TRC1_Sync(TRC1_UnitRecord* unit);

// Writes a flow event. The extra argument, present for TRC1_ExitWithResult only, is an int.
TRC_API void TRC1_Event(TRC1_UnitRecord* unit, std::uint32_t line, std::uint32_t kind, ...);

// Writes one line, printf-style. A trailing newline of the text is not doubled. Any thread.
TRC_API void TRC1_Printf(TRC1_UnitRecord* unit, std::uint32_t line, const char* format, ...)
    TRC_PRINTF(3, 4);

// Writes a title, printf-style, and a hexadecimal dump of length bytes at address.
TRC_API void TRC1_Dump(TRC1_UnitRecord* unit, std::uint32_t line, const void* address,
                       std::uint32_t length, const char* format, ...) TRC_PRINTF(5, 6);

// The value of an environment variable, or null. The second argument is always 0. The text is the
// process environment's own: it stays good until the variable is set again.
TRC_API const char* SYS1_GetEnv(const char* name, int reserved);

// Sets a variable for the process from the text "NAME=value"; getenv sees it too. 0 on success.
TRC_API int SYS1_PutEnv(const char* assignment);
}

// A blocking lock that is not recursive and may be released by another thread than its taker.
// Zero-initialised; the library makes what it needs at the first use.
struct SYS1_Lock {
  std::atomic<void*> implementation{nullptr};
};

extern "C" {
TRC_API void SYS1_GetLock(SYS1_Lock* lock);
TRC_API void SYS1_ReleaseLock(SYS1_Lock* lock);
}
