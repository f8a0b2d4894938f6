// The pictures in a folder and in those below it.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace kowen::cli {

struct FoundPicture {
    std::string path;
    std::filesystem::path below; ///< its folder, relative to the one that was searched
    bool jpeg = false;
};

struct FolderContents {
    std::vector<FoundPicture> pictures; ///< in the order of their names
    size_t others = 0;                  ///< files that are no pictures
    std::vector<std::string> problems;  ///< folders and files that cannot be read
};

/// Searches a folder. Names that start with a dot are passed over; links to folders are not
/// followed.
/// except  a folder to pass over; empty = none.
FolderContents SearchFolder(const std::string &folder, const std::string &except);

} // namespace kowen::cli
