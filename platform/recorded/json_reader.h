#pragma once
// A strict reader for the JSON files of a recording. Each question to it either gives what was
// asked for or throws ControllerError with the file and the key at fault: "locator.json:
// controllers[0].site: is not a text". Keys that nobody knows and keys that stand twice are faults,
// too: a misspelt name must not pass for an absent one.

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/directory_services/services.h"

namespace platform {

class JsonPlace {
 public:
  // The whole of a file. Throws for text that is not JSON.
  static JsonPlace read(std::string_view text, const std::string& file_name);

  [[noreturn]] void refuse(const std::string& reason) const;

  // Of an object. The keys that it may have; throws for any other.
  void only(std::initializer_list<std::string_view> keys) const;
  bool has(std::string_view key) const;
  JsonPlace at(std::string_view key) const;  // throws where it is missing
  // Its keys, in the order of the alphabet.
  std::vector<std::string> keys() const;

  // Of an array: its elements. A key that is missing gives none.
  std::vector<JsonPlace> items() const;
  std::vector<JsonPlace> items(std::string_view key) const;

  std::string text() const;
  bool is_text() const;
  std::uint64_t number(std::uint64_t highest) const;
  bool flag() const;

  // The same of a key, with what a missing one means.
  std::string text(std::string_view key) const { return at(key).text(); }
  std::string text(std::string_view key, std::string_view missing) const;
  std::uint64_t number(std::string_view key, std::uint64_t highest, std::uint64_t missing) const;
  std::uint32_t number32(std::string_view key, std::uint32_t missing = 0) const {
    return static_cast<std::uint32_t>(number(key, 0xFFFFFFFFu, missing));
  }
  bool flag(std::string_view key, bool missing) const;
  // "3f2504e0-4f89-11d3-9a0c-0305e82c3301"; zeros for a missing one.
  GuidBytes guid(std::string_view key) const;
  // "2026-11-01T08:55:00Z" as 100 ns since 1601; 0 for a missing one.
  std::uint64_t time(std::string_view key) const;

 private:
  struct Node;
  JsonPlace(std::shared_ptr<const Node> document, const void* value, std::string file,
            std::string path);
  JsonPlace child(const void* value, const std::string& path) const;

  std::shared_ptr<const Node> document_;  // keeps the values alive
  const void* value_;
  std::string file_;
  std::string path_;
};

}  // namespace platform
