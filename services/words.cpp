#include "services/words.h"

#include <cstdlib>

#include "include/platform/messages.h"
#include "include/trace.h"

namespace {

constexpr UINT kStateWordCount = 9000;
constexpr UINT kFirstStateWord = 9001;
constexpr UINT kStartTypeWordCount = 9009;
constexpr UINT kFirstStartTypeWord = 9010;
constexpr UINT kUnknownWord = 9015;

void load_word(UINT count_id, UINT first_id, std::uint32_t value, char* buffer) {
  char count[64] = {};
  LoadStringA(nullptr, count_id, count, int{sizeof count});
  const bool known = value < static_cast<std::uint32_t>(std::atoi(count));
  LoadStringA(nullptr, known ? first_id + value : kUnknownWord, buffer, kServiceWordSize);
}

}  // namespace

char* GetStateWord(std::uint32_t state, char (&buffer)[kServiceWordSize]) {
  DCW_TRACE("GetStateWord");
  load_word(kStateWordCount, kFirstStateWord, state, buffer);
  return buffer;
}

char* GetStartTypeWord(std::uint32_t startType, char (&buffer)[kServiceWordSize]) {
  DCW_TRACE("GetStartTypeWord");
  load_word(kStartTypeWordCount, kFirstStartTypeWord, startType, buffer);
  return buffer;
}
