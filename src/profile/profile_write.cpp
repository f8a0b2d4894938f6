#include "kowen/codes.h"
#include "profile/file_replace.h"
#include "profile/profile_file.h"
#include "profile/profile_line.h"
#include "profile/profile_path.h"

#include <cstring>

namespace kowen {

namespace {

constexpr char kDefaultProfile[] = "QIV.INI";

struct ProfileChange {
    CleanLine section;
    const char *key;   // null: delete the section
    const char *value; // null: delete the key
};

// Takes the lines of the old text one by one and appends those of the new.
class Rewriter {
public:
    Rewriter(const ProfileChange &wanted, std::string_view end, TextBuffer &target) noexcept
        : change(wanted), lineEnd(end), out(target) {}

    void Take(std::string_view line) noexcept {
        if (!inSection) {
            if (IsHeader(line) && IsSection(line))
                BeginSection(line);
            else
                Copy(line);
        } else if (IsHeader(line)) {
            // Kept deliberately: the header that ends a section is not compared with its name.
            // Test: WritePrivateProfileStringTest.TheHeaderThatEndsASectionIsNotExamined.
            EndSection();
            Copy(line);
        } else {
            TakeEntry(line);
        }
    }

    // Returns false when the text stays as it was: there was nothing to delete.
    bool Finish() noexcept {
        if (inSection)
            EndSection();
        if (found)
            return true;
        if (change.key == nullptr || change.value == nullptr)
            return false;
        Copy("");
        AppendHeader();
        AppendEntry();
        return true;
    }

private:
    bool IsSection(std::string_view line) const noexcept {
        return SameName(Clean(line, kKeepNothing).Text(), change.section.Text());
    }

    void BeginSection(std::string_view line) noexcept {
        inSection = true;
        found = true;
        written = false;
        if (change.key == nullptr)
            return;
        // A header is held back until something of its section is kept.
        if (change.value == nullptr)
            heldHeader = line;
        else
            Copy(line);
    }

    void TakeEntry(std::string_view line) noexcept {
        if (change.key == nullptr)
            return;
        const bool matches = HasKey(line, change.key);
        if (change.value == nullptr)
            CopyUnless(matches, line);
        else if (matches)
            AppendEntry();
        else
            Copy(line);
    }

    void CopyUnless(bool deleted, std::string_view line) noexcept {
        if (deleted)
            return;
        if (heldHeader.data() != nullptr)
            Copy(heldHeader);
        heldHeader = {};
        Copy(line);
    }

    void EndSection() noexcept {
        if (change.key != nullptr && change.value != nullptr && !written)
            AppendEntry();
        inSection = false;
    }

    void Copy(std::string_view line) noexcept {
        out.Append(line);
        out.Append(lineEnd);
    }

    void AppendHeader() noexcept {
        out.Append("[");
        out.Append(change.section.Text());
        Copy("]");
    }

    void AppendEntry() noexcept {
        out.Append(change.key);
        out.Append("=");
        Copy(change.value);
        written = true;
    }

    const ProfileChange &change;
    std::string_view lineEnd;
    TextBuffer &out;
    std::string_view heldHeader;
    bool inSection = false;
    bool found = false;   // a section of that name
    bool written = false; // the entry, in this section
};

// Returns false when there is nothing to write, or memory is exhausted.
bool Rewrite(const ProfileChange &change, std::string_view before, std::string_view lineEnd,
             TextBuffer &after) noexcept {
    Rewriter rewriter(change, lineEnd, after);
    std::string_view line;
    while (NextLine(before, kWholeLines, line))
        rewriter.Take(line);
    return rewriter.Finish() && !after.Exhausted();
}

void RewriteFile(const ProfileChange &change, FileHandle file, const char *path) noexcept {
    TextBuffer before;
    const bool complete = ReadToEnd(file, before);
    INIclose(file);
    TextBuffer after;
    if (complete && Rewrite(change, before.Text(), FirstLineEnd(before.Text()), after))
        ReplaceFile(path, after.Text(), ReplaceKind::kExisting);
}

// A file that is there but could not be opened is not taken for a missing one.
void CreateFile(const ProfileChange &change, const char *path) noexcept {
    TextBuffer text;
    if (Rewrite(change, "", "\n", text))
        ReplaceFile(path, text.Text(), ReplaceKind::kNew);
}

} // namespace

int32_t WritePrivateProfileString(const char *section, const char *key, const char *value,
                                  const char *file) noexcept {
    ProfileChange change;
    if (section == nullptr || !CleanSectionName(section, change.section))
        return 0;
    if (file == nullptr || *file == '\0')
        return 0;
    change.key = key;
    change.value = value;
    char path[kLongestPath];
    const std::size_t length = std::strlen(file);
    if (length >= sizeof path)
        return 0;
    std::memcpy(path, file, length + 1);
    const FileHandle handle = OpenProfile(path, kModeRead, path, kLongestPath);
    if (handle != 0)
        RewriteFile(change, handle, path);
    else
        CreateFile(change, path);
    return 0;
}

int32_t WriteProfileString(const char *section, const char *key, const char *value) noexcept {
    return WritePrivateProfileString(section, key, value, kDefaultProfile);
}

} // namespace kowen
