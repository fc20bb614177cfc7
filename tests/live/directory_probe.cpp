// Asks a live directory what the lines of its standard input say, in one process and over the
// platform's own interface, so that a test can stop or freeze the server between two questions.
// Every answer is one line of JSON.
//
//   walk DN            children: their dn, cn, class (second objectClass value) and times
//   nested DN          children of all children, walked inside the outer walk
//   read DN NAME...    the named attributes of one object, values in hexadecimal
//   server NAME        who answers to that name: dnsHostName of its root object
//   count DN           how many objects lie below, walked without keeping them
//   write DN           makes, changes and removes an object of that name, reading in between
//   memory             the process's highest resident memory in KiB

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "framework/trc/control.h"
#include "platform/controller.h"
#include "trace.h"

namespace {

using nlohmann::json;
using platform::Directory;
using platform::DirectoryResult;
using platform::Entry;
using platform::EntryCursor;
using platform::SearchScope;

std::string code(DirectoryResult result) {
  char text[9];
  std::snprintf(text, sizeof text, "%08x", static_cast<std::uint32_t>(result));
  return text;
}

std::string value(const Entry& entry, const char* name, std::size_t index = 0) {
  const platform::Attribute* attribute = entry.find(name);
  return attribute == nullptr || attribute->values.size() <= index ? std::string()
                                                                   : attribute->values[index];
}

std::string hexadecimal(const std::string& bytes) {
  std::string text;
  for (const unsigned char byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

json walk(Directory& directory, const std::string& base) {
  std::unique_ptr<EntryCursor> cursor;
  json answer{{"children", json::array()}};
  DirectoryResult result = directory.search("", base, SearchScope::kOneLevel, "", {}, cursor);
  Entry entry;
  while (result == platform::kDirectoryOk) {
    result = cursor->next(entry);
    if (result != platform::kDirectoryOk) break;
    answer["children"].push_back({{"dn", entry.dn},
                                  {"cn", value(entry, "cn")},
                                  {"class", value(entry, "objectClass", 1)},
                                  {"created", value(entry, "whenCreated")},
                                  {"modified", value(entry, "whenChanged")}});
  }
  answer["result"] = code(result);
  // The same answer again after an end or an error.
  answer["again"] = cursor == nullptr ? code(result) : code(cursor->next(entry));
  return answer;
}

json nested(Directory& directory, const std::string& base) {
  std::unique_ptr<EntryCursor> outer;
  DirectoryResult result = directory.search("", base, SearchScope::kOneLevel, "", {}, outer);
  std::size_t children = 0;
  json grandchildren = json::array();
  Entry entry;
  while (result == platform::kDirectoryOk) {
    result = outer->next(entry);
    if (result != platform::kDirectoryOk) break;
    ++children;
    std::unique_ptr<EntryCursor> inner;
    if (directory.search("", entry.dn, SearchScope::kOneLevel, "", {"cn"}, inner) != 0) continue;
    while (inner->next(entry) == platform::kDirectoryOk) grandchildren.push_back(entry.dn);
  }
  return {{"children", children}, {"grandchildren", grandchildren}, {"result", code(result)}};
}

json count(Directory& directory, const std::string& base) {
  std::unique_ptr<EntryCursor> cursor;
  DirectoryResult result = directory.search("", base, SearchScope::kSubtree, "", {}, cursor);
  std::size_t objects = 0;
  Entry entry;
  while (result == platform::kDirectoryOk && (result = cursor->next(entry)) == 0) ++objects;
  return {{"objects", objects}, {"result", code(result)}};
}

json read(Directory& directory, std::istringstream& words) {
  std::string dn;
  std::getline(words >> std::ws, dn, ';');
  std::vector<std::string> names;
  for (std::string name; words >> name;) names.push_back(name);
  Entry entry;
  json answer{{"result", code(directory.read("", dn, names, entry))}, {"dn", entry.dn}};
  for (const auto& attribute : entry.attributes) {
    for (const std::string& bytes : attribute.values) {
      answer["attributes"][attribute.name].push_back(hexadecimal(bytes));
    }
  }
  return answer;
}

json server(Directory& directory, std::istringstream& words) {
  std::string name;
  words >> name;
  Entry root;
  const DirectoryResult result = directory.read_root(name, root);
  return {{"result", code(result)}, {"dnsHostName", value(root, "dnsHostName")}};
}

// The object as the agent writes it, from its making to its end; what each step came to.
json write(Directory& directory, const std::string& dn) {
  const std::string name = dn.substr(3, dn.find(',') - 3);
  const Entry made{dn,
                   {{"objectClass", {"top", "applicationEntity"}},
                    {"presentationAddress", {name}},
                    {"description", {"first\n"}}}};
  json answer{{"no_parent", code(directory.add("", {"CN=x,CN=nobody," + dn, made.attributes}))},
              {"add", code(directory.add("", made))},
              {"add_again", code(directory.add("", made))}};
  Entry entry;
  directory.read("", dn, {}, entry);
  answer["added"] = {value(entry, "name"), value(entry, "description"),
                     value(entry, "whenChanged")};
  answer["modify"] = code(directory.modify("", dn, {{"description", {"second\n"}}}));
  directory.read("", dn, {}, entry);
  answer["modified"] = value(entry, "description");
  answer["take_away"] = code(directory.modify("", dn, {{"description", {}}}));
  directory.read("", dn, {}, entry);
  answer["taken_away"] = entry.find("description") == nullptr;
  answer["remove"] = code(directory.remove("", dn));
  answer["remove_again"] = code(directory.remove("", dn));
  return answer;
}

json memory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return {{"peak_kib", std::stol(line.substr(6))}};
  }
  return {{"peak_kib", nullptr}};
}

json answer_to(Directory& directory, const std::string& line) {
  std::istringstream words(line);
  std::string command;
  std::string rest;
  words >> command;
  if (command == "walk" || command == "nested" || command == "count" || command == "write") {
    std::getline(words >> std::ws, rest);
    if (command == "count") return count(directory, rest);
    if (command == "write") return write(directory, rest);
    return command == "walk" ? walk(directory, rest) : nested(directory, rest);
  }
  if (command == "read") return read(directory, words);
  if (command == "server") return server(directory, words);
  if (command == "memory") return memory();
  return {{"error", "unknown command " + command}};
}

}  // namespace

int main(int argument_count, char** arguments) try {
  if (argument_count != 2) {
    std::cerr << "usage: directory_probe URL\n";
    return 2;
  }
  trc::set_console(true);  // trace lines, which the tests look for, on the standard error stream
  trc::set_flags(trace::kError);
  const auto controller = platform::open_live(arguments[1]);
  const platform::MachineFacts& facts = controller->machine();
  std::cout << json{{"host_name", facts.host_name},
                    {"dns_suffix", facts.dns_suffix},
                    {"counters", controller->counters() != nullptr},
                    {"registry", controller->registry() != nullptr}}
            << std::endl;
  for (std::string line; std::getline(std::cin, line);) {
    const auto began = std::chrono::steady_clock::now();
    json answer = answer_to(*controller->directory(), line);
    const auto took = std::chrono::steady_clock::now() - began;
    answer["elapsed_ms"] = std::chrono::duration_cast<std::chrono::milliseconds>(took).count();
    std::cout << answer << std::endl;
  }
  return 0;
} catch (const platform::ControllerError& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
