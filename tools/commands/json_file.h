// JSON files with errors that name the place.
#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace limbrex_tools
{

// Comments are allowed. False with `error` (file, line, column) when the file cannot be read, is no JSON, or repeats a member: readers
// differ in which one they take.
bool read_json_file(const std::string& path, nlohmann::json& out, std::string& error);

}  // namespace limbrex_tools
