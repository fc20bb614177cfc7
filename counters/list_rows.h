#pragma once
// How a counter list is made from an object, an instance and counter names, at compile time, so
// that the lists are there before any code runs.

#include <array>
#include <cstddef>

#include "counters/lists.h"

namespace counters {

template <std::size_t kCount>
using Names = std::array<const char*, kCount>;

inline constexpr DWORD kNoIndex = 0xFFFFFFFF;

// The record's pointers are writable because the names behind them may be replaced; nobody writes
// through them, so that text constants may stand there.
constexpr CounterRow row(const char* object, const char* instance, const char* counter) {
  CounterRow made{};
  made.szObjectName = const_cast<char*>(object);
  made.szInstanceName = const_cast<char*>(instance);
  made.dwInstanceIndex = kNoIndex;
  made.szCounterName = const_cast<char*>(counter);
  return made;
}

template <std::size_t kCount>
constexpr std::array<CounterRow, kCount> rows(const char* object, const char* instance,
                                              const Names<kCount>& counters) {
  std::array<CounterRow, kCount> made{};
  for (std::size_t i = 0; i < kCount; ++i) made[i] = row(object, instance, counters[i]);
  return made;
}

template <typename Element, std::size_t kFirst, std::size_t kSecond>
constexpr std::array<Element, kFirst + kSecond> join(const std::array<Element, kFirst>& first,
                                                     const std::array<Element, kSecond>& second) {
  std::array<Element, kFirst + kSecond> made{};
  for (std::size_t i = 0; i < kFirst; ++i) made[i] = first[i];
  for (std::size_t i = 0; i < kSecond; ++i) made[kFirst + i] = second[i];
  return made;
}

template <std::size_t kFrom, std::size_t kCount, std::size_t kAll>
constexpr Names<kCount> part(const Names<kAll>& names) {
  static_assert(kFrom + kCount <= kAll);
  Names<kCount> made{};
  for (std::size_t i = 0; i < kCount; ++i) made[i] = names[kFrom + i];
  return made;
}

}  // namespace counters
