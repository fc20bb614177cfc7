#pragma once
// libsmbclient, loaded when a share is first asked for. It brings some sixty libraries along, which
// cost every start 15 ms and 10 MB, and most runs of the program never open a share.

#include <libsmbclient.h>

namespace platform::live {

// X(member, function of the library)
#define DCW_FOR_EACH_SMB_FUNCTION(X)                                      \
  X(new_context, smbc_new_context)                                        \
  X(init_context, smbc_init_context)                                      \
  X(free_context, smbc_free_context)                                      \
  X(set_debug, smbc_setDebug)                                             \
  X(set_debug_to_stderr, smbc_setOptionDebugToStderr)                     \
  X(set_timeout, smbc_setTimeout)                                         \
  X(set_authentication, smbc_setFunctionAuthDataWithContext)              \
  X(set_use_kerberos, smbc_setOptionUseKerberos)                          \
  X(set_fallback_after_kerberos, smbc_setOptionFallbackAfterKerberos)     \
  X(set_no_automatic_anonymous_login, smbc_setOptionNoAutoAnonymousLogin) \
  X(open, smbc_getFunctionOpen)                                           \
  X(close, smbc_getFunctionClose)                                         \
  X(read, smbc_getFunctionRead)                                           \
  X(write, smbc_getFunctionWrite)                                         \
  X(unlink, smbc_getFunctionUnlink)                                       \
  X(stat, smbc_getFunctionStat)

struct SmbLibrary {
#define DCW_SMB_MEMBER(member, function) decltype(&::function) member;
  DCW_FOR_EACH_SMB_FUNCTION(DCW_SMB_MEMBER)
#undef DCW_SMB_MEMBER

  // Loads the library at the first call and keeps it to the end of the process. Null, each time
  // with a trace line that says why, when it is not installed or lacks a function; errno is ELIBACC
  // then. Any thread.
  static const SmbLibrary* load();
};

}  // namespace platform::live
