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
};

/// Rows of 3-byte pixels.
inline KowenPicture RgbPicture(const std::vector<uint8_t> &pixels, uint32_t width,
                               uint32_t height) {
    KowenPicture picture = {};
    picture.size = sizeof picture;
    picture.format = KOWEN_PIXEL_RGB;
    picture.width = width;
    picture.height = height;
    picture.pixels = pixels.data();
    return picture;
}

/// Saves to memory.
inline Saved SaveToMemory(KowenModule *module, const KowenPicture &picture,
                          const SettingList &list = {}, const KowenProgress *progress = nullptr) {
    const SomeSettings settings(list);
    KowenOutput output = {};
    output.size = sizeof output;
    Saved saved;
    saved.result.size = sizeof saved.result;
    saved.code = KowenSave(module, &picture, settings, &output, progress, &saved.result);
    EXPECT_EQ(saved.result.code, saved.code);
    if (output.memory != nullptr) {
        const auto *bytes = static_cast<const uint8_t *>(output.memory);
        saved.bytes.assign(bytes, bytes + output.memorySize);
    }
    KowenFree(output.memory);
    return saved;
}

/// Saves to a file.
inline Saved SaveToFile(KowenModule *module, const KowenPicture &picture, const std::string &path,
                        const SettingList &list = {}, KowenReplace replace = KOWEN_REPLACE_JPEG,
                        const KowenProgress *progress = nullptr) {
    const SomeSettings settings(list);
    KowenOutput output = {};
    output.size = sizeof output;
    output.path = path.c_str();
    output.replace = replace;
    Saved saved;
    saved.result.size = sizeof saved.result;
    saved.code = KowenSave(module, &picture, settings, &output, progress, &saved.result);
    EXPECT_EQ(saved.result.code, saved.code);
    EXPECT_EQ(output.memory, nullptr);
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

/// A smooth picture of colours well inside of what the filter can give.
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

} // namespace kowen::test
