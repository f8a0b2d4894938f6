#include "batch/up_to_date.h"

#include <cstdint>
#include <cstdio>
#include <memory>
#include <sys/stat.h>
#include <tuple>

namespace kowen::cli {
namespace {

bool StartsAsJpeg(const std::string &path) {
    uint8_t start[3] = {};
    const std::unique_ptr<FILE, int (*)(FILE *)> file(std::fopen(path.c_str(), "rbe"), std::fclose);
    return file && std::fread(start, 1, sizeof start, file.get()) == sizeof start &&
           start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF;
}

bool NotOlder(const timespec &a, const timespec &b) {
    return std::tie(a.tv_sec, a.tv_nsec) >= std::tie(b.tv_sec, b.tv_nsec);
}

} // namespace

bool IsUpToDate(const std::string &target, const std::string &source) {
    struct stat there = {};
    struct stat picture = {};
    return stat(target.c_str(), &there) == 0 && stat(source.c_str(), &picture) == 0 &&
           S_ISREG(there.st_mode) && S_ISREG(picture.st_mode) &&
           NotOlder(there.st_mtim, picture.st_mtim) && StartsAsJpeg(target);
}

} // namespace kowen::cli
