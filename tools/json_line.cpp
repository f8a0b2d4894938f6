#include "json_line.h"

namespace kowen::cli {

std::string JsonLine(const nlohmann::ordered_json &value) {
    return value.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace);
}

} // namespace kowen::cli
