#include "host/progress.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr int kBarCells = 30;
constexpr const char *kBackAndErase = "\r\x1b[K";

} // namespace

Progress::Progress(bool shown) : visible(shown && isatty(STDERR_FILENO) != 0) {}

void Progress::Show(const std::string &phase, int percent) {
    if (!visible)
        return;
    const int done = std::clamp(percent, 0, 100) * kBarCells / 100;
    const std::string bar = std::string(static_cast<size_t>(done), '#') +
                            std::string(static_cast<size_t>(kBarCells - done), '.');
    std::fprintf(stderr, "%s[%s] %3d%% %s", kBackAndErase, bar.c_str(), percent, phase.c_str());
    std::fflush(stderr);
    drawn = true;
}

void Progress::Clear() {
    if (drawn)
        std::fputs(kBackAndErase, stderr);
    drawn = false;
}

} // namespace kowen::host
