#include "platform/commands/recorded_commands.h"

#include <utility>
#include <vector>

#include "platform/recorded/json_reader.h"

namespace platform {
namespace {

constexpr std::uint64_t kLongest_s = 4000000;  // what fits a wait in milliseconds

struct RecordedCommand {
  std::string pattern;
  CommandAnswer answer;
};

// A text as it stands, or a list of lines, each of which gets its line end.
std::string read_output(const JsonPlace& place) {
  if (place.is_text()) return place.text();
  std::string output;
  for (const JsonPlace& line : place.items()) output += line.text() + "\r\n";
  return output;
}

RecordedCommand read_command(const JsonPlace& place,
                             const std::map<std::string, std::string>& files) {
  place.only({"command", "output", "output_file", "exit_code", "takes_s"});
  RecordedCommand command;
  command.pattern = place.text("command");
  if (command.pattern.empty()) place.at("command").refuse("is empty");
  if (place.has("output") && place.has("output_file")) {
    place.at("output_file").refuse("stands beside an output");
  }
  if (place.has("output")) command.answer.output = read_output(place.at("output"));
  if (place.has("output_file")) {
    const auto file = files.find(place.text("output_file"));
    if (file == files.end()) place.at("output_file").refuse("is no file of the folder commands");
    command.answer.output = file->second;
  }
  command.answer.exit_code = static_cast<int>(place.number("exit_code", 255, 0));
  command.answer.takes_s = static_cast<std::uint32_t>(place.number("takes_s", kLongest_s, 0));
  return command;
}

class RecordedCommands : public CommandSource {
 public:
  explicit RecordedCommands(std::vector<RecordedCommand> commands)
      : commands_(std::move(commands)) {}

  CommandAnswer run(std::string_view command_line) override {
    for (const RecordedCommand& one : commands_) {
      if (matches_pattern(one.pattern, command_line)) return one.answer;
    }
    return {"", 1};
  }

 private:
  const std::vector<RecordedCommand> commands_;
};

}  // namespace

bool matches_pattern(std::string_view pattern, std::string_view text) {
  std::size_t at = 0;
  std::size_t in_text = 0;
  std::size_t star = pattern.npos;  // the last one seen, and where the text stood then
  std::size_t text_at_star = 0;
  while (in_text < text.size()) {
    if (at < pattern.size() && pattern[at] == '*') {
      star = at++;
      text_at_star = in_text;
    } else if (at < pattern.size() && pattern[at] == text[in_text]) {
      ++at;
      ++in_text;
    } else if (star != pattern.npos) {
      at = star + 1;
      in_text = ++text_at_star;
    } else {
      return false;
    }
  }
  while (at < pattern.size() && pattern[at] == '*') ++at;
  return at == pattern.size();
}

std::unique_ptr<CommandSource> read_commands(const std::string* text,
                                             const std::map<std::string, std::string>& files) {
  std::vector<RecordedCommand> commands;
  if (text != nullptr) {
    const JsonPlace root = JsonPlace::read(*text, "commands.json");
    root.only({"commands"});
    for (const JsonPlace& item : root.items("commands")) {
      commands.push_back(read_command(item, files));
    }
  }
  return std::make_unique<RecordedCommands>(std::move(commands));
}

}  // namespace platform
