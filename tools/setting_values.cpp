#include "setting_values.h"

#include <charconv>
#include <cstdint>

namespace kowen::cli {

nlohmann::ordered_json SettingValue(const std::string &text) {
    if (text == "yes" || text == "no")
        return text == "yes";
    int64_t number = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    if (!text.empty() && result.ec == std::errc() && result.ptr == end)
        return number;
    return text;
}

} // namespace kowen::cli
