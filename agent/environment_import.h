#pragma once
// The agent's configuration is kept in the registry and reaches the program as environment
// variables; everything else reads only the environment.

#include <cstdint>

// The branch that is imported, beneath SOFTWARE\Marlow.
inline constexpr const char* kRegistryBranch = "DCW\\Ver610\\Primary";

// Copies the text values of the "Environment" keys from the branch up to, and without, its root
// into the process environment. What a level nearer the root sets replaces what a deeper level has
// set; sites rely on that to override a whole installation. 0, or the registry class's last code;
// start-up depends on no value, so callers go on in any case.
std::int32_t SetEnvFromReg(const char* branch);
