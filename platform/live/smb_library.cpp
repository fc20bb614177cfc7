#include "platform/live/smb_library.h"

#include <dlfcn.h>

#include <cerrno>
#include <optional>
#include <string>

#include "trace.h"

namespace platform::live {
namespace {

constexpr char kName[] = "libsmbclient.so.0";

struct Loaded {
  std::optional<SmbLibrary> library;
  std::string error;
};

template <typename Function>
bool find(void* image, const char* name, Function& function) {
  function = reinterpret_cast<Function>(dlsym(image, name));
  return function != nullptr;
}

Loaded load_now() {
  // The error's text belongs to the thread's next call of these functions, so it is copied at once.
  const auto failed = [] { return Loaded{std::nullopt, dlerror()}; };
  void* const image = dlopen(kName, RTLD_NOW | RTLD_LOCAL);
  if (image == nullptr) return failed();
  SmbLibrary library;
#define DCW_SMB_FIND(member, function) \
  if (!find(image, #function, library.member)) return failed();
  DCW_FOR_EACH_SMB_FUNCTION(DCW_SMB_FIND)
#undef DCW_SMB_FIND
  return Loaded{library, {}};
}

}  // namespace

const SmbLibrary* SmbLibrary::load() {
  DCW_TRACE("SmbLibrary::load");
  static const Loaded loaded = load_now();
  if (loaded.library) return &*loaded.library;
  trace.error()("Shares cannot be reached: %s; install libsmbclient", loaded.error.c_str());
  errno = ELIBACC;
  return nullptr;
}

}  // namespace platform::live
