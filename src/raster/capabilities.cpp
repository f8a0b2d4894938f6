#include "raster/capabilities.h"

#include <cstddef>

namespace kowen {
namespace {

struct CapabilityDefault {
    uint8_t index;
    int32_t value;
};

constexpr size_t kCapabilityDefaults = 46;
constexpr size_t kColorModeIndex = 47;

// clang-format off
constexpr CapabilityDefault ddCapabilityDefaults[kCapabilityDefaults] = {
    {0, 100}, {1, -1}, {2, -1}, {3, -1}, {4, -1}, {5, 0}, {9, -1}, {10, -1}, {11, -1}, {12, -1},
    {13, -1}, {14, -1}, {15, -1}, {16, -1}, {17, -1}, {18, -1}, {19, 0}, {20, 0}, {21, 0},
    {22, 0}, {23, -1}, {24, -1}, {25, -1}, {26, -1}, {27, -1}, {28, -1}, {29, -1}, {31, 0},
    {32, -1}, {33, -1}, {34, 0}, {35, 0}, {36, -1}, {37, -1}, {38, 1}, {39, 1}, {40, 0},
    {41, -1}, {44, 0}, {45, -1}, {55, 0}, {56, 0}, {57, -1}, {58, 0}, {59, -1}, {47, 0},
};
// clang-format on

} // namespace

void FillCapabilities(int32_t *capabilities, int32_t colorMode) noexcept {
    if (!capabilities)
        return;
    for (const CapabilityDefault &row : ddCapabilityDefaults)
        capabilities[row.index] = row.value;
    capabilities[kColorModeIndex] = colorMode;
}

} // namespace kowen
