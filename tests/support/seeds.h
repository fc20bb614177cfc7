#pragma once
// Seeds of randomized tests: each test has one of its own, so that a change fails for what it
// changed; DIRWATCH_SEED=random takes new ones, and DIRWATCH_SEED=NUMBER runs that one again. The
// seed is said at once and again with each failure.
//
//   const Seed seed;                    // prints "replay with DIRWATCH_SEED=..."
//   Random random = seed.stream(run);   // run 17 alone repeats itself without the 16 before it

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <string_view>

namespace testing_support {

// Numbers that follow from their seed alone, the same with every compiler and library.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}

  std::uint64_t next() { return engine_(); }
  // 0 to bound - 1; the bound is above 0.
  std::uint64_t below(std::uint64_t bound) { return engine_() % bound; }
  // Both ends count.
  std::uint64_t between(std::uint64_t least, std::uint64_t most) {
    return least + below(most - least + 1);
  }
  // True one time in so many.
  bool one_in(std::uint64_t times) { return below(times) == 0; }

 private:
  std::mt19937_64 engine_;
};

// A replayed run is a short one: its test looks at given() and does that seed's work alone.
class Seed {
 public:
  Seed() : value_(choose(given_)), on_failure_(__FILE__, __LINE__, words()) {
    // At once too: what ends in an abort prints nothing later.
    std::printf("%s\n", words().c_str());
    std::fflush(stdout);
  }

  std::uint64_t value() const { return value_; }
  // Whether DIRWATCH_SEED named it.
  bool given() const { return given_; }
  // The numbers of one run out of many.
  Random stream(std::uint64_t run) const { return Random(value_ + run * 0x9E3779B97F4A7C15u); }

 private:
  static std::uint64_t choose(bool& given) {
    const char* text = std::getenv("DIRWATCH_SEED");
    const std::string_view asked = text == nullptr ? "" : text;
    given = !asked.empty() && asked != "random";
    if (given) return std::strtoull(text, nullptr, 0);
    return asked == "random" ? std::random_device{}() : of_test();
  }
  // From the running test's name (FNV-1a).
  static std::uint64_t of_test() {
    const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char c : std::string(test.test_suite_name()) + "." + test.name()) {
      hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3u;
    }
    return hash;
  }
  std::string words() const { return "replay with DIRWATCH_SEED=" + std::to_string(value_); }

  bool given_ = false;
  std::uint64_t value_;
  ::testing::ScopedTrace on_failure_;
};

}  // namespace testing_support
