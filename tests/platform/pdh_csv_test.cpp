// Counter logs as the tools write them, and files that are none.

#include "platform/counters/pdh_csv.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "platform/counters/recorded_counters.h"

namespace {

using platform::ControllerError;
using platform::CounterPath;
using platform::CounterSeries;
using platform::parse_pdh_csv;

constexpr std::uint32_t kNoInstance = 0x800007D1, kNoMachine = 0x800007D0;
constexpr std::uint32_t kNoObject = 0xC0000BB8, kNoCounter = 0xC0000BB9;

CounterSeries parse(const std::string& text) { return parse_pdh_csv(text, "c.csv"); }

std::string error_of(const std::string& text) {
  try {
    parse(text);
  } catch (const ControllerError& error) {
    return error.what();
  }
  return "no error";
}

// A file of one counter with the given value lines behind the stamp of the first second.
std::string file_of(const std::string& header, const std::string& rows) {
  return "\"(PDH-CSV 4.0) (UTC)(0)\"," + header + "\r\n" + rows;
}

std::string utf16(const std::string& ascii) {
  std::string bytes = "\xFF\xFE";
  for (const char c : ascii) (bytes += c) += '\0';
  return bytes;
}

const char kPlain[] =
    "\"(PDH-CSV 4.0) (W. Europe Standard Time)(-60)\",\"\\\\DC1\\NTDS\\LDAP Searches/sec\","
    "\"\\\\DC1\\NTDS\\LDAP Client Sessions\"\r\n"
    "\"03/11/2024 09:00:00.125\",\" \",\"7\"\r\n"
    "\"03/11/2024 09:00:15.125\",\"12.500000\",\"8\"\r\n";

void expect_plain(const CounterSeries& series) {
  ASSERT_EQ(series.paths.size(), 2u);
  EXPECT_EQ(series.paths[0].machine, "DC1");
  EXPECT_EQ(series.paths[0].object, "NTDS");
  EXPECT_EQ(series.paths[0].instance, "");
  EXPECT_EQ(series.paths[0].counter, "LDAP Searches/sec");
  EXPECT_EQ(series.paths[1].counter, "LDAP Client Sessions");
  ASSERT_EQ(series.offsets_ms, (std::vector<std::int64_t>{0, 15000}));
  EXPECT_TRUE(std::isnan(series.cells[0]));
  EXPECT_EQ(series.cells[1], 7.0);
  EXPECT_EQ(series.cells[2], 12.5);
  EXPECT_EQ(series.cells[3], 8.0);
}

TEST(PdhCsv, ReadsWhatTypeperfWrites) { expect_plain(parse(kPlain)); }

TEST(PdhCsv, TakesPlainLineFeeds) {
  std::string text = kPlain;
  std::erase(text, '\r');
  expect_plain(parse(text));
}

TEST(PdhCsv, TakesAByteOrderMark) { expect_plain(parse("\xEF\xBB\xBF" + std::string(kPlain))); }

TEST(PdhCsv, TakesUtf16) { expect_plain(parse(utf16(kPlain))); }

TEST(PdhCsv, TakesUtf16CutInTheMiddleOfACharacter) {
  std::string text = utf16(std::string(kPlain) + "\"03/11/2024 09:00:30.125\",\"1");
  text.pop_back();
  expect_plain(parse(text));
}

TEST(PdhCsv, TakesCellsWithoutQuotes) {
  std::string text = kPlain;
  std::erase(text, '"');
  expect_plain(parse(text));
}

TEST(PdhCsv, TakesAMissingLastLineEnd) {
  const std::string text = kPlain;
  expect_plain(parse(text.substr(0, text.size() - 2)));
}

TEST(PdhCsv, TakesTypeperfsBlankFirstLineAndClosingWords) {
  expect_plain(parse("\r\n" + std::string(kPlain) +
                     "\r\nExiting, please wait...                         \r\n"
                     "The command completed successfully.\r\n"));
}

TEST(PdhCsv, TakesTheZerosThatAPowerFailureLeaves) {
  expect_plain(parse(std::string(kPlain) + std::string(512, '\0')));
}

TEST(PdhCsv, TakesTheCommentOfAPerformanceMonitorLog) {
  std::string text = kPlain;
  text.insert(text.find("\r\n"), ",\"nightly, DC1\"");
  expect_plain(parse(text));
}

TEST(PdhCsv, TimeZoneTextMayBeAnything) {
  const std::string rows = "\"01/02/2011 03:04:05.000\",\"1\"\r\n";
  const std::string path = "\"\\O\\C\"\r\n";
  for (const char* zone :
       {"(Mitteleurop\xC3\xA4ische Zeit)(-60)", "(Mitteleurop\xE4ische Zeit)(-60)",
        "(GMT, \"\"standard\"\")(0)", "(Central (Mexico))(360)", ""}) {
    EXPECT_EQ(parse("\"(PDH-CSV 4.0) " + std::string(zone) + "\"," + path + rows).rows(), 1u)
        << zone;
  }
}

TEST(PdhCsv, LastLineCutShortIsLeftOutWithoutAnError) {
  const std::string whole = kPlain;
  const std::string last = "\"03/11/2024 09:00:30.125\",\"13.250000\",\"9\"";
  for (std::size_t length = 1; length < last.size(); ++length) {
    SCOPED_TRACE(length);
    expect_plain(parse(whole + last.substr(0, length)));
  }
  EXPECT_EQ(parse(whole + last).rows(), 3u);
}

TEST(PdhCsv, UnquotedLastLineCutWithinItsNumberIsLeftOut) {
  EXPECT_EQ(parse(file_of("\"\\O\\C\"", "01/02/2011 03:04:05,1\n01/02/2011 03:04:06,2.5e")).rows(),
            1u);
}

TEST(PdhCsv, NumbersWithExponentsAndSigns) {
  const CounterSeries series =
      parse(file_of("\"\\O\\A\",\"\\O\\B\",\"\\O\\C\",\"\\O\\D\",\"\\O\\E\"",
                    "\"01/02/2011 03:04:05.000\",\"1.5e+009\",\"-3\","
                    "\"2E-2\",\"+4\",\" 1.#QNAN \"\r\n"));
  EXPECT_EQ(series.cells[0], 1.5e9);
  EXPECT_EQ(series.cells[1], -3.0);
  EXPECT_EQ(series.cells[2], 0.02);
  EXPECT_EQ(series.cells[3], 4.0);
  EXPECT_TRUE(std::isnan(series.cells[4]));
}

CounterPath path_of(const std::string& text) {
  std::string cell;
  for (const char c : text) cell += c == '"' ? std::string("\"\"") : std::string(1, c);
  return parse(file_of("\"" + cell + "\"", "\"01/02/2011 03:04:05.000\",\"1\"\r\n")).paths.at(0);
}

TEST(PdhCsv, PathsInBothForms) {
  EXPECT_EQ(path_of("\\\\HOST\\Process(svchost#1)\\Private Bytes").machine, "HOST");
  EXPECT_EQ(path_of("\\\\HOST\\Process(svchost#1)\\Private Bytes").instance, "svchost");
  EXPECT_EQ(path_of("\\\\HOST\\Process(svchost#1)\\Private Bytes").index, 1u);
  EXPECT_EQ(path_of("\\Process(svchost)\\Private Bytes").machine, "");
  EXPECT_EQ(path_of("\\Process(svchost)\\Private Bytes").index, 0xFFFFFFFFu);
  EXPECT_EQ(path_of("\\NTDS\\LDAP Searches/sec").counter, "LDAP Searches/sec");
}

TEST(PdhCsv, InstanceNamesWithBracketsSlashesCommasAndQuotes) {
  EXPECT_EQ(path_of("\\O(a (b) [c])\\D (e)").instance, "a (b) [c]");
  EXPECT_EQ(path_of("\\O(a (b) [c])\\D (e)").counter, "D (e)");
  EXPECT_EQ(path_of("\\O(explorer/0)\\D/sec").instance, "explorer/0");
  EXPECT_EQ(path_of("\\O(a, \"b\")\\D").instance, "a, \"b\"");
  EXPECT_EQ(path_of("\\O(C:\\data\\x)\\D").instance, "C:\\data\\x");
  EXPECT_EQ(path_of("\\O(\\\\?\\Volume{1}\\)\\D").instance, "\\\\?\\Volume{1}\\");
  EXPECT_EQ(path_of("\\O(C# tools)\\D").instance, "C# tools");
}

TEST(PdhCsv, TenThousandColumns) {
  std::string header, row = "\"01/02/2011 03:04:05.000\"";
  for (int i = 0; i < 10000; ++i) {
    header += (i == 0 ? "\"\\\\DC1\\Folders(f" : ",\"\\\\DC1\\Folders(f") + std::to_string(i) +
              ")\\Files\"";
    row += ",\"" + std::to_string(i) + "\"";
  }
  const auto source = platform::read_counters(file_of(header, row + "\r\n"), "c.csv", {});
  std::vector<std::string> counters, instances;
  ASSERT_EQ(source->items("folders", counters, instances), 0);
  EXPECT_EQ(counters, std::vector<std::string>{"Files"});
  ASSERT_EQ(instances.size(), 10000u);
  EXPECT_EQ(instances.back(), "f9999");
  platform::CounterReference reference;
  ASSERT_EQ(source->find({"", "FOLDERS", "", "F9999", 0xFFFFFFFFu, "files"}, reference), 0);
  double value = 0;
  ASSERT_EQ(source->value(reference.number, source->snapshot(), value), 0);
  EXPECT_EQ(value, 9999.0);
}

TEST(PdhCsv, AutumnsHourThatComesTwiceDoesNotTurnTimeBack) {
  const CounterSeries series =
      parse(file_of("\"\\O\\C\"",
                    "\"10/27/2024 02:59:30.000\",\"1\"\r\n\"10/27/2024 02:59:45.000\",\"2\"\r\n"
                    "\"10/27/2024 02:00:00.000\",\"3\"\r\n\"10/27/2024 02:00:15.000\",\"4\"\r\n"));
  EXPECT_EQ(series.offsets_ms, (std::vector<std::int64_t>{0, 15000, 30000, 45000}));
}

TEST(PdhCsv, StampsCrossTheYear) {
  const CounterSeries series = parse(file_of("\"\\O\\C\"",
                                             "\"12/31/2023 23:59:59.500\",\"1\"\r\n"
                                             "\"01/01/2024 00:00:00.500\",\"2\"\r\n"
                                             "\"03/01/2024 00:00:00.500\",\"3\"\r\n"));
  EXPECT_EQ(series.offsets_ms, (std::vector<std::int64_t>{0, 1000, 1000 + 60LL * 86400 * 1000}));
}

// ---- what is not such a file ----------------------------------------------------------------

TEST(PdhCsvErrors, AnEmptyFile) { EXPECT_EQ(error_of(""), "c.csv:1:1: the file is empty"); }

TEST(PdhCsvErrors, AnotherKindOfFile) {
  EXPECT_EQ(error_of("time,value\n1,2\n"),
            "c.csv:1:1: not a PDH-CSV file: its first cell must begin with (PDH-CSV 4.0)");
  EXPECT_EQ(error_of("\"(PDH-TSV 4.0) (UTC)(0)\"\t\"\\O\\C\"\n"),
            "c.csv:1:1: counters separated by tabs; write them as CSV (relog -f CSV)");
}

TEST(PdhCsvErrors, AHeaderThatNamesNoCounter) {
  EXPECT_EQ(error_of("\"(PDH-CSV 4.0) (UTC)(0)\"\r\n"), "c.csv:1:25: the header names no counter");
}

TEST(PdhCsvErrors, AHeaderCellThatIsNoPath) {
  EXPECT_EQ(error_of(file_of("\"\\O\\C\",\"Free Space\",\"\\O\\D\"", "")),
            "c.csv:1:33: 'Free Space' is not a counter path");
  EXPECT_EQ(error_of(file_of("\"\\O(a\\C\"", "")), "c.csv:1:26: '\\O(a\\C' is not a counter path");
}

TEST(PdhCsvErrors, NoSample) {
  EXPECT_EQ(error_of(file_of("\"\\O\\C\"", "")), "c.csv:1:1: the file holds no whole sample");
}

TEST(PdhCsvErrors, ACellThatIsNoNumber) {
  EXPECT_EQ(error_of(file_of("\"\\O\\\xC3\xA4\",\"\\O\\D\"",
                             "\"01/02/2011 03:04:05.000\",\"1\",\"two\"\r\n")),
            "c.csv:2:31: 'two' is not a number");
  EXPECT_EQ(error_of(file_of("\"\\O\\C\"", "\"01/02/2011 03:04:05.000\",\"1e999\"\r\n")),
            "c.csv:2:27: '1e999' is not a number");
}

TEST(PdhCsvErrors, AStampOfAnotherForm) {
  for (const char* stamp : {"2011-01-02 03:04:05.000", "13/01/2011 03:04:05.000",
                            "01/32/2011 03:04:05.000", "01/02/2011 24:04:05.000", "01/02/2011"}) {
    EXPECT_EQ(error_of(file_of("\"\\O\\C\"", "\"" + std::string(stamp) + "\",\"1\"\r\n")),
              "c.csv:2:1: '" + std::string(stamp) +
                  "' is not a time stamp of the form MM/DD/YYYY HH:MM:SS.mmm");
  }
}

TEST(PdhCsvErrors, AShortLineInTheMiddle) {
  EXPECT_EQ(error_of(file_of("\"\\O\\C\",\"\\O\\D\"",
                             "\"01/02/2011 03:04:05.000\",\"1\"\r\n"
                             "\"01/02/2011 03:04:06.000\",\"1\",\"2\"\r\n")),
            "c.csv:2:30: 2 cells where the header has 3");
}

TEST(PdhCsvErrors, ALongLine) {
  EXPECT_EQ(error_of(file_of("\"\\O\\C\"", "\"01/02/2011 03:04:05.000\",\"1\",\"2\"\r\n")),
            "c.csv:2:31: more cells than the header's 2");
}

TEST(PdhCsvErrors, AQuoteInTheMiddle) {
  EXPECT_EQ(error_of(file_of("\"\\O\\C\"",
                             "\"01/02/2011 03:04:05.000\",\"1\r\n"
                             "\"01/02/2011 03:04:06.000\",\"2\"\r\n")),
            "c.csv:2:29: a quote is not closed");
  EXPECT_EQ(error_of(file_of("\"\\O\\C\"", "\"01/02/2011 03:04:05.000\",\"1\"2\r\n")),
            "c.csv:2:30: a comma or the end of the line must follow a closing quote");
}

TEST(PdhCsvErrors, WordsBetweenSamples) {
  EXPECT_EQ(error_of(file_of("\"\\O\\C\"",
                             "\"01/02/2011 03:04:05.000\",\"1\"\r\nhello, world\r\n"
                             "\"01/02/2011 03:04:06.000\",\"2\"\r\n")),
            "c.csv:3:1: 'hello' is not a time stamp of the form MM/DD/YYYY HH:MM:SS.mmm");
}

// ---- replay ---------------------------------------------------------------------------------

class Replay : public testing::Test {
 protected:
  void open(const std::string& header, const std::string& rows) {
    source_ = platform::read_counters(file_of(header, rows), "c.csv", [this] { return now_ms_; });
  }
  std::uint32_t status(const CounterPath& path) {
    return static_cast<std::uint32_t>(source_->validate(path));
  }
  double value(const CounterPath& path) {
    platform::CounterReference reference;
    double value = -99;
    EXPECT_EQ(source_->find(path, reference), 0);
    if (source_->value(reference.number, source_->snapshot(), value) != 0) return -1;
    return value;
  }
  std::vector<std::string> instances(const std::string& object) {
    std::vector<std::string> counters, instances;
    EXPECT_EQ(source_->items(object, counters, instances), 0);
    return instances;
  }

