#pragma once
// The small forest of tests/directory/forest.h with neighbours of DC1: DC2 in its own site Hub and
// DC3 in Branch, as many contexts and partners as a test asks for.

#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "collectors/background.h"
#include "collectors/caches.h"
#include "include/platform/threads.h"
#include "include/settings.h"
#include "include/unique_handle.h"
#include "tests/collectors/sampling.h"
#include "tests/directory/forest.h"

namespace testing_support {

inline constexpr const char* kHubLocator = R"({"controllers": [
  {"name": "DC1.corp.example", "site": "Hub"}, {"name": "DC2.corp.example", "site": "Hub"},
  {"name": "DC3.corp.example", "site": "Branch"}]})";

inline const std::string kSchemaContext = "CN=Schema," + directory_test::kConfiguration;

// One neighbour of replication.json; more are further members, beginning with a comma.
inline std::string neighbour(const std::string& context, const std::string& site,
                             const std::string& server, const std::string& more = "") {
  return R"({"naming_context": ")" + context + R"(", "source_dsa": ")" +
         directory_test::settings_dn(site, server) + "\"" + more + "}";
}
inline std::string neighbours_of_dc1(const std::vector<std::string>& neighbours) {
  std::string text;
  for (const std::string& one : neighbours) text += (text.empty() ? "" : ",\n") + one;
  return R"({"servers": {"DC1": {"neighbours": [)" + text + "]}}}";
}
inline MoreFiles replication_files(const std::vector<std::string>& neighbours,
                                   const std::string& locator = kHubLocator) {
  return {{"locator.json", locator}, {"replication.json", neighbours_of_dc1(neighbours)}};
}

// Sample number, row number and time stamp differ between two samples.
inline Tolerance of_replication() { return {{{64, 4}, {68, 4}, {72, 16}}, {}}; }

class Replicating : public Sampling {
 protected:
  explicit Replicating(const std::vector<std::string>& neighbours,
                       const std::string& forest = directory_test::forest())
      : Sampling(forest, replication_files(neighbours)) {}
  void TearDown() override { g_cacheInterval = 0; }

  // Another world from now on.
  void record(const std::vector<std::string>& neighbours,
              const std::string& forest = directory_test::forest(),
              const std::string& locator = kHubLocator) {
    other_.emplace(forest, "", replication_files(neighbours, locator));
  }

  // A row's head, with sample and row number.
  static std::string head(std::int32_t sample, std::int32_t row,
                          const std::string& stamp = time_stamp()) {
    return origin_node() + number(sample) + number(row) + stamp + std::string(128, '\0');
  }
  static std::string text(const std::string& row, std::size_t offset, std::size_t width) {
    const std::string field = row.substr(offset, width);
    return field.substr(0, field.find_last_not_of(' ') + 1);
  }
  static std::int32_t integer(const std::string& row, std::size_t offset) {
    std::int32_t value;
    std::memcpy(&value, row.data() + offset, sizeof value);
    return value;
  }

  // What the functions of a source file traced, in order.
  static std::vector<std::string> texts_of(const trc::Capture& lines, const std::string& file) {
    std::vector<std::string> texts;
    for (const trc::Line& line : lines.lines()) {
      if (line.kind == trc::Kind::kText && line.file == file) texts.push_back(line.text);
    }
    return texts;
  }

  // Runs body while the table's thread collects every minute.
  static void while_cached(unsigned (*thread_entry)(void*), const std::function<void()>& body) {
    g_cacheInterval = 60000;
    hTerminateEvent = CreateEventA(nullptr, TRUE, FALSE, nullptr);
    const UniqueHandle thread{_beginthreadex(nullptr, 0, thread_entry, nullptr, 0, nullptr)};
    body();
    close_now(hTerminateEvent.exchange(nullptr));
    EXPECT_EQ(WAIT_OBJECT_0, WaitForSingleObject(thread.get(), INFINITE));
  }

 private:
  std::optional<SmallRecording> other_;
};

}  // namespace testing_support
