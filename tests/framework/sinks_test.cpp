// What the sinks write, byte for byte.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "framework/xaf/control.h"
#include "platform/streams.h"
#include "platform/text.h"
#include "tests/framework/probe_table.h"

namespace {

using testing::HasSubstr;

constexpr std::int64_t kTime = 1293937445678;  // 2011-01-02 03:04:05.678

std::string read(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class Sinks : public testing::Test {
 protected:
  Sinks() {
    folder_ = testing::TempDir() + "/dirwatch_sinks_" +
              testing::UnitTest::GetInstance()->current_test_info()->name();
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    path_ = folder_ + "/rows";
  }
  ~Sinks() override {
    // Where a file that is still open cannot be removed, the next run removes it.
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }

  std::shared_ptr<xaf::Sink> open(const std::string& format) { return open(format, path_); }
  static std::shared_ptr<xaf::Sink> open(const std::string& format, const std::string& path,
                                         const xaf::Rotation& rotation = {}) {
    std::string error;
    std::shared_ptr<xaf::Sink> sink = xaf::make_sink(format, path, error, rotation);
    EXPECT_NE(sink, nullptr) << error;
    return sink;
  }
  void deliver(xaf::Sink& sink, const std::string& rows, const std::string& table = "PROBE") {
    xaf::Delivery delivery;
    delivery.application = "TST";
    delivery.table = table;
    delivery.time_ms = kTime;
    delivery.row_size = row_size_;
    delivery.count = static_cast<std::uint32_t>(rows.size() / row_size_);
    delivery.rows = rows.data();
    delivery.columns = &columns_;
    sink.deliver(delivery);
  }

  std::string folder_;
  std::string path_;
  std::uint32_t row_size_ = probe::kRowSize;
  std::vector<xaf::ColumnView> columns_ = {
      {"name", 0, 8, 9}, {"count", 8, 4, 3}, {"title", 12, 12, 12}};
};

TEST_F(Sinks, JsonIsOneObjectARow) {
  deliver(*open("json"), probe::row("DC01", -7, "Gr\xC3\xBC\xC3\x9F") +
                             probe::row("", 2147483647, std::string("a\0\0", 3)));
  EXPECT_EQ(read(path_),
            "{\"table\":\"PROBE\",\"time\":\"2011-01-02T03:04:05.678Z\",\"name\":\"DC01\","
            "\"count\":-7,\"title\":\"Gr\xC3\xBC\xC3\x9F\"}\n"
            "{\"table\":\"PROBE\",\"time\":\"2011-01-02T03:04:05.678Z\",\"name\":\"\","
            "\"count\":2147483647,\"title\":\"a\"}\n");
}

TEST_F(Sinks, JsonEscapesAndReplacesSoThatEveryLineIsValid) {
  deliver(*open("json"), probe::row("\"\\\n\t\x01\x7f", 1, std::string("a\0b \xFF", 5)) +
                             probe::row("n", 2, "\xED\xA0\x80\xF0\x9F\x98") +
                             probe::row("n", 3, "\xF4\x90\x80\x80\xE0\x80\x80") +
                             probe::row("n", 4, "\xC0\xAF\xF8\xC3"));
  const std::string bad = "\xEF\xBF\xBD";
  std::istringstream lines(read(path_));
  std::string line;
  std::getline(lines, line);
  EXPECT_THAT(line, HasSubstr("\"name\":\"\\\"\\\\\\n\\t\\u0001\\u007f\","));
  EXPECT_THAT(line, HasSubstr("\"title\":\"a\\u0000b " + bad + "\"}"));
  EXPECT_TRUE(nlohmann::json::accept(line));
  std::getline(lines, line);
  EXPECT_THAT(line, HasSubstr("\"title\":\"" + bad + bad + bad + bad + bad + bad + "\"}"));
  EXPECT_TRUE(nlohmann::json::accept(line));
  std::getline(lines, line);
  EXPECT_TRUE(nlohmann::json::accept(line)) << line;
  std::getline(lines, line);
  EXPECT_THAT(line, HasSubstr("\"title\":\"" + bad + bad + bad + bad + "\"}"));
  EXPECT_TRUE(nlohmann::json::accept(line));
}

// The process code page: UTF-8 here, another one on Windows.
std::string process_text(std::wstring_view wide) {
  std::string narrow(wide.size() * 4, '\0');
  const int size =
      WideCharToMultiByte(CP_ACP, 0, wide.data(), static_cast<int>(wide.size()), narrow.data(),
                          static_cast<int>(narrow.size()), nullptr, nullptr);
  narrow.resize(static_cast<std::size_t>(size));
  return narrow;
}

TEST_F(Sinks, ASingleByteColumnLeavesItsCodePageForUtf8) {
  const std::string rows = probe::row(process_text(L"Gr\u00FC\u00DFe"), 1, "Gr\xC3\xBC\xC3\x9F");
  deliver(*open("json"), rows);
  EXPECT_THAT(read(path_), HasSubstr("\"name\":\"Gr\xC3\xBC\xC3\x9F"
                                     "e\",\"count\":1,"
                                     "\"title\":\"Gr\xC3\xBC\xC3\x9F\"}"));
  std::filesystem::remove(path_);
  deliver(*open("csv"), rows);
  EXPECT_THAT(read(path_), HasSubstr("Gr\xC3\xBC\xC3\x9F"
                                     "e,1,Gr\xC3\xBC\xC3\x9F"));
  std::filesystem::remove(path_);
  deliver(*open("table"), rows);
  EXPECT_THAT(read(path_), HasSubstr("Gr\xC3\xBC\xC3\x9F"
                                     "e"));
}

TEST_F(Sinks, EveryByteInAFieldLeavesValidJson) {
  const auto sink = open("json");
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text = std::string("x") + static_cast<char>(byte) + "y";
    deliver(*sink, probe::row(text, byte, text));
  }
  std::istringstream lines(read(path_));
  std::string line;
  int count = 0;
  while (std::getline(lines, line)) {
    ASSERT_TRUE(nlohmann::json::accept(line)) << line;
    EXPECT_EQ(nlohmann::json::parse(line)["count"], count);
    ++count;
  }
  EXPECT_EQ(count, 256);
}

TEST_F(Sinks, ALargeDeliveryIsWholeAndInOrder) {
  std::string rows;
  for (int count = 0; count < 5000; ++count) rows += probe::row("n", count);
  deliver(*open("json"), rows);
  std::istringstream lines(read(path_));
  std::string line;
  int count = 0;
  while (std::getline(lines, line)) {
    ASSERT_EQ(nlohmann::json::parse(line)["count"], count);
    ++count;
  }
  EXPECT_EQ(count, 5000);
}

TEST_F(Sinks, CsvQuotesWhatNeedsIt) {
  deliver(*open("csv"), probe::row("plain", 1, "a,b") + probe::row("q\"q", 2, "line\r\nend"));
  EXPECT_EQ(read(path_),
            "table,time,name,count,title\r\n"
            "PROBE,2011-01-02T03:04:05.678Z,plain,1,\"a,b\"\r\n"
            "PROBE,2011-01-02T03:04:05.678Z,\"q\"\"q\",2,\"line\r\nend\"\r\n");
}

TEST_F(Sinks, CsvWritesAHeaderWhereverTheTableChanges) {
  const auto sink = open("csv");
  deliver(*sink, probe::row("a", 1), "ONE");
  deliver(*sink, probe::row("b", 2), "ONE");
  deliver(*sink, probe::row("c", 3), "TWO");
  deliver(*sink, probe::row("d", 4), "ONE");
  const std::string header = "table,time,name,count,title\r\n";
  const std::string time = ",2011-01-02T03:04:05.678Z,";
  EXPECT_EQ(read(path_), header + "ONE" + time + "a,1,\r\nONE" + time + "b,2,\r\n" + header +
                             "TWO" + time + "c,3,\r\n" + header + "ONE" + time + "d,4,\r\n");
}

TEST_F(Sinks, CsvInAFolderIsOneFileATableWithOneHeader) {
  const std::string folder = folder_ + "/csv/";  // made when it is not there
  {
    const auto sink = open("csv", folder);
    deliver(*sink, probe::row("a", 1), "ONE");
    deliver(*sink, probe::row("b", 2), "TWO");
    sink->close();
  }
  deliver(*open("csv", folder), probe::row("c", 3), "ONE");
  const std::string header = "table,time,name,count,title\r\n";
  const std::string time = ",2011-01-02T03:04:05.678Z,";
  EXPECT_EQ(read(folder + "ONE.csv"),
            header + "ONE" + time + "a,1,\r\n" + "ONE" + time + "c,3,\r\n");
  EXPECT_EQ(read(folder + "TWO.csv"), header + "TWO" + time + "b,2,\r\n");
}

TEST_F(Sinks, ANarrowTableIsAlignedInColumns) {
  deliver(*open("table"),
          probe::row("DC01", 5, "z\xC3\xBCrich") + probe::row("SERVER02", -12345, "b\n"));
  EXPECT_EQ(read(path_),
            "PROBE  2011-01-02T03:04:05.678Z  2 rows\n"
            "  name       count  title\n"
            "  DC01           5  z\xC3\xBCrich\n"
            "  SERVER02  -12345  b?\n"
            "\n");
}

TEST_F(Sinks, TheColumnsThatEveryTableBeginsWithStandInTheHeading) {
  row_size_ = 64 + 4 + 4 + 16 + 64 + 64 + 4;
  columns_ = {{"originnode", 0, 64, 9}, {"sampleno", 64, 4, 3}, {"rowno", 68, 4, 3},
              {"timestamp", 72, 16, 9}, {"zattrib", 88, 64, 9}, {"zvalue", 152, 64, 9},
              {"abanrps", 216, 4, 3}};
  std::string row = "DC01";
  row.resize(64, ' ');
  row.resize(216, '\0');
  row += std::string("\x2A\0\0\0", 4);
  deliver(*open("table"), row);
  EXPECT_EQ(read(path_), "PROBE  DC01  2011-01-02T03:04:05.678Z  1 row\n  abanrps\n       42\n\n");
}

TEST_F(Sinks, AWideTableIsAListOfNamesAndValues) {
  row_size_ = 204;
  columns_ = {{"path", 0, 200, 9}, {"n", 200, 4, 3}};
  std::string row(150, 'p');
  row.resize(200, ' ');
  row += std::string("\x01\0\0\0", 4);
  deliver(*open("table"), row + row);
  const std::string values = "  path  " + std::string(150, 'p') + "\n  n     1\n";
  EXPECT_EQ(read(path_), "PROBE  2011-01-02T03:04:05.678Z  2 rows\n  row 1\n" + values +
                             "  row 2\n" + values + "\n");
}

TEST_F(Sinks, AColumnBeyondTheRowIsEmptyAndNothingIsReadThere) {
  columns_.push_back({"beyond", 20, 12, 9});
  deliver(*open("json"), probe::row("a", 1));
  EXPECT_THAT(read(path_), HasSubstr("\"beyond\":\"\"}"));
}

TEST_F(Sinks, WhatCannotBeMadeSaysWhy) {
  std::string error;
  EXPECT_EQ(xaf::make_sink("xml", "", error), nullptr);
  EXPECT_EQ(error, "xml: no such format; there are table, json and csv");
  EXPECT_EQ(xaf::make_sink("json", folder_ + "/missing/rows", error), nullptr);
  EXPECT_EQ(error, folder_ + "/missing/rows: No such file or directory");
}

TEST_F(Sinks, ADiskThatIsFullIsAnError) {
  if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "no /dev/full here";
  const auto sink = open("json", "/dev/full");
  EXPECT_THROW(deliver(*sink, probe::row("a", 1)), std::runtime_error);
}

TEST_F(Sinks, TheAgentsOwnPrintsStayApartFromTheRows) {
  // Standard output and standard error go to files of their own for the time of this test.
  std::fflush(stdout);
  std::fflush(stderr);
  const int kept_output = _dup(_fileno(stdout));
  const int kept_error = _dup(_fileno(stderr));
  std::FILE* const output = std::fopen((folder_ + "/output").c_str(), "wb");
  std::FILE* const error = std::fopen((folder_ + "/error").c_str(), "wb");
  _dup2(_fileno(output), _fileno(stdout));
  _dup2(_fileno(error), _fileno(stderr));

  const bool separated = xaf::separate_standard_output() && xaf::separate_standard_output();
  std::printf("printed by the agent\n");
  deliver(*open("json", ""), probe::row("a", 1));
  std::fflush(stdout);

  _dup2(kept_output, _fileno(stdout));
  _dup2(kept_error, _fileno(stderr));
  std::fclose(output);
  std::fclose(error);
  EXPECT_TRUE(separated);
  EXPECT_EQ(read(folder_ + "/error"), "printed by the agent\n");
  EXPECT_EQ(read(folder_ + "/output"),
            "{\"table\":\"PROBE\",\"time\":\"2011-01-02T03:04:05.678Z\",\"name\":\"a\",\"count\":1,"
            "\"title\":\"\"}\n");
}

TEST_F(Sinks, AFileThatHasGrownEnoughIsMovedAsideAfterTheDelivery) {
  const auto sink = open("json", path_, {150, 2});
  std::vector<std::string> written;
  for (int number = 1; number <= 4; ++number) {
    // Two rows of about 80 bytes each: over the limit, yet never torn apart.
    deliver(*sink, probe::row("DC01", number, "a") + probe::row("DC02", number, "b"));
    EXPECT_EQ(read(path_), "");
    written.push_back(read(path_ + ".1"));
    EXPECT_THAT(written.back(), HasSubstr("\"DC02\",\"count\":" + std::to_string(number)));
  }
  EXPECT_EQ(read(path_ + ".2"), written[2]);
  EXPECT_FALSE(std::filesystem::exists(path_ + ".3"));
}

TEST_F(Sinks, AFileBelowItsLimitStaysAndCountsWhatItHeldBefore) {
  deliver(*open("json", path_, {150, 2}), probe::row("DC01", 1, "a"));
  EXPECT_FALSE(std::filesystem::exists(path_ + ".1"));
  deliver(*open("json", path_, {150, 2}), probe::row("DC01", 2, "a"));
  EXPECT_THAT(read(path_ + ".1"), HasSubstr("\"count\":2"));
}

TEST_F(Sinks, EachCsvFileAfterARotationHasItsHeader) {
  const auto sink = open("csv", path_, {1, 5});
  deliver(*sink, probe::row("DC01", 1, "a"));
  deliver(*sink, probe::row("DC01", 2, "a"));
  EXPECT_THAT(read(path_ + ".2"), testing::StartsWith("table,time,name"));
  EXPECT_THAT(read(path_ + ".1"), testing::StartsWith("table,time,name"));
  const auto folder = open("csv", folder_ + "/all/", {1, 5});
  deliver(*folder, probe::row("DC01", 1, "a"));
  deliver(*folder, probe::row("DC01", 2, "a"));
  EXPECT_THAT(read(folder_ + "/all/PROBE.csv.2"), testing::StartsWith("table,time,name"));
  EXPECT_THAT(read(folder_ + "/all/PROBE.csv.1"), testing::StartsWith("table,time,name"));
}

TEST_F(Sinks, AFileThatCannotBeMovedAsideIsToldAndWrittenOn) {
  // A folder with something in it stands where the file should go.
  std::filesystem::create_directories(path_ + ".1/taken");
  const auto sink = open("json", path_, {1, 1});
  EXPECT_THROW(deliver(*sink, probe::row("DC01", 1, "a")), std::runtime_error);
  EXPECT_THROW(deliver(*sink, probe::row("DC01", 2, "a")), std::runtime_error);
  EXPECT_THAT(read(path_), HasSubstr("\"count\":1"));
  EXPECT_THAT(read(path_), HasSubstr("\"count\":2"));
}

}  // namespace
