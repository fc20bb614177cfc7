#pragma once
// A piece of the registry of a test's own, made by the registry's own calls and gone with the test:
// the same on a recording and on a real registry.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "include/platform/base.h"
#include "include/platform/registry.h"

namespace testing_support {

class RegistryTree {
 public:
  RegistryTree(HKEY root, std::string path) : root_(root), path_(std::move(path)) {
    remove(path_);
    make("");
  }
  ~RegistryTree() { remove(path_); }
  RegistryTree(const RegistryTree&) = delete;
  RegistryTree& operator=(const RegistryTree&) = delete;

  const std::string& path() const { return path_; }
  // Makes a key beneath the tree's own, with all that lead to it.
  void make(const std::string& below) { RegCloseKey(open(below)); }
  void remove_below(const std::string& below) { remove(at(below)); }

  void set(const std::string& below, const std::string& name, DWORD type, const std::string& data) {
    const HKEY key = open(below);
    // Systems look one byte beyond a text, and store a zero that they find there.
    const std::string room = data + '#';
    EXPECT_EQ(0,
              RegSetValueExA(key, name.c_str(), 0, type, reinterpret_cast<const BYTE*>(room.data()),
                             static_cast<DWORD>(data.size())))
        << name;
    RegCloseKey(key);
  }
  // With its zero end, as programs store it.
  void set_text(const std::string& below, const std::string& name, const std::string& text,
                DWORD type = REG_SZ) {
    set(below, name, type, text + '\0');
  }
  bool has(const std::string& below) const {
    HKEY key = nullptr;
    if (RegOpenKeyExA(root_, at(below).c_str(), 0, KEY_READ, &key) != 0) return false;
    RegCloseKey(key);
    return true;
  }

 private:
  std::string at(const std::string& below) const {
    return below.empty() ? path_ : path_ + "\\" + below;
  }
  HKEY open(const std::string& below) {
    HKEY key = nullptr;
    EXPECT_EQ(0, RegCreateKeyExA(root_, at(below).c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                 &key, nullptr))
        << below;
    return key;
  }
  void remove(const std::string& path) { remove_from(root_, path); }
  // From its parent, since not every registry takes a long path at once.
  static void remove_from(HKEY parent, const std::string& path) {
    HKEY key = nullptr;
    if (RegOpenKeyExA(parent, path.c_str(), 0, KEY_ALL_ACCESS, &key) != 0) return;
    std::vector<std::string> names;
    char name[300];
    DWORD size = sizeof name;
    for (DWORD i = 0; RegEnumKeyExA(key, i, name, &size, nullptr, nullptr, nullptr, nullptr) == 0;
         ++i) {
      names.emplace_back(name);
      size = sizeof name;
    }
    for (const std::string& one : names) remove_from(key, one);
    RegCloseKey(key);
    EXPECT_EQ(0, RegDeleteKeyA(parent, path.c_str())) << path;
  }

  HKEY root_;
  std::string path_;
};

}  // namespace testing_support
