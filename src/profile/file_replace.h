// Replaces a file in one step, so that a crash or a full disk leaves the old one or the new one.
#pragma once

#include <string_view>

namespace kowen {

enum class ReplaceKind {
    kExisting, ///< the file must be there
    kNew,      ///< nothing must be there
};

/// Makes text the whole content of the file at path.
///
/// The text goes to a file of its own beside it and is on disk before that file is renamed. A
/// symbolic link at path stays, the file that it leads to is replaced. Permissions of an existing
/// file are kept, and its owner and group where the system allows; a new file has the usual ones.
/// Returns false when any step failed; what was at path is unchanged then.
bool ReplaceFile(const char *path, std::string_view text, ReplaceKind kind) noexcept;

} // namespace kowen
