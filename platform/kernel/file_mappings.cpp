// Named memory. Between processes it is the system's shared memory, and a lock on it, which the
// system gives up with the process, tells whether anyone still has it: the system would keep name
// and content for ever.

#include <fcntl.h>
#include <sched.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "include/platform/memory.h"
#include "platform/kernel/accounting.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/paths.h"
#include "platform/kernel/process.h"
#include "platform/kernel/scheduler.h"

namespace platform::kernel {
namespace {

constexpr int kTries = 1000;

class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  int get() const { return number_; }
  explicit operator bool() const { return number_ >= 0; }

 private:
  int number_;
};

struct Mapping : Object {
  Mapping(Descriptor its_memory, std::string its_path)
      : Object(Kind::kMapping), memory(std::move(its_memory)), path(std::move(its_path)) {}
  ~Mapping() override { give_up(); }
  // Whoever finds that no other has the memory takes its name away.
  void give_up() const {
    if (!path.empty() && ::flock(memory.get(), LOCK_EX | LOCK_NB) == 0) ::shm_unlink(path.c_str());
  }
  const Descriptor memory;
  const std::string path;  // of shared memory; empty inside a simulated machine
};

accounting::Counter views_alive{"view"};

// Guarded by the scheduler's lock.
struct Mappings {
  std::map<std::string, std::weak_ptr<Mapping>> named;  // of the simulated machine
  std::vector<std::weak_ptr<Mapping>> made;             // shared with other processes, by this one
  // A simulated process leaves its views: what its code keeps in statics may still point there.
  std::map<const void*, std::size_t> views;  // with their sizes
};
Mappings& mappings() {
  static Mappings* const instance = new Mappings;
  return *instance;
}

constexpr std::string_view kGlobal = "Global\\";
constexpr std::string_view kLocal = "Local\\";

// 0 and the path of the name, or the error that the name deserves.
DWORD path_of(std::string_view name, std::string& path) {
  const bool is_global = name.starts_with(kGlobal);
  if (is_global) name.remove_prefix(kGlobal.size());
  if (name.starts_with(kLocal)) name.remove_prefix(kLocal.size());
  if (name.size() > MAX_PATH / 2) return ERROR_FILENAME_EXCED_RANGE;
  if (name.find_first_of("\\/") != name.npos) return ERROR_PATH_NOT_FOUND;
  path = "/dirwatch." + (is_global ? "" : std::to_string(::geteuid()) + ".") + std::string(name);
  return 0;
}

bool stands_under(const std::string& path, int memory) {
  const Descriptor now(::shm_open(path.c_str(), O_RDONLY, 0));
  struct stat named = {};
  struct stat ours = {};
  return now && ::fstat(now.get(), &named) == 0 && ::fstat(memory, &ours) == 0 &&
         named.st_ino == ours.st_ino && named.st_dev == ours.st_dev;
}

enum class Found { kNothing, kLiving, kError };

// Memory of that path that somebody has. Memory that nobody has is taken away on the way.
Found open_living(const std::string& path, int flags, Descriptor& memory, DWORD& error) {
  for (int i = 0; i < kTries; ++i) {
    Descriptor found(::shm_open(path.c_str(), flags, 0));
    if (!found && errno == ENOENT) return Found::kNothing;
    struct stat facts = {};
    if (!found || ::fstat(found.get(), &facts) != 0) {
      error = error_from_errno(errno);
      return Found::kError;
    }
    // Nobody shares memory that another user may change; only the administrator reads all.
    const uid_t self = ::geteuid();
    if (facts.st_uid != self && (self != 0 || flags != O_RDONLY)) {
      error = ERROR_ACCESS_DENIED;
      return Found::kError;
    }
    if (::flock(found.get(), LOCK_EX | LOCK_NB) == 0) {
      if (stands_under(path, found.get())) ::shm_unlink(path.c_str());
    } else if (::flock(found.get(), LOCK_SH | LOCK_NB) == 0) {
      if (stands_under(path, found.get())) {
        memory = std::move(found);
        return Found::kLiving;
      }
    } else {
      ::sched_yield();  // somebody looks whether it lives, or makes it
    }
  }
  error = ERROR_SHARING_VIOLATION;
  return Found::kError;
}

// 0, or the error. existed: somebody has it already.
DWORD make_shared(const std::string& path, std::size_t size, Descriptor& memory, bool& existed) {
  for (int i = 0; i < kTries; ++i) {
    DWORD error = 0;
    const Found found = open_living(path, O_RDWR, memory, error);
    existed = found == Found::kLiving;
    if (existed) return 0;
    if (found == Found::kError) return error;
    Descriptor made(::shm_open(path.c_str(), O_RDWR | O_CREAT | O_EXCL, 0600));
    if (!made && errno == EEXIST) continue;
    if (!made) return error_from_errno(errno);
    if (::flock(made.get(), LOCK_SH | LOCK_NB) != 0 || !stands_under(path, made.get())) continue;
    if (::ftruncate(made.get(), static_cast<off_t>(size)) != 0) {
      error = error_from_errno(errno);
      ::shm_unlink(path.c_str());
      return error;
    }
    memory = std::move(made);
    return 0;
  }
  return ERROR_SHARING_VIOLATION;
}

std::shared_ptr<Mapping> make_private(std::size_t size) {
  Descriptor memory(::memfd_create("mapping", MFD_CLOEXEC));
  if (!memory || ::ftruncate(memory.get(), static_cast<off_t>(size)) != 0) return nullptr;
  return std::make_shared<Mapping>(std::move(memory), "");
}

HANDLE fail(DWORD error) {
  SetLastError(error);
  return nullptr;
}

HANDLE create_simulated(const std::string& name, std::size_t size) {
  Lock lock = lock_scheduler();
  auto& named = mappings().named;
  if (const auto known = named.find(name); known != named.end()) {
    if (auto mapping = known->second.lock()) {
      SetLastError(ERROR_ALREADY_EXISTS);
      return open_handle(std::move(mapping), lock);
    }
  }
  auto mapping = make_private(size);
  if (mapping == nullptr) return fail(ERROR_NOT_ENOUGH_MEMORY);
  if (!name.empty()) named[name] = mapping;
  SetLastError(ERROR_SUCCESS);
  return open_handle(std::move(mapping), lock);
}

HANDLE create_shared(const std::string& name, std::size_t size) {
  std::string path;
  if (const DWORD error = path_of(name, path); error != 0) return fail(error);
  Descriptor memory;
  bool existed = false;
  if (const DWORD error = make_shared(path, size, memory, existed); error != 0) return fail(error);
  auto mapping = std::make_shared<Mapping>(std::move(memory), path);
  Lock lock = lock_scheduler();
  if (mappings().made.empty()) std::atexit(give_up_shared_memory);
  mappings().made.push_back(mapping);
  SetLastError(existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  return open_handle(std::move(mapping), lock);
}

HANDLE open_simulated(const std::string& name) {
  Lock lock = lock_scheduler();
  auto& named = mappings().named;
  const auto known = named.find(name);
  auto mapping = known == named.end() ? nullptr : known->second.lock();
  return mapping == nullptr ? fail(ERROR_FILE_NOT_FOUND) : open_handle(std::move(mapping), lock);
}

HANDLE open_shared(const std::string& name, int flags) {
  std::string path;
  if (const DWORD error = path_of(name, path); error != 0) return fail(error);
  Descriptor memory;
  DWORD error = ERROR_FILE_NOT_FOUND;
  if (open_living(path, flags, memory, error) != Found::kLiving) return fail(error);
  auto mapping = std::make_shared<Mapping>(std::move(memory), path);
  Lock lock = lock_scheduler();
  return open_handle(std::move(mapping), lock);
}

bool is_simulated() {
  const Lock lock = lock_scheduler();
  return scheduler().virtual_time;
}

}  // namespace

void give_up_shared_memory() {
  const Lock lock = lock_scheduler();
  for (const std::weak_ptr<Mapping>& one : mappings().made) {
    if (const auto mapping = one.lock()) mapping->give_up();
  }
}

}  // namespace platform::kernel

