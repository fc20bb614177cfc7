#pragma once
// The registry, by the names of the system's interface.

#ifdef _WIN32
#include "platform/base.h"
#else

#include "platform/base.h"
#include "platform/time.h"

struct HKEY__;
using HKEY = HKEY__*;
using REGSAM = DWORD;

#define HKEY_CLASSES_ROOT ((HKEY)(ULONG_PTR)(LONG)0x80000000)
#define HKEY_CURRENT_USER ((HKEY)(ULONG_PTR)(LONG)0x80000001)
#define HKEY_LOCAL_MACHINE ((HKEY)(ULONG_PTR)(LONG)0x80000002)
#define HKEY_USERS ((HKEY)(ULONG_PTR)(LONG)0x80000003)
#define HKEY_PERFORMANCE_DATA ((HKEY)(ULONG_PTR)(LONG)0x80000004)
#define HKEY_CURRENT_CONFIG ((HKEY)(ULONG_PTR)(LONG)0x80000005)

#define REG_NONE (0)
#define REG_SZ (1)
#define REG_EXPAND_SZ (2)
#define REG_BINARY (3)
#define REG_DWORD (4)
#define REG_DWORD_BIG_ENDIAN (5)
#define REG_LINK (6)
#define REG_MULTI_SZ (7)
#define REG_QWORD (11)

#define KEY_QUERY_VALUE (0x0001)
#define KEY_SET_VALUE (0x0002)
#define KEY_CREATE_SUB_KEY (0x0004)
#define KEY_ENUMERATE_SUB_KEYS (0x0008)
#define KEY_NOTIFY (0x0010)
#define KEY_CREATE_LINK (0x0020)
#define KEY_READ (0x20019)
#define KEY_WRITE (0x20006)
#define KEY_EXECUTE (0x20019)
#define KEY_ALL_ACCESS (0xF003F)

#define REG_OPTION_NON_VOLATILE (0x00000000)
#define REG_OPTION_VOLATILE (0x00000001)
#define REG_CREATED_NEW_KEY (0x00000001)
#define REG_OPENED_EXISTING_KEY (0x00000002)
#define REG_NOTIFY_CHANGE_NAME (0x00000001)
#define REG_NOTIFY_CHANGE_ATTRIBUTES (0x00000002)
#define REG_NOTIFY_CHANGE_LAST_SET (0x00000004)
#define REG_NOTIFY_CHANGE_SECURITY (0x00000008)

// All of these may be called from any thread and give a system error code, 0 for success: 2 not
// found, 5 the key was not opened for that, 6 no such handle, 87 a missing argument, 234 a buffer
// too small, 259 no more items, 1018 the key has been deleted since. What is written lives with the
// process; the machine's own registry, or the file that stands for it, is never written.

// With no sub-key: a predefined key as it is, or a second handle of the same key.
LONG RegOpenKeyExA(HKEY key, const char* sub_key, DWORD options, REGSAM access, HKEY* result);
LONG RegCreateKeyExA(HKEY key, const char* sub_key, DWORD reserved, char* class_name, DWORD options,
                     REGSAM access, SECURITY_ATTRIBUTES* security, HKEY* result,
                     DWORD* disposition);
LONG RegCloseKey(HKEY key);
// Only the local machine answers; another name gives 53.
LONG RegConnectRegistryA(const char* machine, HKEY key, HKEY* result);

// Sizes of names count the zero end on the way in and not on the way out; data sizes count all
// bytes. With 234 the data size is the one needed.
LONG RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* name_size, DWORD* reserved,
                   DWORD* type, BYTE* data, DWORD* data_size);
LONG RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* name_size, DWORD* reserved,
                   char* class_name, DWORD* class_size, FILETIME* last_write);
LONG RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type, BYTE* data,
                      DWORD* data_size);
LONG RegQueryInfoKeyA(HKEY key, char* class_name, DWORD* class_size, DWORD* reserved,
                      DWORD* sub_keys, DWORD* longest_sub_key, DWORD* longest_class, DWORD* values,
                      DWORD* longest_value_name, DWORD* longest_data, DWORD* security_size,
                      FILETIME* last_write);

LONG RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type, const BYTE* data,
                    DWORD data_size);
LONG RegDeleteValueA(HKEY key, const char* name);
// 5 when the key has sub-keys.
LONG RegDeleteKeyA(HKEY key, const char* sub_key);

// Asynchronous: signals the event at the next change of that kind, when the key is removed, and
// when the handle is closed. Else returns only then. 6 also for what is no event, 87 for a filter
// that asks for nothing. Values (last set) and lists of sub-keys (name) are what changes here.
LONG RegNotifyChangeKeyValue(HKEY key, BOOL sub_tree, DWORD filter, HANDLE event,
                             BOOL asynchronous);

#define RegOpenKeyEx RegOpenKeyExA
#define RegCreateKeyEx RegCreateKeyExA
#define RegConnectRegistry RegConnectRegistryA
#define RegEnumValue RegEnumValueA
#define RegEnumKeyEx RegEnumKeyExA
#define RegQueryValueEx RegQueryValueExA
#define RegQueryInfoKey RegQueryInfoKeyA
#define RegSetValueEx RegSetValueExA
#define RegDeleteValue RegDeleteValueA
#define RegDeleteKey RegDeleteKeyA

#endif
