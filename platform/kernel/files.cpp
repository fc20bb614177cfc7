#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/kernel/fault_point.h"
#include "platform/kernel/paths.h"
#include "platform/kernel/scheduler.h"

namespace platform::kernel {

std::string native_path(const char* path) {
  std::string native = path == nullptr ? "" : path;
  std::replace(native.begin(), native.end(), '\\', '/');
  return native;
}

DWORD error_from_errno(int error) {
  switch (error) {
    case ENOENT:
      return ERROR_FILE_NOT_FOUND;
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EISDIR:
    case EROFS:
      return ERROR_ACCESS_DENIED;
    case EEXIST:
      return ERROR_FILE_EXISTS;
    case EMFILE:
    case ENFILE:
      return ERROR_TOO_MANY_OPEN_FILES;
    case ENOSPC:
      return ERROR_DISK_FULL;
    case ENOMEM:
      return ERROR_NOT_ENOUGH_MEMORY;
    case ENAMETOOLONG:
      return ERROR_FILENAME_EXCED_RANGE;
    case EPIPE:
      return ERROR_BROKEN_PIPE;
    case EINVAL:
      return ERROR_INVALID_PARAMETER;
    default:
      return ERROR_GEN_FAILURE;
  }
}

namespace {

struct File : Object {
  explicit File(int its_descriptor) : Object(Kind::kFile), descriptor(its_descriptor) {
    signalled = true;  // as a file without asynchronous work is
  }
  ~File() override { close(descriptor); }
  const int descriptor;
};

// A missing folder on the way is another error than a missing file.
DWORD open_error(const std::string& path, int error) {
  if (error != ENOENT) return error_from_errno(error);
  const auto slash = path.rfind('/');
  if (slash == std::string::npos || slash == 0) return ERROR_FILE_NOT_FOUND;
  struct stat folder {};
  return stat(path.substr(0, slash).c_str(), &folder) == 0 ? ERROR_FILE_NOT_FOUND
                                                           : ERROR_PATH_NOT_FOUND;
}

// The flags of open, or -1 for a disposition that is none.
int open_flags(DWORD access, DWORD disposition) {
  int flags = O_CLOEXEC;
  const bool write = (access & GENERIC_WRITE) != 0;
  flags |= write && (access & GENERIC_READ) != 0 ? O_RDWR : write ? O_WRONLY : O_RDONLY;
  switch (disposition) {
    case CREATE_NEW:
      return flags | O_CREAT | O_EXCL;
    case CREATE_ALWAYS:
      return flags | O_CREAT | O_TRUNC;
    case OPEN_EXISTING:
      return flags;
    case OPEN_ALWAYS:
      return flags | O_CREAT;
    case TRUNCATE_EXISTING:
      return write ? flags | O_TRUNC : -1;
    default:
      return -1;
  }
}

std::shared_ptr<File> find_file(HANDLE handle) {
  Lock lock = lock_scheduler();
  auto file = find_object<File>(handle, Kind::kFile, lock);
  if (file == nullptr) SetLastError(ERROR_INVALID_HANDLE);
  return file;
}

}  // namespace
}  // namespace platform::kernel

using platform::fault_point;
using platform::kernel::error_from_errno;
using platform::kernel::find_file;
using platform::kernel::native_path;

HANDLE CreateFileA(const char* path, DWORD access, DWORD, SECURITY_ATTRIBUTES*, DWORD disposition,
                   DWORD, HANDLE) {
  if (const auto fault = fault_point("CreateFileA")) {
    SetLastError(fault->win32());
    return INVALID_HANDLE_VALUE;
  }
  const std::string native = native_path(path);
  const int flags = platform::kernel::open_flags(access, disposition);
  if (flags == -1 || native.empty()) {
    SetLastError(flags == -1 ? ERROR_INVALID_PARAMETER : ERROR_PATH_NOT_FOUND);
    return INVALID_HANDLE_VALUE;
  }
  struct stat before {};
  const bool existed = stat(native.c_str(), &before) == 0;
  if (existed && S_ISDIR(before.st_mode)) {
    SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
  }
  const int descriptor = open(native.c_str(), flags, 0644);
  if (descriptor < 0) {
    SetLastError(platform::kernel::open_error(native, errno));
    return INVALID_HANDLE_VALUE;
  }
  const bool may_exist = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
  SetLastError(may_exist && existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  auto file = std::make_shared<platform::kernel::File>(descriptor);
  auto lock = platform::kernel::lock_scheduler();
  return platform::kernel::open_handle(std::move(file), lock);
}

BOOL ReadFile(HANDLE handle, void* buffer, DWORD size, DWORD* read_size, OVERLAPPED*) {
  if (read_size != nullptr) *read_size = 0;
  if (const auto fault = fault_point("ReadFile")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  const auto file = find_file(handle);
  if (file == nullptr) return FALSE;
  DWORD total = 0;
  while (total < size) {
    const auto got = read(file->descriptor, static_cast<char*>(buffer) + total, size - total);
    if (got == 0) break;
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) {
      SetLastError(errno == EBADF ? ERROR_ACCESS_DENIED : error_from_errno(errno));
      return FALSE;
    }
    total += static_cast<DWORD>(got);
  }
  if (read_size != nullptr) *read_size = total;
  return TRUE;
}

BOOL WriteFile(HANDLE handle, const void* buffer, DWORD size, DWORD* written, OVERLAPPED*) {
  if (written != nullptr) *written = 0;
  if (const auto fault = fault_point("WriteFile")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  const auto file = find_file(handle);
  if (file == nullptr) return FALSE;
  DWORD total = 0;
  while (total < size) {
    const auto put =
        write(file->descriptor, static_cast<const char*>(buffer) + total, size - total);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) {
      SetLastError(errno == EBADF ? ERROR_ACCESS_DENIED : error_from_errno(errno));
      return FALSE;
    }
    total += static_cast<DWORD>(put);
    if (written != nullptr) *written = total;
  }
  return TRUE;
}

BOOL DeleteFileA(const char* path) {
  if (const auto fault = fault_point("DeleteFileA")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  const std::string native = native_path(path);
  if (unlink(native.c_str()) == 0) return TRUE;
  SetLastError(platform::kernel::open_error(native, errno));
  return FALSE;
}

DWORD GetFileAttributesA(const char* path) {
  if (const auto fault = fault_point("GetFileAttributesA")) {
    SetLastError(fault->win32());
    return INVALID_FILE_ATTRIBUTES;
  }
  const std::string native = native_path(path);
  struct stat facts {};
  if (stat(native.c_str(), &facts) != 0) {
    SetLastError(platform::kernel::open_error(native, errno));
    return INVALID_FILE_ATTRIBUTES;
  }
  const DWORD kind = S_ISDIR(facts.st_mode) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  const bool read_only = (facts.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
  return kind | (read_only ? FILE_ATTRIBUTE_READONLY : 0u);
}

int _access(const char* path, int mode) {
  if (const auto fault = fault_point("_access")) {
    errno = static_cast<int>(fault->code);
    return -1;
  }
  if ((mode & ~6) != 0) {
    errno = EINVAL;
    return -1;
  }
  const int wanted = ((mode & 2) != 0 ? W_OK : 0) | ((mode & 4) != 0 ? R_OK : 0);
  return access(native_path(path).c_str(), wanted == 0 ? F_OK : wanted);
}
