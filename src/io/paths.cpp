#include "io/file_handle.h"

#include <cstring>

namespace kowen {
namespace {

// What follows the last of a separator; null without one.
const char *After(const char *path, char separator) {
    const char *last = std::strrchr(path, separator);
    return last ? last + 1 : nullptr;
}

void CopyText(char *destination, const char *text, std::size_t length) {
    std::memmove(destination, text, length);
    destination[length] = '\0';
}

} // namespace

void s_getpath(char *destination, const char *path) noexcept {
    const char *end = After(path, '\\');
    if (!end)
        end = After(path, '/');
    CopyText(destination, path, end ? static_cast<std::size_t>(end - path) : 0);
}

void s_getname(char *destination, const char *path) noexcept {
    const char *name = After(path, '\\');
    if (!name)
        name = After(path, '/');
    if (!name)
        name = After(path, ':');
    if (!name)
        name = path;
    const char *period = std::strrchr(name, '.');
    CopyText(destination, name,
             period ? static_cast<std::size_t>(period - name) : std::strlen(name));
}

} // namespace kowen
