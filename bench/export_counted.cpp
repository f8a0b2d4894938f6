// Saves the benchmark's picture a number of times, for programs that count what is executed.
//
//   export_counted kowen|libjpeg-turbo CASE TIMES
//
// CASE: 422-75, 422-100, 222-75, 222-100, grey-75, grey-100, progressive-75; progressive-75-4 has
// libjpeg-turbo's scans as the module's; icon-75 is a picture of 64 x 64. The difference between
// two numbers of times is what the exports alone execute.

#include "module_export.h"
#include "picture.h"
#include "turbo_encoder.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr uint32_t kWidth = 600;
constexpr uint32_t kHeight = 400;
constexpr uint32_t kIconSide = 64;
constexpr int kMostTimes = 10;

struct Case {
    const char *name;
    JpegChoice choice;
    Scans scans;
};

constexpr Case kCases[] = {
    {"422-75", {KOWEN_FORMAT_YCC422, false, 75}, Scans::kSequential},
    {"422-100", {KOWEN_FORMAT_YCC422, false, 100}, Scans::kSequential},
    {"222-75", {KOWEN_FORMAT_RGB444, false, 75}, Scans::kSequential},
    {"222-100", {KOWEN_FORMAT_RGB444, false, 100}, Scans::kSequential},
    {"grey-75", {KOWEN_FORMAT_GREY, false, 75}, Scans::kSequential},
    {"grey-100", {KOWEN_FORMAT_GREY, false, 100}, Scans::kSequential},
    {"progressive-75", {KOWEN_FORMAT_YCC422, true, 75}, Scans::kUsual},
    {"progressive-75-4", {KOWEN_FORMAT_YCC422, true, 75}, Scans::kFour},
    {"icon-75", {KOWEN_FORMAT_YCC422, false, 75}, Scans::kSequential},
};

const Case &Named(const std::string &name) {
    for (const Case &each : kCases)
        if (name == each.name)
            return each;
    std::fprintf(stderr, "export_counted: no case is named %s\n", name.c_str());
    std::exit(2);
}

// An export changes the pixels, so each gets a fresh copy; the number of copies is always the same,
// so that they are no part of a difference.
void Save(ModuleExport &module, const Picture &picture, int times) {
    for (int i = 0; i < kMostTimes; ++i) {
        module.Refresh(picture);
        if (i < times)
            module.Save();
    }
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 4) {
        std::fprintf(stderr, "usage: export_counted kowen|libjpeg-turbo CASE TIMES\n");
        return 2;
    }
    const Case &each = Named(argv[2]);
    const int times = std::atoi(argv[3]);
    Picture picture = DrawPhotograph(kWidth, kHeight);
    if (each.name == std::string("icon-75"))
        picture =
            Cut(picture, (kWidth - kIconSide) / 2, (kHeight - kIconSide) / 2, kIconSide, kIconSide);
    if (argv[1] == std::string("kowen")) {
        ModuleExport module(KOWEN_MODULE_PATH, each.choice, picture);
        Save(module, picture, times);
        std::printf("%u pixels, %zu bytes\n", picture.width * picture.height,
                    times > 0 ? module.JpegBytes() : 0);
        return 0;
    }
    size_t bytes = 0;
    for (int i = 0; i < times; ++i)
        bytes = EncodeWithTurbo(picture, each.choice, each.scans);
    std::printf("%u pixels, %zu bytes\n", picture.width * picture.height, bytes);
    return 0;
}
