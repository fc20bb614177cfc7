#include <filesystem>
#include <system_error>

#include "framework/xaf/sinks.h"

namespace xaf {

std::shared_ptr<Sink> make_sink(const std::string& format, const std::string& path,
                                std::string& error, const Rotation& rotation) {
  if (format != "table" && format != "json" && format != "csv") {
    error = format + ": no such format; there are table, json and csv";
    return nullptr;
  }
  std::error_code ignored;
  const bool folder = !path.empty() && (path.back() == '/' || path.back() == '\\' ||
                                        std::filesystem::is_directory(path, ignored));
  if (folder && format == "csv") {
    std::error_code failed;
    std::filesystem::create_directories(path, failed);
    if (std::filesystem::is_directory(path, ignored)) return make_csv_folder_sink(path, rotation);
    error = path + ": " + (failed ? failed.message() : "not a folder");
    return nullptr;
  }
  std::shared_ptr<Output> output =
      path.empty() ? Output::standard() : Output::file(path, rotation, error);
  if (output == nullptr) return nullptr;
  if (format == "table") return make_table_sink(std::move(output));
  if (format == "json") return make_json_sink(std::move(output));
  return make_csv_sink(std::move(output));
}

}  // namespace xaf
