#pragma once
// The agent's configuration is kept in the registry and reaches the program as environment
// variables; everything else reads only the environment.

#include <cstdint>
#include <functional>
#include <string>

// The branch that is imported, beneath SOFTWARE\Marlow.
inline constexpr const char* kRegistryBranch = "DCW\\Ver610\\Primary";

// Copies the text values of the "Environment" keys from the branch up to, and without, its root
// into the process environment. What a level nearer the root sets replaces what a deeper level has
// set; sites rely on that to override a whole installation. 0, or the registry class's last code;
// start-up depends on no value, so callers go on in any case.
std::int32_t SetEnvFromReg(const char* branch);

namespace agent {

// What the import did, step by step, for those who ask where a setting comes from.
struct ImportStep {
  enum What {
    kSet,             // the variable has this value now
    kRemoved,         // the value is empty, which takes the variable away
    kRefused,         // the environment does not take a variable of this name
    kOtherType,       // not a text: passed over
    kTooLong,         // what it expands to is too long: left out
    kLevelCut,        // a name or value that is too long: the rest of the level was not read
    kLevelUnreadable  // the level's key, or one of its values, could not be read
  };
  What what;
  std::string key;         // the "Environment" key, from the root key on
  std::string name;        // of the value; empty where a level is told
  std::string value;       // after expansion
  std::int32_t error = 0;  // the system's, of kLevelUnreadable
};
using ImportObserver = std::function<void(const ImportStep&)>;

// SetEnvFromReg, which tells the observer what it does. The observer may be empty.
std::int32_t import_environment(const char* branch, const ImportObserver& observer);

}  // namespace agent
