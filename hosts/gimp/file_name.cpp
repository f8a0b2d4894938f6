#include "file_name.h"

#include <glib/gstdio.h>

#include <cstdio>
#include <cstring>

namespace kowen::gimp {
namespace {

constexpr char kLastFolder[] = "kowen-folder";
constexpr const char *kJpegEndings[] = {".jpg", ".jpeg", ".jpe", ".jfif", ".kjpg"};

std::string DataName(gint32 image) {
    return "kowen-file-" + std::to_string(image);
}

// GIMP keeps such data until it ends.
std::string Recall(const std::string &key) {
    const gint size = gimp_get_data_size(key.c_str());
    std::string text(static_cast<size_t>(size), '\0');
    return size > 0 && gimp_get_data(key.c_str(), text.data()) ? text : "";
}

void Remember(const std::string &key, const std::string &text) {
    gimp_set_data(key.c_str(), text.data(), static_cast<gint>(text.size()));
}

std::string Taken(gchar *text) {
    const std::string taken = text != nullptr ? text : "";
    g_free(text);
    return taken;
}

std::string PathOf(gchar *uri) {
    const std::string path = uri ? Taken(g_filename_from_uri(uri, nullptr, nullptr)) : "";
    g_free(uri);
    return path;
}

// The image's own file, in the order in which GIMP's Export As looks for it.
std::string FileOf(gint32 image) {
    std::string path = PathOf(gimp_image_get_exported_uri(image));
    if (path.empty())
        path = PathOf(gimp_image_get_xcf_uri(image));
    if (path.empty())
        path = PathOf(gimp_image_get_imported_uri(image));
    return path;
}

std::string WithoutEnding(const std::string &name) {
    const size_t dot = name.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

std::string Folder(const std::string &path) {
    return Taken(g_path_get_dirname(path.c_str()));
}

std::string Name(const std::string &path) {
    return Taken(g_path_get_basename(path.c_str()));
}

bool StartsAsJpeg(const std::string &path) {
    unsigned char start[3] = {};
    std::FILE *file = g_fopen(path.c_str(), "rb");
    const bool read = file != nullptr && std::fread(start, 1, sizeof start, file) == sizeof start;
    if (file != nullptr)
        std::fclose(file);
    return read && start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF;
}

std::string AnyFolder() {
    const std::string last = Recall(kLastFolder);
    if (g_file_test(last.c_str(), G_FILE_TEST_IS_DIR))
        return last;
    const gchar *pictures = g_get_user_special_dir(G_USER_DIRECTORY_PICTURES);
    return pictures != nullptr ? pictures : g_get_home_dir();
}

} // namespace

OfferedFile FileToOffer(gint32 image) {
    const std::string before = Recall(DataName(image));
    if (!before.empty())
        return {Folder(before), Name(before)};
    const std::string own = FileOf(image);
    if (own.empty())
        return {AnyFolder(), "Untitled.jpg"};
    return {Folder(own), WithoutEnding(Name(own)) + ".jpg"};
}

void RememberFile(gint32 image, const std::string &path) {
    Remember(DataName(image), path);
    Remember(kLastFolder, Folder(path));
}

std::string WithJpegEnding(const std::string &path) {
    const std::string lower = Taken(g_ascii_strdown(path.c_str(), -1));
    for (const char *ending : kJpegEndings)
        if (g_str_has_suffix(lower.c_str(), ending) && Name(lower) != ending)
            return path;
    return path + ".jpg";
}

bool WouldReplace(const std::string &path) {
    GStatBuf status;
    if (g_stat(path.c_str(), &status) != 0 || S_ISDIR(status.st_mode))
        return false;
    return !S_ISREG(status.st_mode) || status.st_size == 0 || StartsAsJpeg(path);
}

} // namespace kowen::gimp
