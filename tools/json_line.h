// JSON as commands print it.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kowen::cli {

/// An object or a list in one line, without its end. File names may hold any bytes: what is no
/// UTF-8 is replaced.
std::string JsonLine(const nlohmann::ordered_json &value);

} // namespace kowen::cli
