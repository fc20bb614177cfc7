#include "framework/xaf/output.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "framework/rotated_files.h"
#include "framework/xaf/control.h"
#include "platform/streams.h"

namespace xaf {
namespace {

// What standard output was before it was separated; else null. Made once, never closed.
std::FILE* separated_stream = nullptr;

std::mutex& standard_mutex() {
  static std::mutex* const instance = new std::mutex;
  return *instance;
}

}  // namespace

bool separate_standard_output() {
  const std::lock_guard hold(standard_mutex());
  if (separated_stream != nullptr) return true;
  std::fflush(stdout);
  const int kept = _dup(_fileno(stdout));
  if (kept < 0) return false;
  std::FILE* const stream = _fdopen(kept, "wb");
  if (stream == nullptr || _dup2(_fileno(stderr), _fileno(stdout)) != 0) return false;
  _setmode(kept, _O_BINARY);  // line ends are the sinks' business
  separated_stream = stream;
  return true;
}

std::shared_ptr<Output> Output::standard() {
  // One for the plain stream and one for the separated: whoever asks after the separation must not
  // get the stream that now belongs to the agent's own prints.
  static std::shared_ptr<Output> plain;
  static std::shared_ptr<Output> separated;
  const std::lock_guard hold(standard_mutex());
  std::shared_ptr<Output>& wanted = separated_stream == nullptr ? plain : separated;
  if (wanted == nullptr) {
    wanted =
        std::make_shared<Output>(separated_stream == nullptr ? stdout : separated_stream, false);
    wanted->name_ = "standard output";
  }
  return wanted;
}

std::shared_ptr<Output> Output::file(const std::string& path, const Rotation& rotation,
                                     std::string& error) {
  auto output = std::make_shared<Output>(nullptr, true);
  output->name_ = path;
  output->rotation_ = rotation;
  return output->open(error) ? output : nullptr;
}

Output::~Output() {
  if (owned_ && stream_ != nullptr) std::fclose(stream_);
}

bool Output::open(std::string& error) {
  stream_ = std::fopen(name_.c_str(), "ab");
  if (stream_ == nullptr) {
    error = name_ + ": " + std::strerror(errno);
    return false;
  }
  std::error_code failed;
  const std::uintmax_t size = std::filesystem::file_size(name_, failed);
  size_ = failed ? 0 : size;
  return true;
}

void Output::move_aside() {
  std::fclose(stream_);
  stream_ = nullptr;
  std::string error;
  const bool moved = framework::move_aside(name_, rotation_.keep_files, error);
  std::string reason;
  if (!open(reason)) throw std::runtime_error(reason);
  if (!moved) throw std::runtime_error(error);
}

void Output::Block::write(std::string_view bytes) {
  std::string error;
  if (output_.stream_ == nullptr && !output_.open(error)) throw std::runtime_error(error);
  output_.size_ += bytes.size();
  if (std::fwrite(bytes.data(), 1, bytes.size(), output_.stream_) != bytes.size()) {
    throw std::runtime_error(output_.name_ + ": " + std::strerror(errno));
  }
}

void Output::Block::flush() {
  if (std::fflush(output_.stream_) != 0) {
    throw std::runtime_error(output_.name_ + ": " + std::strerror(errno));
  }
  const std::uint64_t most = output_.rotation_.bytes;
  if (most > 0 && output_.size_ >= most) output_.move_aside();
}

}  // namespace xaf
