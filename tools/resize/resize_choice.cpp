#include "resize/resize_choice.h"

#include "failure.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace kowen::cli {
namespace {

constexpr uint32_t kLongestSide = 65535;
constexpr double kMostPercent = 10000;

[[noreturn]] void Reject(const std::string &text) {
    throw UsageFailure("a new size is 1200x (wide), x800 (high), 1200x800 (fitted into) or 50%, "
                       "of at most 65535 pixels a side and 10000%, not '" +
                       text + "'");
}

// Empty = 0.
uint32_t Side(const std::string &text, const std::string &whole) {
    if (text.empty())
        return 0;
    uint32_t side = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, side);
    if (result.ec != std::errc() || result.ptr != end || side == 0 || side > kLongestSide)
        Reject(whole);
    return side;
}

uint32_t Rounded(double side) {
    const double rounded = std::max(1.0, std::floor(side + 0.5));
    if (rounded > kLongestSide)
        throw Failure("--resize would give more than 65535 pixels a side");
    return static_cast<uint32_t>(rounded);
}

} // namespace

ResizeChoice ParseResize(const std::string &text) {
    ResizeChoice choice;
    if (text.ends_with('%')) {
        const char *end = text.data() + text.size() - 1;
        const auto result =
            std::from_chars(text.data(), end, choice.percent, std::chars_format::fixed);
        if (result.ec != std::errc() || result.ptr != end || !(choice.percent > 0) ||
            choice.percent > kMostPercent)
            Reject(text);
        return choice;
    }
    const size_t cross = text.find_first_of("xX");
    if (cross == std::string::npos)
        Reject(text);
    choice.width = Side(text.substr(0, cross), text);
    choice.height = Side(text.substr(cross + 1), text);
    if (!choice.Wanted())
        Reject(text);
    return choice;
}

PixelSize ResizedSize(const ResizeChoice &choice, const PixelSize &picture) {
    double scale = choice.percent / 100;
    if (choice.percent == 0) {
        const double across = choice.width / static_cast<double>(picture.width);
        const double down = choice.height / static_cast<double>(picture.height);
        scale = across == 0 ? down : down == 0 ? across : std::min(across, down);
    }
    if (!choice.Wanted() || (choice.shrinkOnly && scale >= 1))
        return picture;
    return {Rounded(picture.width * scale), Rounded(picture.height * scale)};
}

} // namespace kowen::cli
