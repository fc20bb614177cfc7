// Names of counters, from their indexes and from a list in the program's string table.

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "include/platform/counters.h"
#include "include/platform/messages.h"
#include "include/trace.h"
#include "tables/ckutil.h"

namespace {

constexpr std::size_t kSlotSize = 4096;
constexpr std::size_t kMostNames = 128;

// The texts that a call hands out. They live until the thread's next call: nobody frees them.
class Slots {
 public:
  Slots() { kept().clear(); }

  bool full() const { return kept().size() == kMostNames; }
  const char* add(const trace::Scope& trace, std::string text) {
    if (text.size() >= kSlotSize) {
      text.resize(kSlotSize - 1);
      trace.error()("Counter name cut to %zu characters", text.size());
    }
    // Each text has an address of its own, which the vector's growth does not change.
    return kept().emplace_back(std::make_unique<std::string>(std::move(text)))->c_str();
  }

 private:
  static std::vector<std::unique_ptr<std::string>>& kept() {
    thread_local std::vector<std::unique_ptr<std::string>> texts;
    return texts;
  }
};

// The text up to the end of the current name, taken off the front of the list. A blank before a
// comma or a closing parenthesis ends a name; a parenthesis without one ends the list at once, and
// what stood before it is no name.
enum class Ended { kName, kList, kText };
Ended take_name(std::string_view& list, std::string_view& name) {
  for (std::size_t i = 0; i < list.size(); ++i) {
    if (list[i] == ')') return Ended::kList;
    const char next = i + 1 < list.size() ? list[i + 1] : '\0';
    if (list[i] == ' ' && (next == ',' || next == ')')) {
      name = list.substr(0, i);
      // The comma and the blank behind it, but not the parenthesis.
      list.remove_prefix(next == ')' ? i + 1 : std::min(i + 3, list.size()));
      return Ended::kName;
    }
  }
  return Ended::kText;
}

}  // namespace

std::int32_t CKUtil::PerfIndexToName(const char* prefix, std::int32_t count,
                                     const std::uint32_t* indexes, const char** names) {
  DCW_TRACE("PerfIndexToName");
  Slots slots;
  for (std::int32_t i = 0; i < count; ++i) {
    if (slots.full()) {
      trace.error()("Counter indexes cut to %zu of %d", kMostNames, count);
      break;
    }
    std::array<char, 128> name{};
    DWORD size = static_cast<DWORD>(name.size());
    const PDH_STATUS status = PdhLookupPerfNameByIndexA(nullptr, indexes[i], name.data(), &size);
    if (status != 0) {
      trace.error()("Error: PdhLookupPerfNameByIndex() failed");
      DisplayPDHError(status);
      return trace.returns(0);
    }
    names[i] =
        slots.add(trace, prefix + std::string(name.data(), strnlen(name.data(), name.size())));
  }
  return trace.returns(1);
}

std::int32_t CKUtil::parseCounterList(std::uint32_t resource, const char* prefix,
                                      std::int32_t count, const char** names) {
  DCW_TRACE("parseCounterList");
  std::array<char, kSlotSize> text{};
  const int length = LoadStringA(nullptr, resource, text.data(), static_cast<int>(text.size()));
  if (length <= 0) {
    trace.error()("Unable to load resource string %d, error: %d\n", static_cast<int>(resource),
                  static_cast<int>(GetLastError()));
    return trace.returns(0);
  }
  std::string_view list(text.data(), static_cast<std::size_t>(length));
  const std::size_t open = list.find('(');
  if (open == std::string_view::npos) {
    trace.error()("Unable to find '(' character, resource string is invalid\n");
    return trace.returns(0);
  }
  list.remove_prefix(open);
  while (!list.empty() && std::isalpha(static_cast<unsigned char>(list.front())) == 0) {
    list.remove_prefix(1);
  }
  Slots slots;
  std::int32_t free_place = 0;
  for (std::string_view name;;) {
    const Ended ended = take_name(list, name);
    if (ended == Ended::kList) return trace.returns(1);
    if (ended == Ended::kText) {
      trace.error()("Unable to find ')' character, resource string is invalid\n");
      return trace.returns(0);
    }
    // A name that stands for one counter of each instance is for nobody here.
    if (name.find("INSTANCE") != std::string_view::npos) continue;
    if (free_place == count || slots.full()) {
      trace.error()("Counter list cut to %d names\n", static_cast<int>(free_place));
      return trace.returns(1);
    }
    names[free_place++] = slots.add(trace, prefix + std::string(name));
  }
}
