// Counter calls over a recording.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "platform/control.h"
#include "platform/counters.h"
#include "tests/platform/text_controller.h"

namespace {

constexpr PDH_STATUS status_of(DWORD code) { return static_cast<PDH_STATUS>(code); }

const char kHeader[] =
    "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\\\DC1\\NTDS\\LDAP Searches/sec\",\"\\\\DC1\\NTDS\\LDAP Client "
    "Sessions\",\"\\\\DC1\\Folders(a)\\Files\",\"\\\\DC1\\Folders(b (x), y)\\Files\"\r\n";
// The rate is known from the second sample on; folder a goes after the first.
const char kRows[] =
    "\"01/02/2011 03:04:05.000\",\" \",\"7\",\"1\",\"2\"\r\n"
    "\"01/02/2011 03:04:15.000\",\"12.5\",\"8\",\" \",\"3\"\r\n"
    "\"01/02/2011 03:04:25.000\",\"13.5\",\"-9\",\" \",\"1e12\"\r\n";

class Pdh : public testing::Test {
 protected:
  Pdh() { install(std::string(kHeader) + kRows); }
  ~Pdh() override {
    platform::faults::clear();
    EXPECT_EQ(live("pdh query"), 0);
    EXPECT_EQ(live("pdh counter"), 0);
  }
  static std::int64_t live(const std::string& kind) { return platform::accounting::live()[kind]; }
  void install(const std::string& csv, const std::string& registry = "") {
    controller_ = std::make_shared<TextController>(csv, registry, [this] { return now_ms_; });
    platform::install(controller_);
  }
  static PDH_HQUERY open() {
    PDH_HQUERY query = nullptr;
    EXPECT_EQ(PdhOpenQueryA(nullptr, 0, &query), 0);
    return query;
  }
  static PDH_HCOUNTER add(PDH_HQUERY query, const char* path) {
    PDH_HCOUNTER counter = nullptr;
    EXPECT_EQ(PdhAddCounterA(query, path, 0, &counter), 0) << path;
    return counter;
  }
  static PDH_STATUS format(PDH_HCOUNTER counter, double& value) {
    PDH_FMT_COUNTERVALUE formatted;
    const PDH_STATUS status =
        PdhGetFormattedCounterValue(counter, PDH_FMT_DOUBLE, nullptr, &formatted);
    value = formatted.doubleValue;
    return status;
  }

