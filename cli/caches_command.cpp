// dirwatch caches: what the background collections of the running agent do now.

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/durations.h"
#include "include/platform/time.h"
#include "tables/status_board.h"

namespace cli {
namespace {

using nlohmann::ordered_json;
using status::Job;
using status::Report;
using status::State;

struct JobView {
  Job job;
  Report report;
  std::string state;  // for people
};

struct AgentView {
  std::uint32_t process = 0;
  std::string started;
  std::int32_t cache_interval_ms = 0;
  std::int32_t sysvol_interval_ms = 0;
  std::uint64_t now_ms = 0;
  std::vector<JobView> jobs;
};

// Of a moment that another process has written.
std::uint64_t since(std::uint64_t moment_ms, std::uint64_t now_ms) {
  return now_ms > moment_ms ? now_ms - moment_ms : 0;
}

std::string utc(std::int64_t moment_ms) {
  const __time64_t seconds = moment_ms / 1000;
  std::tm parts = {};
  char text[32] = "at an unknown time";
  const auto plain = static_cast<std::time_t>(seconds);
  if (gmtime_s(&parts, &plain) == 0) {
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
  }
  return text;
}

bool is_cache(Job job) { return job != Job::kCollectors && job != Job::kObjectCount; }

std::string state_word(Job job, const Report& report, const AgentView& agent) {
  const bool is_off = job == Job::kSysvol ? agent.sysvol_interval_ms == 0
                                          : is_cache(job) && agent.cache_interval_ms == 0;
  switch (report.state) {
    case State::kNever:
      return is_off ? "off" : "never collected";
    case State::kWaiting:
      return "waiting for the lock";
    case State::kCollecting:
      return "collecting";
    case State::kResting:
      break;
  }
  if (job == Job::kCollectors) return "built";
  // Without caching a sample collects by itself, and the job rests until the next one.
  return is_off ? "off" : "resting";
}

AgentView look_at(const status::Board& board) {
  AgentView agent;
  agent.process = board.process;
  agent.started = utc(board.started_ms);
  agent.cache_interval_ms = board.cache_interval_ms;
  agent.sysvol_interval_ms = board.sysvol_interval_ms;
  agent.now_ms = GetTickCount64();
  for (std::size_t i = 0; i < status::kJobCount; ++i) {
    JobView view{static_cast<Job>(i), {}, "cannot be read"};
    if (board.of(view.job).read(view.report)) {
      view.state = state_word(view.job, view.report, agent);
    }
    agent.jobs.push_back(std::move(view));
  }
  return agent;
}

std::string state_cell(const JobView& view, std::uint64_t now_ms) {
  const Report& report = view.report;
  if (report.state == State::kNever || view.state == "built" || view.state == "off") {
    return view.state;
  }
  return view.state + " for " + duration(since(report.since_ms, now_ms)) +
         (report.holds_lock != 0 ? ", HOLDS THE LOCK" : "");
}

std::string last_cell(const Report& report, Job job) {
  if (report.collections == 0) return "-";
  const bool is_empty = is_cache(job) && report.transferred == 0;
  return duration(report.last_took_ms) + (is_empty ? ", without rows" : "");
}

std::string step_cell(const JobView& view, std::uint64_t now_ms) {
  const Report& report = view.report;
  if (report.state != State::kCollecting || report.step[0] == '\0') return "";
  return std::string(report.step.data()) + ", for " + duration(since(report.step_since_ms, now_ms));
}

void print_text(const AgentView& agent) {
  std::printf("process %u, started %s, ", agent.process, agent.started.c_str());
  if (agent.cache_interval_ms > 0) {
    std::printf("caching every %s\n",
                duration(static_cast<std::uint64_t>(agent.cache_interval_ms)).c_str());
  } else {
    std::printf("caching off\n");
  }
  std::printf("\n%-18s  %-44s  %5s  %-11s  %-21s  %s\n", "JOB", "STATE", "ROWS", "THEIR AGE",
              "LAST TOOK", "NOW");
  for (const JobView& view : agent.jobs) {
    const Report& report = view.report;
    const std::string rows = report.has_rows != 0 ? std::to_string(report.rows) : "-";
    const std::string age =
        report.has_rows != 0 ? duration(since(report.rows_since_ms, agent.now_ms)) : "-";
    std::string line(512, '\0');
    const int length = std::snprintf(
        line.data(), line.size(), "%-18s  %-44s  %5s  %-11s  %-21s  %s", status::name_of(view.job),
        state_cell(view, agent.now_ms).c_str(), rows.c_str(), age.c_str(),
        last_cell(report, view.job).c_str(), step_cell(view, agent.now_ms).c_str());
    line.resize(std::min(line.size() - 1, static_cast<std::size_t>(std::max(length, 0))));
    line.erase(line.find_last_not_of(' ') + 1);
    std::printf("%s\n", line.c_str());
  }
}

double seconds(std::uint64_t duration_ms) { return static_cast<double>(duration_ms) / 1000; }

ordered_json json_of(const JobView& view, std::uint64_t now_ms) {
  const Report& report = view.report;
  ordered_json row = {{"job", status::name_of(view.job)},
                      {"state", view.state},
                      {"state_s", nullptr},
                      {"holds_lock", report.holds_lock != 0},
                      {"rows", nullptr},
                      {"rows_age_s", nullptr},
                      {"collections", report.collections},
                      {"last_took_s", nullptr},
                      {"last_transferred", nullptr},
                      {"step", nullptr},
                      {"step_s", nullptr}};
  if (report.state != State::kNever) row["state_s"] = seconds(since(report.since_ms, now_ms));
  if (report.has_rows != 0) {
    row["rows"] = report.rows;
    row["rows_age_s"] = seconds(since(report.rows_since_ms, now_ms));
  }
  if (report.collections != 0) {
    row["last_took_s"] = seconds(report.last_took_ms);
    if (is_cache(view.job)) row["last_transferred"] = report.transferred != 0;
  }
  if (report.state == State::kCollecting && report.step[0] != '\0') {
    row["step"] = report.step.data();
    row["step_s"] = seconds(since(report.step_since_ms, now_ms));
  }
  return row;
}

void print_json(const AgentView& agent) {
  ordered_json holder = nullptr;
  ordered_json jobs = ordered_json::array();
  for (const JobView& view : agent.jobs) {
    if (view.report.holds_lock != 0) holder = status::name_of(view.job);
    jobs.push_back(json_of(view, agent.now_ms));
  }
  const ordered_json all = {{"process", agent.process},
                            {"started", agent.started},
                            {"cache_interval_s", agent.cache_interval_ms / 1000},
                            {"lock_holder", holder},
                            {"jobs", jobs}};
  // A step may hold bytes of any code page.
  std::printf("%s\n", all.dump(2, ' ', false, ordered_json::error_handler_t::replace).c_str());
}

int report_none(bool is_refused) {
  if (is_refused) {
    std::fprintf(stderr,
                 "dirwatch: an agent runs that this user may not look at; run dirwatch caches as "
                 "its user, or with the rights of the administrator\n");
  } else {
    std::fprintf(stderr,
                 "dirwatch: no agent of this user or of the whole machine runs; start the service, "
                 "DirWatcher TEST or dirwatch run\n");
  }
  return 1;
}

}  // namespace

int caches_command(const CachesOptions& options) {
  bool is_refused = false;
  const std::vector<status::SharedBoard> agents = status::running_agents(is_refused);
  if (agents.empty()) return report_none(is_refused);
  const AgentView agent = look_at(*agents.front());
  options.format == "json" ? print_json(agent) : print_text(agent);
  for (std::size_t i = 1; i < agents.size(); ++i) {
    std::fprintf(stderr, "dirwatch: process %u is another agent, started before this one\n",
                 agents[i]->process.load());
  }
  if (agent.cache_interval_ms > 0) return 0;
  std::fprintf(
      stderr,
      "dirwatch: caching is off, so each sample collects by itself; set DWA_CACHE_INTERVAL "
      "(seconds) in the agent's registry branch and start it again\n");
  return 1;
}

}  // namespace cli
