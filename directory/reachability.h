#pragma once
// Whether another controller answers.

#include <cstdint>

// Runs the system's ping command and reads its output. The average round trip in milliseconds; -1
// when the name cannot be resolved or the output tells nothing; -2 when every request was lost.
//
// Without isFullName the name is a short one, resolved through the sites beneath the configuration
// naming context. With doBind a server that answered is bound, too; bindStatus, when given, is then
// 1 if that worked, and 0 otherwise. Blocks as long as the command runs. From any thread of the
// process's apartment.
std::int32_t ping(const char* name, const char* configurationNamingContext,
                  unsigned char isFullName, unsigned char doBind, unsigned char* bindStatus);
