// Saving through the host library, in few words.
#pragma once

#include "kowen/host.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace kowen::test {

/// A module that is open as long as a test runs.
class OpenedModule {
public:
    OpenedModule() {
        KowenResult result = {};
        result.size = sizeof result;
        module = KowenOpenModule(nullptr, &result);
        EXPECT_NE(module, nullptr) << result.message;
    }
    ~OpenedModule() { KowenCloseModule(module); }
    OpenedModule(const OpenedModule &) = delete;
    OpenedModule &operator=(const OpenedModule &) = delete;
    operator KowenModule *() const { return module; }

private:
    KowenModule *module = nullptr;
};

using SettingList = std::vector<std::pair<std::string, std::string>>;

/// Settings by name; each must be taken.
class SomeSettings {
public:
    explicit SomeSettings(const SettingList &list = {}) : settings(KowenNewSettings()) {
        for (const auto &[name, value] : list) {
            KowenResult result = {};
            result.size = sizeof result;
            EXPECT_EQ(KowenSet(settings, name.c_str(), value.c_str(), &result), KOWEN_HOST_OK)
                << result.message;
        }
    }
    ~SomeSettings() { KowenFreeSettings(settings); }
    SomeSettings(const SomeSettings &) = delete;
    SomeSettings &operator=(const SomeSettings &) = delete;
    operator KowenSettings *() const { return settings; }

private:
    KowenSettings *settings;
};

/// What a save gave.
struct Saved {
    int32_t code = -1;
    KowenResult result = {};
    std::vector<uint8_t> bytes; ///< of a save to memory

    bool Notes(uint32_t bits) const { return (result.notes & bits) == bits; }
};

/// Rows of pixels of any format without gaps.
inline KowenPicture PictureOf(KowenPixelFormat format, const std::vector<uint8_t> &pixels,
                              uint32_t width, uint32_t height) {
    KowenPicture picture = {};
    picture.size = sizeof picture;
    picture.format = format;
    picture.width = width;
    picture.height = height;
    picture.pixels = pixels.data();
    return picture;
}

/// Rows of 3-byte pixels.
inline KowenPicture RgbPicture(const std::vector<uint8_t> &pixels, uint32_t width,
                               uint32_t height) {
    return PictureOf(KOWEN_PIXEL_RGB, pixels, width, height);
}

/// Where a save goes, and how it is told of.
struct SaveOptions {
    std::string path; ///< empty = memory
    KowenReplace replace = KOWEN_REPLACE_JPEG;
    const KowenProgress *progress = nullptr;
    KowenWriter write = nullptr;
    void *writeContext = nullptr;
};

inline Saved Save(KowenModule *module, const KowenPicture &picture, const SettingList &list = {},
                  const SaveOptions &options = {}) {
    const SomeSettings settings(list);
    KowenOutput output = {};
    output.size = sizeof output;
    output.path = options.path.empty() ? nullptr : options.path.c_str();
    output.replace = options.replace;
    output.write = options.write;
    output.writeContext = options.writeContext;
    Saved saved;
    saved.result.size = sizeof saved.result;
    saved.code = KowenSave(module, &picture, settings, &output, options.progress, &saved.result);
    EXPECT_EQ(saved.result.code, saved.code);
    EXPECT_EQ(output.memory != nullptr,
              saved.code == KOWEN_HOST_OK && options.path.empty() && options.write == nullptr);
    if (output.memory != nullptr) {
        const auto *bytes = static_cast<const uint8_t *>(output.memory);
        saved.bytes.assign(bytes, bytes + output.memorySize);
    }
    KowenFree(output.memory);
    return saved;
}

/// Pixels of one colour.
inline std::vector<uint8_t> Flat(uint32_t width, uint32_t height, uint8_t red, uint8_t green,
                                 uint8_t blue) {
    std::vector<uint8_t> pixels;
    for (uint32_t i = 0; i < width * height; ++i)
        pixels.insert(pixels.end(), {red, green, blue});
    return pixels;
}

/// A smooth picture of colours well inside of what the filter can be given.
inline std::vector<uint8_t> Gradient(uint32_t width, uint32_t height) {
    std::vector<uint8_t> pixels;
    for (uint32_t y = 0; y < height; ++y) {
        for (uint32_t x = 0; x < width; ++x)
            pixels.insert(pixels.end(), {static_cast<uint8_t>(80 + x * 96 / width),
                                         static_cast<uint8_t>(80 + y * 96 / height),
                                         static_cast<uint8_t>(120 + x * 30 / width)});
    }
    return pixels;
}

/// The segments of a JPEG's head with this marker byte, their length words included.
inline std::vector<std::vector<uint8_t>> Segments(const std::vector<uint8_t> &jpeg,
                                                  uint8_t marker) {
    std::vector<std::vector<uint8_t>> found;
    for (size_t at = 2; at + 4 <= jpeg.size() && jpeg[at] == 0xFF && jpeg[at + 1] != 0xDA;) {
        const size_t size = 2 + (jpeg[at + 2] * size_t{256} + jpeg[at + 3]);
        if (jpeg[at + 1] == marker)
            found.emplace_back(jpeg.begin() + static_cast<ptrdiff_t>(at) + 2,
                               jpeg.begin() + static_cast<ptrdiff_t>(at + size));
        at += size;
    }
    return found;
}

} // namespace kowen::test
