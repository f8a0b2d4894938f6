// Lines of a profile: where they end, what is left of them once cleaned, key and value.
//
// Texts are views of memory that the caller keeps. Names compare without regard to case.
#pragma once

#include <cstdint>
#include <string_view>

namespace kowen {

/// Reading sees a longer line in pieces of this many bytes, each as a line of its own.
inline constexpr uint32_t kProfilePieceBytes = 256;

/// For NextLine: lines are not cut into pieces.
inline constexpr std::size_t kWholeLines = static_cast<std::size_t>(-1);

/// Takes the next line off rest, without its end (CR LF, CR or LF); a last line needs none. A line
/// of longest bytes or more gives its first longest bytes, and the rest of it comes next.
/// Returns false, with line unchanged, when nothing is left.
bool NextLine(std::string_view &rest, std::size_t longest, std::string_view &line) noexcept;

/// The line end that a text's first line has; CR LF for a text without any.
std::string_view FirstLineEnd(std::string_view text) noexcept;

/// Whether a line begins a section, or ends the one before, judged by its first byte alone.
inline bool IsHeader(std::string_view line) noexcept {
    return !line.empty() && line[0] == '[';
}

/// What cleaning leaves of a line unless told to remove it.
enum ProfileKeep : uint32_t { kKeepNothing = 0, kKeepBrackets = 1, kKeepQuotes = 4 };

/// A cleaned line.
struct CleanLine {
    char bytes[kProfilePieceBytes];
    uint32_t size;
    bool whole; ///< false: more than the bytes was left, and size is 0

    std::string_view Text() const noexcept { return {bytes, size}; }
};

/// Cleans a line, up to a zero byte: without CR, LF, "[", "]" and double quotes (of two adjacent
/// ones the first stays), cut at its first ";", without spaces at its ends. keep: ProfileKeep
/// bits joined.
CleanLine Clean(std::string_view line, uint32_t keep) noexcept;

/// Cleans a section name as a header is cleaned, to be compared with headers.
/// Returns false for a name of kProfilePieceBytes or more, which nothing can match.
bool CleanSectionName(const char *section, CleanLine &name) noexcept;

/// Whether two names are the same, case ignored.
bool SameName(std::string_view a, std::string_view b) noexcept;

struct ProfileEntry {
    std::string_view key;
    std::string_view value;
};

/// Splits a cleaned line at its first "=". Returns false when it has none: it is no entry then.
bool SplitEntry(std::string_view cleaned, ProfileEntry &entry) noexcept;

/// Takes one leading and one trailing double quote off a value.
std::string_view TrimQuotes(std::string_view value) noexcept;

/// Whether a rewrite takes a line as it stands in the file for an entry of that key: the text
/// before its first "=", cut at a ";" and without spaces at its ends, is the key.
///
/// Kept deliberately: other than in reading, spaces between key and "=" do not count, nor does
/// a ";" before the "=". Test: WritePrivateProfileStringTest.FindsAKeyWithSpacesBeforeTheSign.
bool HasKey(std::string_view line, std::string_view key) noexcept;

} // namespace kowen
