#pragma once
// The reference page of all settings, made from their lists.

#include <string>

std::string setting_reference();
