#include "setup/string_table.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace kowen {

namespace {

struct StringEntry {
    int16_t id;
    const char *text;
};

// In search order; the ids are not sorted. The last one stands for every id that is not here.
const StringEntry gStringTable[] = {
    {0, "~Defaults"},
    {1, "~Mode"},
    {2, "~Header"},
    {3, "~Default Mode"},
    {4, "Driver"},
    {6, "DefaultFileSpec"},
    {7, "Font"},
    {11, "Color Mode"},
    {15, "User-Defined Patterns"},
    {17, "Color Format"},
    {18, "Resolution Mode"},
    {19, "X Resolution"},
    {20, "Y Resolution"},
    {21, "Width"},
    {22, "Height"},
    {23, "File Type"},
    {13, "JPG Export"},
    {26, "Size Mode"},
    {24, "Quality Mode"},
    {25, "Quality"},
    {27, "Operation"},
    {28, "Line Mode"},
    {-1, "Not Defined"},
};
constexpr std::size_t kStringCount = 23;
static_assert(std::size(gStringTable) == kStringCount);

// Returns the length of the text, whatever was copied of it.
int32_t CopyText(const char *text, char *buffer, int32_t size) {
    const auto length = static_cast<int16_t>(std::strlen(text));
    const int32_t count = std::min(size, length + 1);
    if (count > 0)
        std::memcpy(buffer, text, static_cast<std::size_t>(count));
    return length;
}

} // namespace

int32_t LoadString(uint32_t /*module*/, int32_t id, char *buffer, int32_t size) noexcept {
    const auto wanted = static_cast<int16_t>(id);
    for (const StringEntry &entry : gStringTable)
        if (entry.id == wanted)
            return CopyText(entry.text, buffer, size);
    CopyText(gStringTable[kStringCount - 1].text, buffer, size);
    return 0;
}

} // namespace kowen
