#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/host.h"
#include "cli/table_names.h"
#include "counters/wanted.h"
#include "include/platform/counters.h"
#include "include/platform/threads.h"
#include "tables/catalogue_view.h"

namespace cli {

namespace {

struct CloseQuery {
  using pointer = PDH_HQUERY;
  void operator()(PDH_HQUERY query) const { PdhCloseQuery(query); }
};
using Query = std::unique_ptr<void, CloseQuery>;

// One counter as the machine answers for it.
struct Answer {
  counters::Wanted wanted;
  std::string path;
  PDH_HCOUNTER counter = nullptr;
  PDH_STATUS status = 0;  // 0: it is there and has the value
  double value = 0;
};

// What a status says about the counter.
std::string state_of(PDH_STATUS status) {
  switch (static_cast<DWORD>(status)) {
    case 0:
      return "present";
    case PDH_CSTATUS_NO_OBJECT:
      return "no object";
    case PDH_CSTATUS_NO_COUNTER:
      return "no counter";
    case PDH_CSTATUS_NO_INSTANCE:
      return "no instance";
    default: {
      char text[32];
      std::snprintf(text, sizeof text, "error %08x", static_cast<unsigned>(status));
      return text;
    }
  }
}

void add_to(PDH_HQUERY query, Answer& answer) {
  PDH_COUNTER_PATH_ELEMENTS_A elements{};
  elements.szObjectName = answer.wanted.object.data();
  if (!answer.wanted.instance.empty()) elements.szInstanceName = answer.wanted.instance.data();
  elements.dwInstanceIndex = 0xFFFFFFFF;
  elements.szCounterName = answer.wanted.counter.data();
  std::string path(4096, '\0');
  DWORD size = static_cast<DWORD>(path.size());
  answer.status = PdhMakeCounterPathA(&elements, path.data(), &size, 0);
  if (answer.status != 0) return;
  answer.path = path.c_str();
  answer.status = PdhValidatePathA(answer.path.c_str());
  if (answer.status != 0) return;
  answer.status = PdhAddCounterA(query, answer.path.c_str(), 0, &answer.counter);
}

// Collects twice, half a second apart, as the tables do, so that rates have a value.
PDH_STATUS collect(PDH_HQUERY query) {
  constexpr DWORD kRateInterval_ms = 500;
  if (const PDH_STATUS status = PdhCollectQueryData(query); status != 0) return status;
  Sleep(kRateInterval_ms);
  return PdhCollectQueryData(query);
}

void read(Answer& answer) {
  if (answer.status != 0) return;
  PDH_FMT_COUNTERVALUE value{};
  answer.status = PdhGetFormattedCounterValue(answer.counter, PDH_FMT_DOUBLE, nullptr, &value);
  if (answer.status == 0) answer.value = value.doubleValue;
}

// Empty, with the reason in error, when the machine's counters cannot be asked at all.
std::vector<Answer> ask(const std::vector<std::string>& tables, std::string& error) {
  PDH_HQUERY opened = nullptr;
  if (const PDH_STATUS status = PdhOpenQueryA(nullptr, 0, &opened); status != 0) {
    error = "the counters cannot be asked: " + state_of(status);
    return {};
  }
  const Query query(opened);
  std::vector<Answer> answers;
  for (const std::string& table : tables) {
    for (counters::Wanted& wanted : counters::wanted_counters(table)) {
      Answer& answer = answers.emplace_back();
      answer.wanted = std::move(wanted);
      add_to(query.get(), answer);
    }
  }
  const auto there = [](const Answer& answer) { return answer.status == 0; };
  if (std::none_of(answers.begin(), answers.end(), there)) return answers;
  if (const PDH_STATUS status = collect(query.get()); status != 0) {
    error = "the counters cannot be collected: " + state_of(status);
    return {};
  }
  for (Answer& answer : answers) read(answer);
  return answers;
}

// The name as people see it in paths, also where no path could be made.
std::string shown(const counters::Wanted& wanted) {
  const std::string instance = wanted.instance.empty() ? "" : "(" + wanted.instance + ")";
  return "\\" + wanted.object + instance + "\\" + wanted.counter;
}

void print_text(const std::vector<Answer>& answers) {
  std::printf("%-11s %-14s %16s  %s\n", "TABLE", "STATE", "VALUE", "COUNTER");
  for (const Answer& answer : answers) {
    char value[32] = "-";
    if (answer.status == 0) std::snprintf(value, sizeof value, "%.3f", answer.value);
    std::printf("%-11s %-14s %16s  %s\n", answer.wanted.table, state_of(answer.status).c_str(),
                value, shown(answer.wanted).c_str());
  }
}

void print_json(const std::vector<Answer>& answers) {
  nlohmann::ordered_json result = nlohmann::ordered_json::array();
  for (const Answer& answer : answers) {
    nlohmann::ordered_json one = {{"table", answer.wanted.table},
                                  {"object", answer.wanted.object},
                                  {"instance", nullptr},
                                  {"counter", answer.wanted.counter},
                                  {"state", state_of(answer.status)},
                                  {"value", nullptr}};
    if (!answer.wanted.instance.empty()) one["instance"] = answer.wanted.instance;
    if (answer.status == 0) one["value"] = answer.value;
    result.push_back(std::move(one));
  }
  // Names of foreign systems are not always UTF-8.
  std::printf("%s\n", result.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

// The tables asked for. Not 0: the exit status of a name that is no table, or none with counters.
int resolve(const std::string& asked, std::vector<std::string>& tables) {
  if (asked.empty()) {
    for (const tables::TableView& table : tables::catalogue()) {
      if (counters::reads_counters(table.name)) tables.emplace_back(table.name);
    }
    return 0;
  }
  const tables::TableView* table = find_table(asked);
  if (table == nullptr) return report_unknown_table(asked);
  if (!counters::reads_counters(table->name)) {
    std::fprintf(stderr, "dirwatch: %s shows no performance counters\n", table->name);
    return 2;
  }
  tables.emplace_back(table->name);
  return 0;
}

}  // namespace

int counters_command(const CountersOptions& options) {
  std::vector<std::string> names;
  if (const int status = resolve(options.table, names); status != 0) return status;
  std::string error;
  if (!use_controller(options.controller, error)) {
    std::fprintf(stderr, "dirwatch: %s\n", error.c_str());
    return 1;
  }
  counters::prepare_lists();
  const std::vector<Answer> answers = ask(names, error);
  if (!error.empty()) {
    std::fprintf(stderr, "dirwatch: %s\n", error.c_str());
    return 1;
  }
  if (options.format == "json") {
    print_json(answers);
  } else {
    print_text(answers);
  }
  for (const std::string& name : names) {
    const auto of_table = [&](const Answer& answer) { return name == answer.wanted.table; };
    if (std::none_of(answers.begin(), answers.end(), of_table)) {
      std::fprintf(stderr, "dirwatch: the counter object of %s has no instance\n", name.c_str());
    }
  }
  const auto there = [](const Answer& answer) { return answer.status == 0; };
  return std::any_of(answers.begin(), answers.end(), there) ? 0 : 1;
}

}  // namespace cli
