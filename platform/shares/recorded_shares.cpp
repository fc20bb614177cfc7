#include "platform/shares/recorded_shares.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <set>
#include <string_view>
#include <utility>

#include "platform/recorded/utf8.h"

namespace platform {
namespace {

// Shared by the share and by whoever has the file open: a file that is deleted stays readable for
// those who hold it.
struct StoredFile {
  std::mutex lock;
  std::string bytes;  // guarded by lock
};

class OpenedFile : public OpenFile {
 public:
  OpenedFile(std::shared_ptr<StoredFile> file, const Shares::How& how)
      : file_(std::move(file)), how_(how) {}

  FileError read(void* buffer, std::size_t size, std::size_t& count) override {
    count = 0;
    if (!how_.read) return kFileAccess;
    const std::lock_guard guard(file_->lock);
    if (position_ >= file_->bytes.size()) return 0;
    count = std::min(size, file_->bytes.size() - position_);
    std::memcpy(buffer, file_->bytes.data() + position_, count);
    position_ += count;
    return 0;
  }
  FileError write(const void* buffer, std::size_t size, std::size_t& count) override {
    count = 0;
    if (!how_.write) return kFileAccess;
    const std::lock_guard guard(file_->lock);
    if (file_->bytes.size() < position_ + size) file_->bytes.resize(position_ + size);
    std::copy_n(static_cast<const char*>(buffer), size, file_->bytes.data() + position_);
    position_ += size;
    count = size;
    return 0;
  }

 private:
  const std::shared_ptr<StoredFile> file_;
  const Shares::How how_;
  std::size_t position_ = 0;
};

class RecordedShares : public Shares {
 public:
  RecordedShares(const std::map<std::string, std::string>& files, const std::string& dns_suffix)
      : suffix_(dns_suffix.empty() ? std::string() : "." + fold_case(dns_suffix)) {
    for (const auto& [name, bytes] : files) {
      const std::string key = fold_case(name);
      add_folders(key);
      if (key.ends_with('/')) continue;
      files_[key] = std::make_shared<StoredFile>();
      files_[key]->bytes = bytes;
    }
  }

  FileError open(const SharePath& path, const How& how, std::unique_ptr<OpenFile>& file,
                 bool& existed) override {
    const std::lock_guard guard(lock_);
    std::string key;
    if (const FileError error = find_key(path, key)) return error;
    if (folders_.contains(key)) return kFileAccess;
    const auto found = files_.find(key);
    existed = found != files_.end();
    if (!existed && how.must_exist) return kFileNotFound;
    if (existed && how.must_be_new) return kFileExists;
    std::shared_ptr<StoredFile>& stored = files_[key];
    if (stored == nullptr) stored = std::make_shared<StoredFile>();
    if (how.truncates) {
      const std::lock_guard content(stored->lock);
      stored->bytes.clear();
    }
    file = std::make_unique<OpenedFile>(stored, how);
    return 0;
  }

  FileError remove(const SharePath& path) override {
    const std::lock_guard guard(lock_);
    std::string key;
    if (const FileError error = find_key(path, key)) return error;
    if (folders_.contains(key)) return kFileAccess;
    return files_.erase(key) == 0 ? kFileNotFound : 0;
  }

  FileError look(const SharePath& path, bool& is_folder) override {
    const std::lock_guard guard(lock_);
    std::string key;
    if (const FileError error = find_key(path, key)) return error;
    is_folder = folders_.contains(key);
    return is_folder || files_.contains(key) ? 0 : kFileNotFound;
  }

 private:
  void add_folders(const std::string& key) {
    for (std::size_t at = key.find('/'); at != key.npos; at = key.find('/', at + 1)) {
      folders_.insert(key.substr(0, at));
    }
  }

  // The key of a path whose folder is there, or what is missing on the way.
  FileError find_key(const SharePath& path, std::string& key) const {
    std::string server = fold_case(path.server);
    if (!folders_.contains(server) && !suffix_.empty() && server.ends_with(suffix_)) {
      server.resize(server.size() - suffix_.size());
    }
    if (server.empty() || !folders_.contains(server)) return kFileNoServer;
    key = server + "/" + fold_case(path.share);
    if (path.share.empty() || !folders_.contains(key)) return kFileNoShare;
    if (path.path.empty()) return 0;
    key += "/" + fold_case(path.path);
    return folders_.contains(key.substr(0, key.rfind('/'))) ? 0 : kFilePathNotFound;
  }

  const std::string suffix_;
  std::mutex lock_;
  std::map<std::string, std::shared_ptr<StoredFile>> files_;  // guarded by lock_
  std::set<std::string> folders_;                             // written by the constructor alone
};

}  // namespace

std::unique_ptr<Shares> make_recorded_shares(const std::map<std::string, std::string>& files,
                                             const std::string& dns_suffix) {
  return std::make_unique<RecordedShares>(files, dns_suffix);
}

}  // namespace platform
