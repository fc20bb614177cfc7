// The form of a trace record on disk:
//
//   2011-01-02T03:04:05.000Z 0000a1b4 adpdh.cpp:123 CollectData the text
//
// universal time, thread, place, function, text. Every physical line that does not begin with a
// time stamp begins with a tab and a bar and belongs to the record above it, so that text from
// outside (a directory, a command's output) cannot pass for a record of its own.

#include <cstdio>

#include "framework/iso_time.h"
#include "framework/trc/internal.h"

namespace trc {
std::string render(const Line& line) {
  char head[64];
  std::snprintf(head, sizeof head, " %08x ", static_cast<unsigned>(line.thread));
  std::string text = iso_time(line.time_ms) + head + line.file + ':' +
                     std::to_string(line.source_line) + ' ' + line.function + ' ';
  for (std::size_t at = 0; at < line.text.size(); ++at) {
    const char c = line.text[at];
    if (c == '\r' && at + 1 < line.text.size() && line.text[at + 1] == '\n') continue;
    if (c == '\n') {
      text += "\n\t| ";
    } else if (c != '\t' && static_cast<unsigned char>(c) < 0x20) {
      text += '?';
    } else {
      text += c;
    }
  }
  text += '\n';
  return text;
}

}  // namespace trc
