#include "framework/xaf/output.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>

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

std::shared_ptr<Output> Output::file(const std::string& path, std::string& error) {
  std::FILE* const stream = std::fopen(path.c_str(), "ab");
  if (stream == nullptr) {
    error = path + ": " + std::strerror(errno);
    return nullptr;
  }
  auto output = std::make_shared<Output>(stream, true);
  output->name_ = path;
  std::fseek(stream, 0, SEEK_END);
  output->empty_ = std::ftell(stream) <= 0;
  return output;
}

Output::~Output() {
  if (owned_) std::fclose(stream_);
}

void Output::Block::write(std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), output_.stream_) != bytes.size()) {
    throw std::runtime_error(output_.name_ + ": " + std::strerror(errno));
  }
}

void Output::Block::flush() {
  if (std::fflush(output_.stream_) != 0) {
    throw std::runtime_error(output_.name_ + ": " + std::strerror(errno));
  }
}

}  // namespace xaf
