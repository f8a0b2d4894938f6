// The permissions of a file.
#pragma once

#include <string>
#include <sys/stat.h>

/// -1 when there is no such file.
inline int ModeOf(const std::string &path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 ? static_cast<int>(status.st_mode & 07777) : -1;
}
