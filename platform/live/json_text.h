#pragma once
// How the JSON files of a recording are written: for people, one key a line. Bytes that are no
// UTF-8 become the sign for that, so that the file can be read in any case.

#include <nlohmann/json.hpp>
#include <string>

namespace platform {

inline std::string json_text(const nlohmann::ordered_json& value) {
  return value.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace platform