  std::int64_t now_ms_ = 0;
  std::shared_ptr<TextController> controller_;
};

// ---- paths ----------------------------------------------------------------------------------

std::string made(const char* machine, const char* object, const char* parent, const char* instance,
                 DWORD index, const char* counter) {
  std::vector<std::string> texts;
  const auto writable = [&texts](const char* text) -> char* {
    if (text == nullptr) return nullptr;
    texts.emplace_back(text);
    return texts.back().data();
  };
  texts.reserve(5);
  PDH_COUNTER_PATH_ELEMENTS_A elements = {
      writable(machine), writable(object), writable(instance), writable(parent), index,
      writable(counter)};
  char path[260];
  DWORD size = sizeof path;
  const PDH_STATUS status = PdhMakeCounterPathA(&elements, path, &size, 0);
  if (status != 0) return "status";
  EXPECT_EQ(size, std::strlen(path) + 1);
  return path;
}

TEST_F(Pdh, MakesPathsInAllForms) {
  constexpr DWORD kNone = 0xFFFFFFFF;
  EXPECT_EQ(made(nullptr, "NTDS", nullptr, nullptr, kNone, "LDAP Searches/sec"),
            "\\NTDS\\LDAP Searches/sec");
  EXPECT_EQ(made(nullptr, "Database", nullptr, "lsass", kNone, "Cache Size"),
            "\\Database(lsass)\\Cache Size");
  EXPECT_EQ(made("DC1", "Thread", "lsass", "3", 2, "Id"), "\\\\DC1\\Thread(lsass/3#2)\\Id");
  EXPECT_EQ(made("\\\\DC1", "Process", nullptr, "lsass", 0, "Id"), "\\\\DC1\\Process(lsass#0)\\Id");
  EXPECT_EQ(made(nullptr, "", nullptr, nullptr, kNone, "Id"), "status");
  EXPECT_EQ(made(nullptr, "NTDS", nullptr, nullptr, kNone, nullptr), "status");
}

TEST_F(Pdh, PathLongerThanTheBufferAsksForMore) {
  std::string object(200, 'o'), counter(57, 'c');
  PDH_COUNTER_PATH_ELEMENTS_A elements = {nullptr, object.data(), nullptr,
                                          nullptr, 0xFFFFFFFF,    counter.data()};
  char path[260] = "untouched";
  DWORD size = sizeof path;
  EXPECT_EQ(PdhMakeCounterPathA(&elements, path, &size, 0), 0);  // 259 and the zero end
  EXPECT_EQ(std::strlen(path), 259u);
  counter += 'c';
  std::strcpy(path, "untouched");
  size = sizeof path;
  elements.szCounterName = counter.data();
  EXPECT_EQ(PdhMakeCounterPathA(&elements, path, &size, 0), status_of(PDH_MORE_DATA));
  EXPECT_EQ(size, 261u);
  EXPECT_STREQ(path, "untouched");
  size = 0;
  EXPECT_EQ(PdhMakeCounterPathA(&elements, nullptr, &size, 0), status_of(PDH_MORE_DATA));
  EXPECT_EQ(size, 261u);
}

TEST_F(Pdh, ValidatesPathsWithTheStatusThatFits) {
  const std::map<std::string, DWORD> expected = {
      {"\\NTDS\\LDAP Searches/sec", 0},
      {"\\\\DC1\\ntds\\ldap searches/SEC", 0},
      {"\\\\dc1.corp.example\\NTDS\\LDAP Searches/sec", 0},
      {"\\\\DC9\\NTDS\\LDAP Searches/sec", PDH_CSTATUS_NO_MACHINE},
      {"\\NTFS\\LDAP Searches/sec", PDH_CSTATUS_NO_OBJECT},
      {"\\NTDS\\LDAP Guesses/sec", PDH_CSTATUS_NO_COUNTER},
      {"\\Folders(b (x), y)\\Files", 0},
      {"\\Folders(c)\\Files", PDH_CSTATUS_NO_INSTANCE},
      {"NTDS\\LDAP Searches/sec", PDH_CSTATUS_BAD_COUNTERNAME},
      {"\\NTDS", PDH_CSTATUS_BAD_COUNTERNAME},
      {"\\Folders(b\\Files", PDH_CSTATUS_BAD_COUNTERNAME},
      {"\\\\\\NTDS\\Files", PDH_CSTATUS_BAD_COUNTERNAME},
      {"", PDH_INVALID_ARGUMENT}};
  for (const auto& [path, status] : expected) {
    EXPECT_EQ(PdhValidatePathA(path.c_str()), status_of(status)) << path;
  }
  EXPECT_EQ(PdhValidatePathA(nullptr), status_of(PDH_INVALID_ARGUMENT));
}

TEST_F(Pdh, AMachineWithoutCountersHasNoObjects) {
  install("");
  EXPECT_EQ(PdhValidatePathA("\\NTDS\\LDAP Searches/sec"), status_of(PDH_CSTATUS_NO_OBJECT));
  char list[2] = {'x', 'x'};
  DWORD size = sizeof list;
  EXPECT_EQ(PdhEnumObjectsA(nullptr, nullptr, list, &size, PERF_DETAIL_WIZARD, 1), 0);
  EXPECT_EQ(list[0], '\0');
  EXPECT_EQ(list[1], '\0');
}

// ---- collecting -----------------------------------------------------------------------------

TEST_F(Pdh, AQueryDeliversValues) {
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER rate = add(query, "\\NTDS\\LDAP Searches/sec");
  const PDH_HCOUNTER count = add(query, "\\NTDS\\LDAP Client Sessions");
  EXPECT_EQ(live("pdh query"), 1);
  EXPECT_EQ(live("pdh counter"), 2);
  double value = 0;
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(count, value), 0);
  EXPECT_EQ(value, 7.0);
  EXPECT_EQ(format(rate, value), status_of(PDH_INVALID_DATA));
  now_ms_ += 500;
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(rate, value), 0);
  EXPECT_EQ(value, 12.5);
  now_ms_ += 20000;
  EXPECT_EQ(format(rate, value), 0);
  EXPECT_EQ(value, 12.5);  // what the last collection read, not what there is now
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(rate, value), 0);
  EXPECT_EQ(value, 13.5);
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, ACounterNeverCollectedHasNoData) {
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER count = add(query, "\\NTDS\\LDAP Client Sessions");
  PDH_FMT_COUNTERVALUE value = {};
  EXPECT_EQ(PdhGetFormattedCounterValue(count, PDH_FMT_DOUBLE, nullptr, &value),
            status_of(PDH_INVALID_DATA));
  EXPECT_EQ(value.CStatus, PDH_CSTATUS_INVALID_DATA);
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, ACounterThatGoesAwayFailsAloneAndComesBack) {
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER going = add(query, "\\Folders(a)\\Files");
  const PDH_HCOUNTER staying = add(query, "\\Folders(b (x), y)\\Files");
  double value = 0;
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(going, value), 0);
  EXPECT_EQ(value, 1.0);
  now_ms_ += 10000;
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  PDH_FMT_COUNTERVALUE formatted = {};
  EXPECT_EQ(PdhGetFormattedCounterValue(going, PDH_FMT_DOUBLE, nullptr, &formatted),
            status_of(PDH_CSTATUS_NO_INSTANCE));
  EXPECT_EQ(formatted.CStatus, PDH_CSTATUS_NO_INSTANCE);
  EXPECT_EQ(format(staying, value), 0);
  EXPECT_EQ(value, 3.0);
  now_ms_ += 20000;  // the recording has begun again
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(going, value), 0);
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, AQueryAllOfWhoseCountersAreGoneHasNoData) {
  const PDH_HQUERY query = open();
  EXPECT_EQ(PdhCollectQueryData(query), status_of(PDH_NO_DATA));  // none at all
  add(query, "\\Folders(a)\\Files");
  EXPECT_EQ(PdhCollectQueryData(query), 0);
  now_ms_ += 10000;
  EXPECT_EQ(PdhCollectQueryData(query), status_of(PDH_NO_DATA));
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, ARateThatComesBackNeedsTwoCollectionsAgain) {
  install(
      "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\O(a)\\C/sec\",\"\\O(a)\\D\",\"\\O(b)\\D\"\r\n"
      "\"01/02/2011 03:04:05.000\",\" \",\"1\",\"1\"\r\n"
      "\"01/02/2011 03:04:15.000\",\"5\",\"1\",\"1\"\r\n"
      "\"01/02/2011 03:04:25.000\",\" \",\" \",\"1\"\r\n"
      "\"01/02/2011 03:04:35.000\",\" \",\"1\",\"1\"\r\n"
      "\"01/02/2011 03:04:45.000\",\"6\",\"1\",\"1\"\r\n");
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER rate = add(query, "\\O(a)\\C/sec");
  add(query, "\\O(b)\\D");
  double value = 0;
  EXPECT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(rate, value), 0);
  now_ms_ += 20000;
  EXPECT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(rate, value), status_of(PDH_CSTATUS_NO_INSTANCE));
  now_ms_ += 10000;
  EXPECT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(rate, value), status_of(PDH_INVALID_DATA));
  EXPECT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(rate, value), 0);
  EXPECT_EQ(value, 6.0);
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, ACounterOfAnInstanceToComeIsAddedAndWaits) {
  const PDH_HQUERY query = open();
  PDH_HCOUNTER counter = nullptr;
  EXPECT_EQ(PdhAddCounterA(query, "\\Folders(c)\\Files", 0, &counter), 0);
  EXPECT_EQ(PdhCollectQueryData(query), status_of(PDH_NO_DATA));
  double value = 0;
  EXPECT_EQ(format(counter, value), status_of(PDH_CSTATUS_NO_INSTANCE));
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, ACounterThatIsUnknownIsNotAdded) {
  const PDH_HQUERY query = open();
  PDH_HCOUNTER counter = nullptr;
  EXPECT_EQ(PdhAddCounterA(query, "\\NTDS\\Nothing", 0, &counter),
            status_of(PDH_CSTATUS_NO_COUNTER));
  EXPECT_EQ(PdhAddCounterA(query, "\\Nothing\\Files", 0, &counter),
            status_of(PDH_CSTATUS_NO_OBJECT));
  EXPECT_EQ(PdhAddCounterA(query, "nothing", 0, &counter), status_of(PDH_CSTATUS_BAD_COUNTERNAME));
  EXPECT_EQ(PdhAddCounterA(query, nullptr, 0, &counter), status_of(PDH_INVALID_ARGUMENT));
  EXPECT_EQ(PdhAddCounterA(query, "\\NTDS\\LDAP Client Sessions", 0, nullptr),
            status_of(PDH_INVALID_ARGUMENT));
  EXPECT_EQ(live("pdh counter"), 0);
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, AQueryFollowsTheControllerThatAnswersNow) {
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER count = add(query, "\\NTDS\\LDAP Client Sessions");
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  install(
      "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\X\\Y\",\"\\NTDS\\LDAP Client Sessions\"\r\n"
      "\"01/02/2011 03:04:05.000\",\"1\",\"99\"\r\n");
  double value = 0;
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  EXPECT_EQ(format(count, value), 0);
  EXPECT_EQ(value, 99.0);
  install("");
  EXPECT_EQ(PdhCollectQueryData(query), status_of(PDH_NO_DATA));
  EXPECT_EQ(format(count, value), status_of(PDH_CSTATUS_NO_OBJECT));
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, ValuesInTheThreeFormats) {
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER negative = add(query, "\\NTDS\\LDAP Client Sessions");
  const PDH_HCOUNTER large = add(query, "\\Folders(b (x), y)\\Files");
  now_ms_ += 20000;
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  PDH_FMT_COUNTERVALUE value = {};
  DWORD type = 0;
  EXPECT_EQ(PdhGetFormattedCounterValue(negative, PDH_FMT_LONG, &type, &value), 0);
  EXPECT_EQ(value.longValue, -9);
  EXPECT_EQ(value.CStatus, PDH_CSTATUS_VALID_DATA);
  EXPECT_EQ(type, static_cast<DWORD>(PERF_COUNTER_LARGE_RAWCOUNT));
  EXPECT_EQ(PdhGetFormattedCounterValue(large, PDH_FMT_LARGE, nullptr, &value), 0);
  EXPECT_EQ(value.largeValue, 1000000000000);
  EXPECT_EQ(PdhGetFormattedCounterValue(large, PDH_FMT_LONG, nullptr, &value), 0);
  EXPECT_EQ(value.longValue, 2147483647);
  EXPECT_EQ(PdhGetFormattedCounterValue(negative, PDH_FMT_LARGE | PDH_FMT_1000, nullptr, &value),
            0);
  EXPECT_EQ(value.largeValue, -9000);
  EXPECT_EQ(PdhGetFormattedCounterValue(large, 0, nullptr, &value),
            status_of(PDH_INVALID_ARGUMENT));
  EXPECT_EQ(PdhGetFormattedCounterValue(large, PDH_FMT_LONG | PDH_FMT_LARGE, nullptr, &value),
            status_of(PDH_INVALID_ARGUMENT));
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

// ---- handles --------------------------------------------------------------------------------

TEST_F(Pdh, HandlesThatAreNoneAreFoundOut) {
  PDH_FMT_COUNTERVALUE value = {};
  char local = 0;
  for (void* handle : {static_cast<void*>(nullptr), static_cast<void*>(&local)}) {
    PDH_HCOUNTER counter = nullptr;
    EXPECT_EQ(PdhCloseQuery(handle), status_of(PDH_INVALID_HANDLE));
    EXPECT_EQ(PdhCollectQueryData(handle), status_of(PDH_INVALID_HANDLE));
    EXPECT_EQ(PdhRemoveCounter(handle), status_of(PDH_INVALID_HANDLE));
    EXPECT_EQ(PdhAddCounterA(handle, "\\NTDS\\LDAP Client Sessions", 0, &counter),
              status_of(PDH_INVALID_HANDLE));
    EXPECT_EQ(PdhGetFormattedCounterValue(handle, PDH_FMT_DOUBLE, nullptr, &value),
              status_of(PDH_INVALID_HANDLE));
  }
}

TEST_F(Pdh, ClosingAQueryTakesItsCountersAlong) {
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER counter = add(query, "\\NTDS\\LDAP Client Sessions");
  EXPECT_EQ(PdhCloseQuery(query), 0);
  EXPECT_EQ(PdhCloseQuery(query), status_of(PDH_INVALID_HANDLE));
  EXPECT_EQ(PdhRemoveCounter(counter), status_of(PDH_INVALID_HANDLE));
  const PDH_HQUERY another = open();
  EXPECT_NE(another, query);
  EXPECT_EQ(PdhCloseQuery(another), 0);
}

TEST_F(Pdh, ARemovedCounterIsNoLongerCollected) {
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER first = add(query, "\\NTDS\\LDAP Client Sessions");
  const PDH_HCOUNTER second = add(query, "\\Folders(a)\\Files");
  const PDH_HCOUNTER third = add(query, "\\Folders(b (x), y)\\Files");
  EXPECT_EQ(PdhRemoveCounter(first), 0);
  EXPECT_EQ(PdhRemoveCounter(first), status_of(PDH_INVALID_HANDLE));
  EXPECT_EQ(live("pdh counter"), 2);
  ASSERT_EQ(PdhCollectQueryData(query), 0);
  double value = 0;
  EXPECT_EQ(format(first, value), status_of(PDH_INVALID_HANDLE));
  EXPECT_EQ(format(second, value), 0);
  EXPECT_EQ(PdhRemoveCounter(third), 0);
  EXPECT_EQ(PdhRemoveCounter(second), 0);
  EXPECT_EQ(PdhCollectQueryData(query), status_of(PDH_NO_DATA));
  EXPECT_EQ(PdhCloseQuery(query), 0);
}

TEST_F(Pdh, ALogFileAsSourceIsRefused) {
  PDH_HQUERY query = nullptr;
  EXPECT_EQ(PdhOpenQueryA("x.blg", 0, &query), status_of(PDH_LOG_FILE_OPEN_ERROR));
  EXPECT_EQ(PdhOpenQueryA(nullptr, 0, nullptr), status_of(PDH_INVALID_ARGUMENT));
}

// ---- enumerating ----------------------------------------------------------------------------

TEST_F(Pdh, ListsObjectsInTwoSteps) {
  DWORD size = 0;
  ASSERT_EQ(PdhEnumObjectsA(nullptr, "DC1", nullptr, &size, PERF_DETAIL_WIZARD, 1),
            status_of(PDH_MORE_DATA));
  EXPECT_EQ(size, sizeof "NTDS\0Folders\0");
  std::string list(size, 'x');
  ASSERT_EQ(PdhEnumObjectsA(nullptr, "DC1", list.data(), &size, PERF_DETAIL_WIZARD, 1), 0);
  EXPECT_EQ(list, std::string("NTDS\0Folders\0\0", 14));
  EXPECT_EQ(PdhEnumObjectsA(nullptr, "DC2", list.data(), &size, PERF_DETAIL_WIZARD, 1),
            status_of(PDH_CSTATUS_NO_MACHINE));
}

TEST_F(Pdh, ListsInstancesThatAreThereNowInTwoSteps) {
  char small[2];
  DWORD counters_size = 0, instances_size = sizeof small;
  ASSERT_EQ(PdhEnumObjectItemsA(nullptr, "dc1", "Folders", nullptr, &counters_size, small,
                                &instances_size, PERF_DETAIL_WIZARD, 0),
            status_of(PDH_MORE_DATA));
  std::string counters(counters_size, 'x'), instances(instances_size, 'x');
  ASSERT_EQ(PdhEnumObjectItemsA(nullptr, "dc1", "Folders", counters.data(), &counters_size,
                                instances.data(), &instances_size, PERF_DETAIL_WIZARD, 0),
            0);
  EXPECT_EQ(counters, std::string("Files\0\0", 7));
  EXPECT_EQ(instances, std::string("a\0b (x), y\0\0", 12));
  now_ms_ += 10000;
  ASSERT_EQ(PdhEnumObjectItemsA(nullptr, nullptr, "Folders", counters.data(), &counters_size,
                                instances.data(), &instances_size, PERF_DETAIL_WIZARD, 0),
            0);
  EXPECT_EQ(instances_size, 10u);
  EXPECT_STREQ(instances.c_str(), "b (x), y");
}

TEST_F(Pdh, AnObjectWithoutInstancesGivesAnEmptyList) {
  char counters[1024], instances[1024] = "x";
  DWORD counters_size = sizeof counters, instances_size = sizeof instances;
  ASSERT_EQ(PdhEnumObjectItemsA(nullptr, nullptr, "NTDS", counters, &counters_size, instances,
                                &instances_size, PERF_DETAIL_WIZARD, 0),
            0);
  EXPECT_STREQ(counters, "LDAP Searches/sec");
  EXPECT_STREQ(instances, "");
}

TEST_F(Pdh, ItemsOfAnUnknownObjectOrMachine) {
  char list[64];
  DWORD size = sizeof list, other = sizeof list;
  EXPECT_EQ(PdhEnumObjectItemsA(nullptr, nullptr, "Files", list, &size, list, &other, 400, 0),
            status_of(PDH_CSTATUS_NO_OBJECT));
  EXPECT_EQ(PdhEnumObjectItemsA(nullptr, "DC2", "Folders", list, &size, list, &other, 400, 0),
            status_of(PDH_CSTATUS_NO_MACHINE));
  EXPECT_EQ(PdhEnumObjectItemsA(nullptr, nullptr, "Folders", list, nullptr, list, &other, 400, 0),
            status_of(PDH_INVALID_ARGUMENT));
}

// ---- names ----------------------------------------------------------------------------------

TEST_F(Pdh, LooksNamesUpByIndex) {
  char name[128] = "";
  DWORD size = sizeof name;
  EXPECT_EQ(PdhLookupPerfNameByIndexA(nullptr, 4, name, &size), 0);
  EXPECT_STREQ(name, "LDAP Searches/sec");
  EXPECT_EQ(size, 18u);
  size = sizeof name;
  EXPECT_EQ(PdhLookupPerfNameByIndexA(nullptr, 4000, name, &size), status_of(PDH_STRING_NOT_FOUND));
  size = 17;
  EXPECT_EQ(PdhLookupPerfNameByIndexA(nullptr, 4, name, &size), status_of(PDH_MORE_DATA));
  EXPECT_EQ(size, 18u);
  EXPECT_EQ(PdhLookupPerfNameByIndexA("DC2", 4, name, &size), status_of(PDH_CSTATUS_NO_MACHINE));
}

TEST_F(Pdh, LocalNamesComeFromTheRegistryWhereItHasThem) {
  controller_ = std::make_shared<TextController>(
      "\"(PDH-CSV 4.0) (UTC)(0)\",\"\\NTDS\\LDAP-Suchvorg\xC3\xA4nge/s\"\r\n"
      "\"01/02/2011 03:04:05.000\",\"1\"\r\n",
      "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\"
      "Perflib\\007]\r\n\"Counter\"=hex(7):31,00,31,38,34,37,00,36,00,53,79,73,74,65,6d,00,00\r\n");
  controller_->facts.language = 1031;
  platform::install(controller_);
  char name[128] = "";
  DWORD size = sizeof name;
  EXPECT_EQ(PdhLookupPerfNameByIndexA(nullptr, 6, name, &size), 0);
  EXPECT_STREQ(name, "System");
}

TEST_F(Pdh, EveryCallCanBeMadeToFail) {
  const PDH_HQUERY query = open();
  const PDH_HCOUNTER counter = add(query, "\\NTDS\\LDAP Client Sessions");
  char text[64];
  DWORD size = sizeof text, other = sizeof text;
  char object[] = "NTDS", name[] = "C";
  PDH_COUNTER_PATH_ELEMENTS_A elements = {nullptr, object, nullptr, nullptr, 0xFFFFFFFF, name};
  PDH_FMT_COUNTERVALUE value;
  const std::vector<std::pair<const char*, std::function<PDH_STATUS()>>> calls = {
      {"PdhOpenQueryA",
       [] {
         PDH_HQUERY opened = nullptr;
         const PDH_STATUS status = PdhOpenQueryA(nullptr, 0, &opened);
         if (status == 0) {
           EXPECT_EQ(PdhCloseQuery(opened), 0);
         }
         return status;
       }},
      {"PdhAddCounterA",
       [&] {
         PDH_HCOUNTER unused;
         return PdhAddCounterA(query, "\\NTDS\\LDAP Client Sessions", 0, &unused);
       }},
      {"PdhCollectQueryData", [&] { return PdhCollectQueryData(query); }},
      {"PdhGetFormattedCounterValue",
       [&] { return PdhGetFormattedCounterValue(counter, PDH_FMT_DOUBLE, nullptr, &value); }},
      {"PdhMakeCounterPathA", [&] { return PdhMakeCounterPathA(&elements, text, &size, 0); }},
      {"PdhValidatePathA", [] { return PdhValidatePathA("\\NTDS\\LDAP Client Sessions"); }},
      {"PdhEnumObjectsA", [&] { return PdhEnumObjectsA(nullptr, nullptr, text, &size, 400, 0); }},
      {"PdhEnumObjectItemsA",
       [&] {
         return PdhEnumObjectItemsA(nullptr, nullptr, "Folders", text, &size, text, &other, 400, 0);
       }},
      {"PdhLookupPerfNameByIndexA",
       [&] { return PdhLookupPerfNameByIndexA(nullptr, 2, text, &size); }},
      {"PdhRemoveCounter", [&] { return PdhRemoveCounter(counter); }},
      {"PdhCloseQuery", [&] { return PdhCloseQuery(query); }}};
  for (const auto& [call, make] : calls) {
    size = other = sizeof text;
    platform::faults::fail(call, 1);
    EXPECT_NE(make(), 0) << call;
    EXPECT_TRUE(platform::faults::struck()) << call;
    platform::faults::clear();
    platform::faults::fail(call, 1, 0x1234);
    EXPECT_EQ(make(), 0x1234) << call;
    platform::faults::clear();
    size = other = sizeof text;
    EXPECT_EQ(make(), 0) << call;
  }
}

}  // namespace
