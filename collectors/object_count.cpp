// The count of the domain's objects, on a thread of its own: too costly for a sample, and slow to
// change.

#include "collectors/object_count.h"

#include "collectors/background.h"
#include "directory/automation.h"
#include "directory/dns_utils.h"
#include "include/collection_status.h"
#include "include/platform/files.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/trace.h"
#include "include/unique_handle.h"

namespace collectors {

std::string object_count_path() {
  const char* home = SYS1_GetEnv("MARLOW_HOME", 0);
  std::string path = home == nullptr ? "" : home;
  path += "\\";
  path += "WATCHD6_x64";
  path += "\\logs\\NumberOfObjects.txt";
  return path;
}

bool write_object_count(const std::string& path, std::int32_t count) {
  const HANDLE opened = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                    nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) return false;
  const UniqueHandle file{opened};
  const std::string text = std::to_string(count);
  DWORD written = 0;
  return WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr) &&
         written == text.size();
}

namespace {

// False when there is no count. The query layer raises its failures; here they are a count that
// failed like any other, since the thread must live on.
bool count_objects(const trace::Scope& trace, std::int32_t& count) {
  status::step("counts the objects of the domain");
  try {
    return DNSUtils::GetNumberOfObjectsInDomain(count) != -1;
  } catch (const directory::AutomationError& error) {
    trace.error()("%s", error.what());
    return false;
  }
}

// The old file stays when the count fails: an old number tells more than none.
void count_once(const trace::Scope& trace) {
  std::int32_t count = 0;
  if (!count_objects(trace, count)) {
    trace.always()("Error: DNSUtils::GetNumberOfObjectsInDomain() failed");
    return;
  }
  const std::string path = object_count_path();
  trace.always()("Path for NumberOfObjects file :%s", path.c_str());
  if (!write_object_count(path, count)) {
    trace.always()("Error: Number Of Objects file open failed: NumberOfObjects.txt");
  }
}

void count_in_turn(const trace::Scope& trace) {
  status::Collection collection(status::Job::kObjectCount);
  SYS1_GetLock(&g_collectLock);
  collection.begins(status::Collection::Lock::kHeld);
  count_once(trace);
  collection.ends();
  SYS1_ReleaseLock(&g_collectLock);
}

}  // namespace
}  // namespace collectors

unsigned collectNumberOfObjectsInDomain(void* /*argument*/) {
  DCW_TRACE("collectNumberOfObjectsInDomain");
  while (hTerminateEvent != nullptr) {
    collectors::count_in_turn(trace);
    Sleep(static_cast<DWORD>(g_numberOfObjectsInterval.load()));
  }
  return trace.returns(0u);
}
