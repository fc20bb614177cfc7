#pragma once
// The binding to the agent framework: the loader that registers the tables, and the calls that
// start and stop the framework.

#include <cstdint>

// Given to the framework, which calls it when it is ready for tables: declares the agent's
// affinities and registers the manager of every table. Always 0; a table whose manager cannot be
// registered is simply not served.
std::int32_t LoadAgents();

void Call_XAF_RegisterAgent();
void Call_XAF_SetProduct();

// Body of the framework thread; returns when the framework has shut down.
unsigned InvokeFW(void* argument);

// Asks the framework to stop; does not wait.
void MwTerminate();
