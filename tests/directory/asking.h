#pragma once
// A thread of the apartment that asks a recorded forest questions, with the trace in view and the
// books of the platform balanced at the end.

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "directory/result_codes.h"
#include "framework/trc/control.h"
#include "include/platform/adsi.h"
#include "include/settings.h"
#include "platform/control.h"
#include "tests/directory/forest.h"
#include "tests/support/small_recording.h"

namespace directory_test {

class Asking : public ::testing::Test {
 protected:
  explicit Asking(const std::string& text = forest()) {
    answer_from(text);
    g_sleepWhileIterating = 1;
    trc::set_flags(1 | 128);
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    SetLastError(kLastError);
  }
  ~Asking() override {
    platform::faults::clear();
    CoUninitialize();
    EXPECT_EQ(before_, platform::accounting::live());
  }

  // What the thread's last system error is before anything is asked; some messages tell it.
  static constexpr DWORD kLastError = 0x57;

  // Another forest from now on.
  void answer_from(const std::string& text, const std::map<std::string, std::string>& files = {}) {
    recording_.emplace(text, "", files);
  }

  // Fails each platform call that the question reaches, one at a time: nothing may crash or stay
  // behind, and the answer is right again afterwards. ask gives its answer as text. required: what
  // the trace must say when the first call of that name fails.
  void sweep(const std::function<std::string()>& ask,
             const std::map<std::string, std::string>& required) {
    const std::string right = ask();
    const auto before = platform::accounting::live();
    platform::faults::reset_counts();
    ask();
    const auto reached = platform::faults::reached();
    ASSERT_FALSE(reached.empty());
    std::map<std::string, std::string> missing = required;
    for (const auto& [call, times] : reached) {
      for (std::uint32_t nth = 1; nth <= times; ++nth) {
        SCOPED_TRACE(call + " " + std::to_string(nth));
        const trc::Capture trace;
        platform::faults::fail(call, nth);
        ask();
        EXPECT_TRUE(platform::faults::struck());
        platform::faults::clear();
        EXPECT_EQ(before, platform::accounting::live());
        const auto text = required.find(call);
        if (nth == 1 && text != required.end()) {
          EXPECT_TRUE(trace.contains(text->second)) << text->second;
          missing.erase(call);
        }
        EXPECT_EQ(right, ask());
      }
    }
    for (const auto& [call, text] : missing) ADD_FAILURE() << call << " was not reached";
  }

  std::map<std::string, std::int64_t> before_ = platform::accounting::live();
  std::optional<testing_support::SmallRecording> recording_;
  trc::Capture trace_;
};

inline std::string joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += name + ";";
  return text;
}

}  // namespace directory_test
