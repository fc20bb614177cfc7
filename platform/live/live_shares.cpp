#include "platform/live/live_shares.h"

#include <fcntl.h>
#include <strings.h>

#include <cerrno>
#include <mutex>
#include <utility>

#include "platform/live/environment_text.h"
#include "platform/live/smb_library.h"

namespace platform::live {
namespace {

// The library keeps state of the whole process, whatever its contexts suggest.
std::mutex library_lock;

// Called for a password; the ticket must do, so that nothing is filled in.
void ask_nobody(SMBCCTX*, const char*, const char*, char*, int, char*, int, char*, int) {}

FileError file_error(int error) {
  switch (error) {
    case ENOENT:
      return kFileNotFound;
    case ENOTDIR:
      return kFilePathNotFound;
    case ENODEV:  // the server has no such share
      return kFileNoShare;
    case EACCES:
    case EPERM:
    case EISDIR:
      return kFileAccess;
    case EEXIST:
      return kFileExists;
    default:
      return kFileNoServer;
  }
}

// Shared with the files that are open, which outlast the shares where a controller is replaced.
class Library {
 public:
  explicit Library(int timeout_s) : timeout_s_(timeout_s) {}
  ~Library() {
    const std::lock_guard guard(library_lock);
    if (context_ != nullptr) calls_->free_context(context_, 1);
  }
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // Under library_lock. Null with errno; tried again at the next call.
  SMBCCTX* context() {
    if (context_ == nullptr) open_context();
    return context_;
  }
  // Good once there is a context.
  const SmbLibrary& calls() const { return *calls_; }

 private:
  // A context that is not initialised answers every call with "invalid argument", as if the address
  // were wrong.
  void open_context() {
    calls_ = SmbLibrary::load();
    if (calls_ == nullptr) return;
    SMBCCTX* const context = calls_->new_context();
    if (context == nullptr) return;
    calls_->set_debug(context, 0);
    calls_->set_debug_to_stderr(context, 1);  // rows may be on their way to standard output
    calls_->set_timeout(context, timeout_s_ * 1000);
    calls_->set_authentication(context, ask_nobody);
    calls_->set_use_kerberos(context, 1);
    calls_->set_fallback_after_kerberos(context, 0);
    calls_->set_no_automatic_anonymous_login(context, 1);
    if (calls_->init_context(context) != nullptr) {
      context_ = context;
      return;
    }
    const int error = errno;
    calls_->free_context(context, 1);
    errno = error;
  }

  const int timeout_s_;
  const SmbLibrary* calls_ = nullptr;
  SMBCCTX* context_ = nullptr;
};

class RemoteFile : public OpenFile {
 public:
  RemoteFile(std::shared_ptr<Library> library, SMBCFILE* file)
      : library_(std::move(library)), file_(file) {}
  ~RemoteFile() override {
    const std::lock_guard guard(library_lock);
    library_->calls().close(library_->context())(library_->context(), file_);
  }
  FileError read(void* buffer, std::size_t size, std::size_t& count) override {
    const std::lock_guard guard(library_lock);
    return moved(
        library_->calls().read(library_->context())(library_->context(), file_, buffer, size),
        count);
  }
  FileError write(const void* buffer, std::size_t size, std::size_t& count) override {
    const std::lock_guard guard(library_lock);
    return moved(
        library_->calls().write(library_->context())(library_->context(), file_, buffer, size),
        count);
  }

 private:
  static FileError moved(ssize_t result, std::size_t& count) {
    count = result < 0 ? 0 : static_cast<std::size_t>(result);
    return result < 0 ? file_error(errno) : 0;
  }
  const std::shared_ptr<Library> library_;
  SMBCFILE* const file_;
};

int open_flags(const Shares::How& how) {
  int flags = how.read && how.write ? O_RDWR : how.write ? O_WRONLY : O_RDONLY;
  if (!how.must_exist) flags |= O_CREAT;
  if (how.must_be_new) flags |= O_EXCL;
  if (how.truncates) flags |= O_TRUNC;
  return flags;
}

class LiveShares : public Shares {
 public:
  LiveShares(int timeout_s, MachineFacts machine)
      : library_(std::make_shared<Library>(timeout_s)), machine_(std::move(machine)) {}

  FileError open(const SharePath& path, const How& how, std::unique_ptr<OpenFile>& file,
                 bool& existed) override {
    bool is_folder = false;
    existed = look(path, is_folder) == 0;
    if (is_folder) return kFileAccess;
    SMBCFILE* opened = nullptr;
    {
      const std::lock_guard guard(library_lock);
      SMBCCTX* context = library_->context();
      if (context == nullptr) return file_error(errno);
      const std::string url = url_of(path);
      opened = library_->calls().open(context)(context, url.c_str(), open_flags(how), 0644);
      if (opened == nullptr) return file_error(errno);
    }
    file = std::make_unique<RemoteFile>(library_, opened);
    return 0;
  }

  FileError remove(const SharePath& path) override {
    const std::lock_guard guard(library_lock);
    SMBCCTX* context = library_->context();
    if (context == nullptr) return file_error(errno);
    const int result = library_->calls().unlink(context)(context, url_of(path).c_str());
    return result < 0 ? file_error(errno) : 0;
  }

  FileError look(const SharePath& path, bool& is_folder) override {
    const std::lock_guard guard(library_lock);
    SMBCCTX* context = library_->context();
    if (context == nullptr) return file_error(errno);
    struct stat found {};
    const int result = library_->calls().stat(context)(context, url_of(path).c_str(), &found);
    if (result < 0) return file_error(errno);
    is_folder = S_ISDIR(found.st_mode);
    return 0;
  }

 private:
  // A path may name the domain in the place of a server, as those of policies do. A client of the
  // domain is then referred to a controller near it, and none is nearer than the one at hand.
  std::string url_of(const SharePath& path) const {
    if (machine_.dns_suffix.empty() || !same_text(path.server, machine_.dns_suffix)) {
      return smb_url(path);
    }
    return smb_url({machine_.host_name + "." + machine_.dns_suffix, path.share, path.path});
  }
  static bool same_text(const std::string& left, const std::string& right) {
    return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
  }

  const std::shared_ptr<Library> library_;
  const MachineFacts machine_;
};

}  // namespace

int read_smb_timeout() { return seconds_from_environment("DIRWATCH_SMB_TIMEOUT", 10, 3600); }

std::string smb_url(const SharePath& path) {
  const std::string plain = path.server + "/" + path.share + "/" + path.path;
  std::string url = "smb://";
  for (const char c : plain) {
    const bool stays = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '/' || c == '.' || c == '-' || c == '_';
    if (stays) {
      url.push_back(c);
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    url.push_back('%');
    url.push_back("0123456789ABCDEF"[byte >> 4]);
    url.push_back("0123456789ABCDEF"[byte & 0xF]);
  }
  return url;
}

std::unique_ptr<Shares> make_live_shares(int timeout_s, const MachineFacts& machine) {
  return std::make_unique<LiveShares>(timeout_s, machine);
}

}  // namespace platform::live
