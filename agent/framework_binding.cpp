#include "agent/framework_binding.h"

#include "agent/identity.h"
#include "include/trace.h"
#include "include/xaf.h"
#include "tables/classes.h"

std::int32_t LoadAgents() {
  DCW_TRACE("LoadAgents");
  for (const char* affinity : {"0000000000000000000000000001000000000000000",
                               "0000000000000000000000000000000080000000000",
                               "0000000000000000000000000000000000000008000",
                               "000000000000000000000000000000000000000G000",
                               "000000000000000000000000000000000000000W000"}) {
    XAF_SetAffinity(affinity);
  }
#define DCW_INIT_TABLE(lower, definition) dcw_##lower##_init();
  DCW_FOR_EACH_TABLE(DCW_INIT_TABLE)
#undef DCW_INIT_TABLE
  return trace.returns(0);
}

void Call_XAF_RegisterAgent() {
  DCW_TRACE("Call_XAF_RegisterAgent");
  XAF_RegisterAgentLoader(&LoadAgents);
}

void Call_XAF_SetProduct() {
  DCW_TRACE("Call_XAF_SetProduct");
  char version[9] = {};
  XAF_SetVersionUsingProduct("CW", version, sizeof version);
}

unsigned InvokeFW(void* /*argument*/) {
  DCW_TRACE("InvokeFW");
  char program[] = "DirWatcher";
  char nothing[] = "";
  char* arguments[] = {program, nothing};
  trace.always()("InvokeFW:  Attached");
  Thread_and_ProcessID_Info();
  trace.always()("InvokeFW:  Calling xafmain to get agent started.");
  // The second argument lies beyond the count, where the framework expects a readable text.
  return trace.returns(static_cast<unsigned>(xafmain(1, arguments)));
}

void MwTerminate() {
  DCW_TRACE("MwTerminate");
  XAF_Shutdown(1);
}
