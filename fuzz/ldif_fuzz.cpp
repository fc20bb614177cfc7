// Any bytes either read as LDIF or are refused with file and line, and what was read is written and
// read back the same.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "platform/recorded/filter.h"
#include "platform/recorded/ldif.h"
#include "platform/recorded/recorded_directory.h"

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

bool same(const platform::Entry& left, const platform::Entry& right) {
  if (left.dn != right.dn || left.attributes.size() != right.attributes.size()) return false;
  for (std::size_t i = 0; i < left.attributes.size(); ++i) {
    if (left.attributes[i].name != right.attributes[i].name) return false;
    if (left.attributes[i].values != right.attributes[i].values) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  platform::parse_filter(text);
  try {
    const auto records = platform::read_ldif(text, "f");
    std::string written = platform::ldif_version_line();
    for (const auto& record : records) written += platform::ldif_record(record.entry);
    const auto again = platform::read_ldif(written, "f");
    require(again.size() == records.size());
    for (std::size_t i = 0; i < records.size(); ++i) {
      require(same(again[i].entry, records[i].entry));
    }
    const auto directory = platform::read_directory(text, "f");
    platform::Entry entry;
    for (const auto& record : records) directory->read("", record.entry.dn, {}, entry);
    std::unique_ptr<platform::EntryCursor> cursor;
    if (!records.empty() &&
        directory->search("", records.front().entry.dn, platform::SearchScope::kSubtree, "", {},
                          cursor) == platform::kDirectoryOk) {
      while (cursor->next(entry) == platform::kDirectoryOk) {
      }
    }
  } catch (const platform::ControllerError& error) {
    require(std::string_view(error.what()).starts_with("f:"));
  }
  return 0;
}