  std::int64_t now_ms_ = 1000000;
  std::unique_ptr<platform::CounterSource> source_;
};

const CounterPath kCounter{"", "O", "", "", 0xFFFFFFFFu, "C"};

TEST_F(Replay, TheRowInForceIsTheLastOneReached) {
  open("\"\\O\\C\"",
       "\"01/02/2011 03:04:05.000\",\"1\"\r\n\"01/02/2011 03:04:15.000\",\"2\"\r\n"
       "\"01/02/2011 03:04:35.000\",\"3\"\r\n");
  EXPECT_EQ(value(kCounter), 1.0);
  now_ms_ += 9999;
  EXPECT_EQ(value(kCounter), 1.0);
  now_ms_ += 1;
  EXPECT_EQ(value(kCounter), 2.0);
  now_ms_ += 20000;
  EXPECT_EQ(value(kCounter), 3.0);
}

TEST_F(Replay, OneIntervalBehindTheLastRowItBeginsAgain) {
  open("\"\\O\\C\"", "\"01/02/2011 03:04:05.000\",\"1\"\r\n\"01/02/2011 03:04:15.000\",\"2\"\r\n");
  now_ms_ += 19999;
  EXPECT_EQ(value(kCounter), 2.0);
  now_ms_ += 1;
  EXPECT_EQ(value(kCounter), 1.0);
  now_ms_ += 20000LL * 1000000 + 10000;
  EXPECT_EQ(value(kCounter), 2.0);
}

TEST_F(Replay, ASingleRowStaysInForce) {
  open("\"\\O\\C\"", "\"01/02/2011 03:04:05.000\",\"1\"\r\n");
  now_ms_ += 86400000;
  EXPECT_EQ(value(kCounter), 1.0);
}

TEST_F(Replay, AClockSetBackBeginsAnew) {
  open("\"\\O\\C\"", "\"01/02/2011 03:04:05.000\",\"1\"\r\n\"01/02/2011 03:04:15.000\",\"2\"\r\n");
  now_ms_ = 5;
  EXPECT_EQ(value(kCounter), 1.0);
  now_ms_ += 10000;
  EXPECT_EQ(value(kCounter), 2.0);
}

TEST_F(Replay, InstancesComeAndGo) {
  open("\"\\O(a)\\C\",\"\\O(b)\\C\"",
       "\"01/02/2011 03:04:05.000\",\"1\",\" \"\r\n\"01/02/2011 03:04:15.000\",\" \",\"2\"\r\n");
  const CounterPath a{"", "O", "", "a", 0xFFFFFFFFu, "C"}, b{"", "O", "", "b", 0xFFFFFFFFu, "C"};
  EXPECT_EQ(instances("O"), std::vector<std::string>{"a"});
  EXPECT_EQ(status(a), 0u);
  EXPECT_EQ(status(b), kNoInstance);
  now_ms_ += 10000;
  EXPECT_EQ(instances("O"), std::vector<std::string>{"b"});
  EXPECT_EQ(status(a), kNoInstance);
  EXPECT_EQ(value(b), 2.0);
}

TEST_F(Replay, ABlankCellBesideOthersIsAMissingCounter) {
  open("\"\\O\\C\",\"\\O\\D\"",
       "\"01/02/2011 03:04:05.000\",\"1\",\"1\"\r\n\"01/02/2011 03:04:15.000\",\" \",\"2\"\r\n");
  now_ms_ += 10000;
  EXPECT_EQ(status(kCounter), kNoCounter);
}

TEST_F(Replay, ARatesBlankFirstCellReadsAsTheSecond) {
  open("\"\\O\\C\",\"\\O\\D\"",
       "\"01/02/2011 03:04:05.000\",\" \",\"1\"\r\n\"01/02/2011 03:04:15.000\",\"5\",\"2\"\r\n");
  platform::CounterReference reference;
  ASSERT_EQ(source_->find(kCounter, reference), 0);
  EXPECT_TRUE(reference.rate);
  EXPECT_EQ(value(kCounter), 5.0);
  ASSERT_EQ(source_->find({"", "O", "", "", 0xFFFFFFFFu, "D"}, reference), 0);
  EXPECT_FALSE(reference.rate);
}

TEST_F(Replay, AnObjectOfRatesAloneIsThereFromTheStart) {
  open("\"\\O\\C/sec\"",
       "\"01/02/2011 03:04:05.000\",\" \"\r\n\"01/02/2011 03:04:15.000\",\"5\"\r\n");
  EXPECT_EQ(value({"", "O", "", "", 0xFFFFFFFFu, "C/sec"}), 5.0);
}

TEST_F(Replay, TheRatesOfALaterInstanceBeginWithIt) {
  open("\"\\O(a)\\C/sec\",\"\\O(a)\\D\"",
       "\"01/02/2011 03:04:05.000\",\" \",\" \"\r\n\"01/02/2011 03:04:15.000\",\" \",\"4\"\r\n"
       "\"01/02/2011 03:04:25.000\",\"6\",\"5\"\r\n");
  const CounterPath rate{"", "O", "", "a", 0xFFFFFFFFu, "C/sec"};
  EXPECT_EQ(status(rate), kNoInstance);
  now_ms_ += 10000;
  EXPECT_EQ(value(rate), 6.0);
}

TEST_F(Replay, SaysWhatIsUnknown) {
  open("\"\\\\DC1\\O(a)\\C\",\"\\\\DC1\\O(b)\\D\"", "\"01/02/2011 03:04:05.000\",\"1\",\"2\"\r\n");
  const auto of = [this](const char* machine, const char* object, const char* instance,
                         const char* counter) {
    return status({machine, object, "", instance, 0xFFFFFFFFu, counter});
  };
  EXPECT_EQ(of("", "O", "a", "C"), 0u);
  EXPECT_EQ(of("dc1", "o", "A", "c"), 0u);
  EXPECT_EQ(of("\\\\DC1", "O", "a", "C"), 0u);
  EXPECT_EQ(of("DC2", "O", "a", "C"), kNoMachine);
  EXPECT_EQ(of("", "P", "a", "C"), kNoObject);
  EXPECT_EQ(of("", "O", "a", "E"), kNoCounter);
  EXPECT_EQ(of("", "O", "a", "D"), kNoCounter);
  EXPECT_EQ(of("", "O", "z", "C"), kNoInstance);
  EXPECT_EQ(of("", "O", "", "C"), kNoInstance);
}

TEST_F(Replay, CountersOfAnotherMachineStandApart) {
  open("\"\\\\DC1\\O\\C\",\"\\\\DC2\\P\\C\"", "\"01/02/2011 03:04:05.000\",\"1\",\"2\"\r\n");
  EXPECT_EQ(source_->objects(), std::vector<std::string>{"O"});
  EXPECT_EQ(value({"DC2", "P", "", "", 0xFFFFFFFFu, "C"}), 2.0);
  EXPECT_EQ(status({"", "P", "", "", 0xFFFFFFFFu, "C"}), kNoObject);
}

TEST_F(Replay, InstancesOfOneNameAreListedAsOftenAsTheyAre) {
  open("\"\\O(a)\\C\",\"\\O(a#1)\\C\"", "\"01/02/2011 03:04:05.000\",\"1\",\"2\"\r\n");
  EXPECT_EQ(instances("O"), (std::vector<std::string>{"a", "a"}));
  EXPECT_EQ(value({"", "O", "", "a", 1, "C"}), 2.0);
  EXPECT_EQ(value({"", "O", "", "a", 0, "C"}), 1.0);
}

TEST_F(Replay, AParentMayBeGivenApartOrInTheName) {
  open("\"\\Thread(lsass/3)\\C\"", "\"01/02/2011 03:04:05.000\",\"1\"\r\n");
  EXPECT_EQ(value({"", "Thread", "lsass", "3", 0xFFFFFFFFu, "C"}), 1.0);
  EXPECT_EQ(value({"", "Thread", "", "lsass/3", 0xFFFFFFFFu, "C"}), 1.0);
}

TEST_F(Replay, ACounterAskedForTwiceIsOne) {
  open("\"\\O\\C\",\"\\O\\c\"", "\"01/02/2011 03:04:05.000\",\"1\",\"1\"\r\n");
  EXPECT_EQ(value(kCounter), 1.0);
  std::vector<std::string> counters, none;
  ASSERT_EQ(source_->items("O", counters, none), 0);
  EXPECT_EQ(counters, std::vector<std::string>{"C"});
  EXPECT_TRUE(none.empty());
}

TEST_F(Replay, NamesHaveEvenIndexesEachOnce) {
  open("\"\\O\\C\",\"\\P\\C\"", "\"01/02/2011 03:04:05.000\",\"1\",\"1\"\r\n");
  const std::vector<std::pair<std::uint32_t, std::string>> expected = {
      {2, "O"}, {4, "C"}, {6, "P"}};
  EXPECT_EQ(source_->english_names(), expected);
  EXPECT_EQ(source_->local_names(), expected);
}

}  // namespace
