#pragma once
// A branch of the registry of a test's own, with three levels, and its import.

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "agent/environment_import.h"
#include "agent/registry.h"
#include "framework/trc/control.h"
#include "include/platform/environment.h"
#include "tests/agent/registry_tree.h"

namespace testing_support {

inline constexpr const char* kBranch = "DirWatcherTest\\Ver\\Primary";
inline constexpr const char* kLevel1 = "Ver\\Primary\\Environment";
inline constexpr const char* kLevel2 = "Ver\\Environment";
inline constexpr const char* kLevel3 = "Environment";

class ImportedBranch : public ::testing::Test {
 protected:
  ImportedBranch() {
    trc::set_flags(1 | 128);
    tree_.make("Ver\\Primary");
  }
  ~ImportedBranch() override {
    for (const std::string& name : names_) _putenv((name + "=").c_str());
  }

  // A value that the test looks for, or for whose absence.
  void text(const char* level, const std::string& name, const std::string& value,
            DWORD type = REG_SZ) {
    names_.push_back(name);
    tree_.set_text(level, name, value, type);
  }
  void bytes(const char* level, const std::string& name, const std::string& data, DWORD type) {
    names_.push_back(name);
    tree_.set(level, name, type, data);
  }
  static std::int32_t import(const std::string& branch = kBranch) {
    return SetEnvFromReg(branch.c_str());
  }
  static std::string variable(const std::string& name) {
    const char* value = std::getenv(name.c_str());
    return value == nullptr ? "(unset)" : value;
  }

  RegistryTree tree_{HKEY_LOCAL_MACHINE, "SOFTWARE\\Marlow\\DirWatcherTest"};
  std::vector<std::string> names_;
  trc::Capture trace_;
};

}  // namespace testing_support
