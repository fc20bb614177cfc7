#pragma once
// Tests of the registry class over a tree of their own; on Windows over the real registry.

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "agent/registry.h"
#include "tests/agent/registry_tree.h"

namespace testing_support {

inline constexpr const char* kTree = "Software\\DirWatcherTest";

class RegistryPlace : public ::testing::Test {
 protected:
  RegistryPlace() {
    tree_.make("One");
    tree_.make("Three");
    tree_.make("Two\\Below\\Deep");
    tree_.set_text("", "A", "first");
    tree_.set_text("", "B", "second");
    tree_.set_text("", "C", "%B%", REG_EXPAND_SZ);
  }

  static std::int32_t open(CRegistry& registry, const std::string& below = "") {
    const std::string path = kTree + (below.empty() ? below : "\\" + below);
    return registry.Open(nullptr, HKEY_CURRENT_USER, path.c_str(), false);
  }
  // An object that stands at the tree, or beneath it.
  struct Opened {
    explicit Opened(const std::string& below = "") { EXPECT_EQ(0, open(registry, below)); }
    CRegistry registry;
  };

  static std::string path(CRegistry& registry) {
    char text[1024] = {};
    const RegistryText target{text, sizeof text};
    EXPECT_EQ(0, registry.GetInfo(nullptr, nullptr, &target, nullptr, nullptr, nullptr));
    return text;
  }
  static std::string below(const std::string& path) { return std::string(kTree) + "\\" + path; }
  // The last call's name and result.
  static std::string last(CRegistry& registry) {
    char call[24] = {};
    const LONG result = registry.LastError({call, sizeof call});
    return std::string(call) + " " + std::to_string(result);
  }
  static std::string value(CRegistry& registry, const char* name) {
    char text[64] = {};
    DWORD size = sizeof text;
    const std::int32_t code =
        registry.GetValue(name, reinterpret_cast<BYTE*>(text), nullptr, &size);
    return code == 0 ? text : "code " + std::to_string(code);
  }
  static std::int32_t next_value(CRegistry& registry, std::string& name, bool backwards = false) {
    char buffer[64];
    DWORD size = sizeof buffer;
    const std::int32_t code =
        registry.EnumVals(buffer, &size, nullptr, nullptr, nullptr, nullptr, backwards);
    name = code == 0 ? buffer : "";
    return code;
  }
  static std::int32_t next_key(CRegistry& registry, std::string& name, bool backwards = false) {
    char buffer[64];
    DWORD size = sizeof buffer;
    const std::int32_t code =
        registry.EnumKeys(buffer, &size, nullptr, nullptr, nullptr, nullptr, backwards);
    name = code == 0 ? buffer : "";
    return code;
  }
  using Next = std::int32_t (*)(CRegistry&, std::string&, bool);
  // Every name up to the end, with the end's code.
  static std::string all(CRegistry& registry, Next next, bool backwards = false) {
    std::string names, name;
    std::int32_t code = 0;
    while ((code = next(registry, name, backwards)) == 0) names += name + " ";
    return names + std::to_string(code);
  }

  RegistryTree tree_{HKEY_CURRENT_USER, kTree};
};

}  // namespace testing_support
