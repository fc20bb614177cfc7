#pragma once
// The agent's loader: remembered by XAF_RegisterAgentLoader, run once.

namespace xaf {

// Runs the loader on the calling thread when there is one and it has not run yet.
void load_agents();

}  // namespace xaf
