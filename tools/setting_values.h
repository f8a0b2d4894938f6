// Settings as programs read them: numbers as numbers.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace kowen::cli {

/// A setting's value: true or false for yes and no, a number for a number, else the text.
nlohmann::ordered_json SettingValue(const std::string &text);

} // namespace kowen::cli
