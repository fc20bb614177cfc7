#include "framework/trc/rotating_file.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "framework/rotated_files.h"

namespace trc {

RotatingFile::~RotatingFile() { close(); }

bool RotatingFile::open(const FileSettings& settings, std::string& error) {
  close();
  settings_ = settings;
  return reopen(error);
}

void RotatingFile::close() {
  if (file_ != nullptr) std::fclose(file_);
  file_ = nullptr;
}

bool RotatingFile::reopen(std::string& error) {
  file_ = std::fopen(settings_.path.c_str(), "ab");
  if (file_ == nullptr) {
    error = settings_.path + ": " + std::strerror(errno);
    return false;
  }
  std::error_code failed;
  const std::uintmax_t size = std::filesystem::file_size(settings_.path, failed);
  size_ = failed ? 0 : size;
  return true;
}

bool RotatingFile::rotate(std::string& error) {
  close();
  return framework::move_aside(settings_.path, settings_.keep_files, error);
}

bool RotatingFile::write(std::string_view text, std::string& error) {
  bool rotated = true;
  if (file_ != nullptr && size_ > 0 && settings_.rotate_bytes > 0 &&
      size_ + text.size() > settings_.rotate_bytes) {
    rotated = rotate(error);
    std::string reason;
    if (!reopen(reason)) {
      error = reason;
      return false;
    }
    if (!rotated) size_ = 0;  // try again only after as many bytes more
  }
  if (file_ == nullptr) return false;
  const bool written =
      std::fwrite(text.data(), 1, text.size(), file_) == text.size() && std::fflush(file_) == 0;
  if (!written) error = settings_.path + ": " + std::strerror(errno);
  size_ += text.size();
  return written && rotated;
}

}  // namespace trc
