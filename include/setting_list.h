#pragma once
// Every variable of the environment that the agent takes a setting from: its default, its unit, how
// its text is read, and a sentence for people. The readers, `dirwatch config` and docs/settings.md
// all go by this list.

#include <array>
#include <cstdint>

namespace settings {

// How a text becomes a value. Text that is no number reads as 0 wherever a number is read.
enum class Rule {
  kNotNegative,     // a number; a negative one leaves the default
  kAboveDefault,    // a number; one that is not above the default leaves it
  kPositive,        // a number; one below 1 leaves the default
  kUnlessWord,      // on, unless the text is the word, letter case aside
  kUnlessSameWord,  // on, unless the text is the word, letter by letter
  kWhenSet,         // on when it is set at all
  kText,            // as it stands
};

struct Setting {
  const char* name;
  Rule rule;
  std::int32_t preset;  // of numbers and switches
  const char* unit;     // empty where there is none
  const char* word;     // that switches off
  // Milliseconds in a unit, 0 where the value is used as it stands. The product is kept within 32
  // bits.
  std::int32_t unit_ms;
  const char* sentence;
};

inline constexpr Setting kPingCount{
    "DWA_PING_COUNT", Rule::kNotNegative, 1, "count", "", 0, "Echo requests of one ping command."};
inline constexpr Setting kPingSize{
    "DWA_PING_SIZE", Rule::kNotNegative, 32, "bytes", "", 0, "Payload of one echo request."};
inline constexpr Setting kPingTimeout{"DWA_PING_TIMEOUT",
                                      Rule::kNotNegative,
                                      2000,
                                      "milliseconds",
                                      "",
                                      0,
                                      "How long each echo reply is waited for."};
inline constexpr Setting kObjectCountPeriod{
    "DWA_NUMBEROFOBJECTS_TIMEOUT",
    Rule::kAboveDefault,
    1800,
    "seconds",
    "",
    1000,
    "Pause between two counts of the domain's objects; it can only be lengthened."};
inline constexpr Setting kIterationYield{
    "DWA_ENABLE_WAIT_TIME",
    Rule::kUnlessWord,
    1,
    "",
    "FALSE",
    0,
    "Whether long walks through the directory yield the processor now and then."};
inline constexpr Setting kCacheInterval{
    "DWA_CACHE_INTERVAL",
    Rule::kPositive,
    0,
    "seconds",
    "",
    1000,
    "Pause of each background collection; 0 collects at every sample instead."};
inline constexpr Setting kSysvolTestInterval{
    "DWA_SYSVOL_REPLICATION_TEST_INTERVAL",
    Rule::kPositive,
    0,
    "minutes",
    "",
    60000,
    "Period of the replication test of SYSVOL; 0 tests nothing."};
inline constexpr Setting kSysvolVerificationInterval{
    "DWA_SYSVOL_REPLICATION_TEST_VERIFICATION_INTERVAL",
    Rule::kPositive,
    0,
    "minutes",
    "",
    60000,
    "How long that test waits before it looks for its files; as long as the period, or longer, "
    "switches the test off."};
inline constexpr Setting kFileCreationGap{
    "FILE_CREATION_AND_REPLICATION_START_GAP",
    Rule::kPositive,
    15,
    "seconds",
    "",
    1000,
    "Pause of that test between making its files and forcing replication."};
inline constexpr Setting kForcedReplication{
    "DWA_SYSVOL_FORCE_REPLICATION_FLAG",    Rule::kUnlessWord, 1, "", "false", 0,
    "Whether that test forces replication."};
inline constexpr Setting kSiteQuestion{
    "DWA_GETSITEFORSERVER_FLAG",
    Rule::kUnlessSameWord,
    1,
    "",
    "OFF",
    0,
    "Only what the trace says of a server's site; read at each collection."};
inline constexpr Setting kReplicationLatency{
    "ACTIVATE_REPL_LATENCY",
    Rule::kUnlessWord,
    1,
    "",
    "DISABLED",
    0,
    "Whether replication latency is collected; when it is off nothing is written for it into the "
    "domain's LostAndFound container. Read at each collection."};
inline constexpr Setting kHome{"MARLOW_HOME",
                               Rule::kText,
                               0,
                               "",
                               "",
                               0,
                               "Folder of the installation; the count of objects is kept in its "
                               "WATCHD6_x64\\logs\\NumberOfObjects.txt."};
inline constexpr Setting kTiming{"AGENT_TIMING",
                                 Rule::kWhenSet,
                                 0,
                                 "",
                                 "",
                                 0,
                                 "Whether each sample's duration is written; read at each sample."};
inline constexpr Setting kUnitTestSeed{
    "DCW_UNIT_TEST_SEED",
    Rule::kText,
    0,
    "",
    "",
    0,
    "Counter tables show this number, and the next, and so on, in place of counters; read at each "
    "collection."};
inline constexpr Setting kTraceFlags{
    "TRC_TRC1",
    Rule::kText,
    0,
    "",
    "",
    0,
    "Which traces are written, as a sum: 1 details, 16 objects, 64 entry and exit, 128 errors; "
    "128 when it is not set."};

// The framework's own; the agent only writes them to the trace.
inline constexpr Setting kFamilies{
    "XCM_FAMILIES", Rule::kText, 0, "", "", 0, "Network protocols of the framework."};
inline constexpr Setting kGlobalSites{
    "XCM_GLBSITES", Rule::kText, 0, "", "", 0, "File of the framework's sites."};
inline constexpr Setting kCellName{
    "XAF_CELL_NAME", Rule::kText, 0, "", "", 0, "Cell that the framework belongs to."};
inline constexpr Setting kHostName{
    "XAF_HOSTNAME", Rule::kText, 0, "", "", 0, "Name of the machine for the framework."};
inline constexpr Setting kNodeType{
    "XAF_NODETYPE", Rule::kText, 0, "", "", 0, "Kind of node that the framework runs on."};
inline constexpr Setting kSubsystem{
    "XAF_SUBSYSTEM_ID", Rule::kText, 0, "", "", 0, "Identifier of the agent within the framework."};

inline constexpr std::array kAll = {&kPingCount,
                                    &kPingSize,
                                    &kPingTimeout,
                                    &kObjectCountPeriod,
                                    &kIterationYield,
                                    &kCacheInterval,
                                    &kSysvolTestInterval,
                                    &kSysvolVerificationInterval,
                                    &kFileCreationGap,
                                    &kForcedReplication,
                                    &kSiteQuestion,
                                    &kReplicationLatency,
                                    &kHome,
                                    &kTiming,
                                    &kUnitTestSeed,
                                    &kTraceFlags,
                                    &kFamilies,
                                    &kGlobalSites,
                                    &kCellName,
                                    &kHostName,
                                    &kNodeType,
                                    &kSubsystem};

// What a text comes to; null is a variable that is not set. For kText the value says nothing.
struct Reading {
  std::int32_t value = 0;  // in the setting's unit; switches: 0 off, 1 on
  bool taken = false;      // the text decided, and not the default
};
Reading read(const Setting& setting, const char* text);

bool is_number(Rule rule);
// Decimal text as a number: 0 for text that is none, the nearest bound for one out of range.
std::int32_t to_number(const char* text);
// A period in milliseconds, of a value in the setting's unit; the largest number when out of range.
std::int32_t in_ms(const Setting& setting, std::int32_t value);

}  // namespace settings
