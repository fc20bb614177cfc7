#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include "platform/control.h"
#include "platform/kernel/fault_point.h"
#include "platform/kernel/paths.h"
#include "platform/kernel/scheduler.h"
#include "platform/shares/share_path.h"

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

// A file of this machine.
class LocalFile : public OpenFile {
 public:
  explicit LocalFile(int descriptor) : descriptor_(descriptor) {}
  ~LocalFile() override { close(descriptor_); }

  FileError read(void* buffer, std::size_t size, std::size_t& count) override {
    return transfer(size, count, [&](std::size_t done) {
      return ::read(descriptor_, static_cast<char*>(buffer) + done, size - done);
    });
  }
  FileError write(const void* buffer, std::size_t size, std::size_t& count) override {
    return transfer(size, count, [&](std::size_t done) {
      return ::write(descriptor_, static_cast<const char*>(buffer) + done, size - done);
    });
  }

 private:
  // Goes on until all is moved or the file's end is reached.
  template <typename Step>
  static FileError transfer(std::size_t size, std::size_t& count, Step&& step) {
    count = 0;
    while (count < size) {
      const ssize_t moved = step(count);
      if (moved == 0) break;
      if (moved < 0 && errno == EINTR) continue;
      if (moved < 0) return errno == EBADF ? ERROR_ACCESS_DENIED : error_from_errno(errno);
      count += static_cast<std::size_t>(moved);
    }
    return ERROR_SUCCESS;
  }

  const int descriptor_;
};

struct File : Object {
  explicit File(std::unique_ptr<OpenFile> its_file)
      : Object(Kind::kFile), file(std::move(its_file)) {
    signalled = true;  // as a file without asynchronous work is
  }
  const std::unique_ptr<OpenFile> file;
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

// Opens a file of this machine.
FileError open_local(const char* path, int flags, std::unique_ptr<OpenFile>& file, bool& existed) {
  const std::string native = native_path(path);
  if (native.empty()) return ERROR_PATH_NOT_FOUND;
  struct stat before {};
  existed = stat(native.c_str(), &before) == 0;
  if (existed && S_ISDIR(before.st_mode)) return ERROR_ACCESS_DENIED;
  const int descriptor = open(native.c_str(), flags, 0644);
  if (descriptor < 0) return open_error(native, errno);
  file = std::make_unique<LocalFile>(descriptor);
  return ERROR_SUCCESS;
}

// Opens a file of another machine, with the same flags.
FileError open_remote(const SharePath& path, int flags, std::unique_ptr<OpenFile>& file,
                      bool& existed) {
  const auto holder = controller();
  Shares* shares = holder->shares();
  if (shares == nullptr) return ERROR_BAD_NETPATH;
  Shares::How how;
  how.read = (flags & O_ACCMODE) != O_WRONLY;
  how.write = (flags & O_ACCMODE) != O_RDONLY;
  how.must_exist = (flags & O_CREAT) == 0;
  how.must_be_new = (flags & O_EXCL) != 0;
  how.truncates = (flags & O_TRUNC) != 0;
  return shares->open(path, how, file, existed);
}

// What stands at a path: 0 and whether it is a folder, and whether it may be written.
struct PathFacts {
  bool is_folder = false;
  bool is_read_only = false;
};
FileError look_at(const char* path, PathFacts& facts) {
  if (const auto remote = parse_share_path(path == nullptr ? "" : path)) {
    const auto holder = controller();
    Shares* shares = holder->shares();
    return shares == nullptr ? ERROR_BAD_NETPATH : shares->look(*remote, facts.is_folder);
  }
  const std::string native = native_path(path);
  struct stat found {};
  if (stat(native.c_str(), &found) != 0) return open_error(native, errno);
  facts.is_folder = S_ISDIR(found.st_mode);
  facts.is_read_only = (found.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0;
  return ERROR_SUCCESS;
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
  const int flags = platform::kernel::open_flags(access, disposition);
  if (flags == -1) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return INVALID_HANDLE_VALUE;
  }
  std::unique_ptr<platform::OpenFile> opened;
  bool existed = false;
  const auto remote = platform::parse_share_path(path == nullptr ? "" : path);
  const DWORD error = remote ? platform::kernel::open_remote(*remote, flags, opened, existed)
                             : platform::kernel::open_local(path, flags, opened, existed);
  if (error != ERROR_SUCCESS) {
    SetLastError(error);
    return INVALID_HANDLE_VALUE;
  }
  const bool may_exist = disposition == CREATE_ALWAYS || disposition == OPEN_ALWAYS;
  SetLastError(may_exist && existed ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
  auto file = std::make_shared<platform::kernel::File>(std::move(opened));
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
  std::size_t count = 0;
  const DWORD error = file->file->read(buffer, size, count);
  if (error == ERROR_SUCCESS && read_size != nullptr) *read_size = static_cast<DWORD>(count);
  if (error != ERROR_SUCCESS) SetLastError(error);
  return error == ERROR_SUCCESS;
}

BOOL WriteFile(HANDLE handle, const void* buffer, DWORD size, DWORD* written, OVERLAPPED*) {
  if (written != nullptr) *written = 0;
  if (const auto fault = fault_point("WriteFile")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  const auto file = find_file(handle);
  if (file == nullptr) return FALSE;
  std::size_t count = 0;
  const DWORD error = file->file->write(buffer, size, count);
  if (written != nullptr) *written = static_cast<DWORD>(count);
  if (error != ERROR_SUCCESS) SetLastError(error);
  return error == ERROR_SUCCESS;
}

BOOL DeleteFileA(const char* path) {
  if (const auto fault = fault_point("DeleteFileA")) {
    SetLastError(fault->win32());
    return FALSE;
  }
  if (const auto remote = platform::parse_share_path(path == nullptr ? "" : path)) {
    const auto holder = platform::controller();
    platform::Shares* shares = holder->shares();
    const DWORD error = shares == nullptr ? ERROR_BAD_NETPATH : shares->remove(*remote);
    if (error != ERROR_SUCCESS) SetLastError(error);
    return error == ERROR_SUCCESS;
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
  platform::kernel::PathFacts facts;
  if (const DWORD error = platform::kernel::look_at(path, facts)) {
    SetLastError(error);
    return INVALID_FILE_ATTRIBUTES;
  }
  const DWORD kind = facts.is_folder ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_ARCHIVE;
  return kind | (facts.is_read_only ? FILE_ATTRIBUTE_READONLY : 0u);
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
  if (platform::parse_share_path(path == nullptr ? "" : path)) {
    platform::kernel::PathFacts facts;
    if (platform::kernel::look_at(path, facts) == ERROR_SUCCESS) return 0;
    errno = ENOENT;
    return -1;
  }
  const int wanted = ((mode & 2) != 0 ? W_OK : 0) | ((mode & 4) != 0 ? R_OK : 0);
  return access(native_path(path).c_str(), wanted == 0 ? F_OK : wanted);
}
