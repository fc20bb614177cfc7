#pragma once
// Which server's clock to compare with, and how far this machine's is from it. From any thread.

#include <cstdint>
#include <span>

// The controller that the locator of computer names as a good time server; else one of the forest
// that is a good time server, or its primary domain controller's emulator. False, with nothing
// written, when there is none of these. isGoodTimeServer tells whether it is marked as one.
bool GetTimeServer(const char* forest, const char* computer, std::span<char> timeServer,
                   std::int32_t& isGoodTimeServer);

// The offset in seconds as the command w32tm tells it, its sign included. False, with offset as it
// was, when the command does not tell it. A machine has no offset from itself. Blocks as long as
// the command runs.
bool GetTimeDiffernece(const char* computer, const char* timeServer, double& offset);