HANDLE CreateFileMappingA(HANDLE file, SECURITY_ATTRIBUTES*, DWORD protection, DWORD size_high,
                          DWORD size_low, const char* name) {
  using namespace platform::kernel;
  if (const auto fault = platform::fault_point("CreateFileMappingA")) return fail(fault->win32());
  const std::size_t size = (std::size_t{size_high} << 32) | size_low;
  if (file != INVALID_HANDLE_VALUE || protection != PAGE_READWRITE || size == 0) {
    return fail(ERROR_INVALID_PARAMETER);
  }
  const std::string text = name == nullptr ? "" : name;
  return text.empty() || is_simulated() ? create_simulated(text, size) : create_shared(text, size);
}

HANDLE OpenFileMappingA(DWORD access, BOOL, const char* name) {
  using namespace platform::kernel;
  if (const auto fault = platform::fault_point("OpenFileMappingA")) return fail(fault->win32());
  if (name == nullptr || *name == '\0') return fail(ERROR_INVALID_PARAMETER);
  if (is_simulated()) return open_simulated(name);
  return open_shared(name, (access & FILE_MAP_WRITE) != 0 ? O_RDWR : O_RDONLY);
}

LPVOID MapViewOfFile(HANDLE handle, DWORD access, DWORD offset_high, DWORD offset_low,
                     SIZE_T size) {
  using namespace platform::kernel;
  if (const auto fault = platform::fault_point("MapViewOfFile")) return fail(fault->win32());
  Lock lock = lock_scheduler();
  const auto mapping = find_object<Mapping>(handle, Kind::kMapping, lock);
  if (mapping == nullptr) return fail(ERROR_INVALID_HANDLE);
  struct stat facts = {};
  if (::fstat(mapping->memory.get(), &facts) != 0) return fail(error_from_errno(errno));
  const auto whole = static_cast<std::size_t>(facts.st_size);
  if (offset_high != 0 || offset_low != 0) return fail(ERROR_INVALID_PARAMETER);
  if (size > whole || whole == 0) return fail(ERROR_ACCESS_DENIED);
  const int protection = PROT_READ | ((access & FILE_MAP_WRITE) != 0 ? PROT_WRITE : 0);
  void* view =
      ::mmap(nullptr, size == 0 ? whole : size, protection, MAP_SHARED, mapping->memory.get(), 0);
  if (view == MAP_FAILED) return fail(error_from_errno(errno));
  mappings().views[view] = size == 0 ? whole : size;
  account(views_alive, current_process(), 1);
  return view;
}

BOOL UnmapViewOfFile(LPCVOID view) {
  using namespace platform::kernel;
  const auto fault = platform::fault_point("UnmapViewOfFile");
  Lock lock = lock_scheduler();
  auto& views = mappings().views;
  const auto known = views.find(view);
  const bool is_view = known != views.end();
  // One that fails on purpose still unmaps: the caller has no second try.
  if (is_view) {
    ::munmap(const_cast<void*>(view), known->second);
    account(views_alive, current_process(), -1);
    views.erase(known);
  }
  if (is_view && !fault) return TRUE;
  SetLastError(fault ? fault->win32() : ERROR_INVALID_PARAMETER);
  return FALSE;
}
