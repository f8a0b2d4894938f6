// A folder on a disk whose power may fail: what reaches the disk when, and every state that it may
// be found in afterwards.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace kowen::test {

/// One call that changes a folder or the files in it. Files go by numbers, of which a name stands
/// for one.
struct DiskCall {
    enum Kind {
        kName,      ///< the name stands for the file
        kRename,    ///< the name goes to another one, in one step
        kRemove,    ///< the name stands for nothing
        kWrite,     ///< bytes at an offset
        kTruncate,  ///< to a length
        kMode,      ///< permissions
        kSyncFile,  ///< content and permissions of the file are on disk
        kSyncFolder ///< all names are on disk
    };
    Kind kind;
    size_t file = 0;
    std::string name = {};
    std::string newName = {};
    std::string bytes = {};
    size_t offset = 0; ///< or length
    unsigned mode = 0;
};

struct FileState {
    std::string bytes;
    unsigned mode = 0;
    auto operator<=>(const FileState &) const = default;
};

/// Files by name.
using FolderState = std::map<std::string, FileState>;

/// What is there after all calls when the power does not fail.
FolderState AfterAll(const FolderState &before, const std::vector<DiskCall> &calls);

/// Everything that may be there when the power fails after the calls: of a file's changes since it
/// was brought to disk none, a beginning, half of one, or their length without their bytes; of the
/// names changed since the folder was brought to disk any, in any choice.
std::set<FolderState> AfterPowerCut(const FolderState &before, const std::vector<DiskCall> &calls);

} // namespace kowen::test
