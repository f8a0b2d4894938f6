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
        : change_(wanted), lineEnd_(end), out_(target) {}

    void Take(std::string_view line) {
        if (!inSection_) {
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
    bool Finish() {
        if (inSection_)
            EndSection();
        if (found_)
            return true;
        if (!change_.key || !change_.value)
            return false;
        Copy("");
        AppendHeader();
        AppendEntry();
        return true;
    }

private:
    bool IsSection(std::string_view line) const {
        return SameName(Clean(line, kKeepNothing).Text(), change_.section.Text());
    }

    void BeginSection(std::string_view line) {
        inSection_ = true;
        found_ = true;
        written_ = false;
        if (!change_.key)
            return;
        // A header is held back until something of its section is kept.
        if (!change_.value)
            heldHeader_ = line;
        else
            Copy(line);
    }

    void TakeEntry(std::string_view line) {
        if (!change_.key)
            return;
        const bool matches = HasKey(line, change_.key);
        if (!change_.value)
            CopyUnless(matches, line);
        else if (matches)
            AppendEntry();
        else
            Copy(line);
    }

    void CopyUnless(bool deleted, std::string_view line) {
        if (deleted)
            return;
        if (heldHeader_.data())
            Copy(heldHeader_);
        heldHeader_ = {};
        Copy(line);
    }

    void EndSection() {
        if (change_.key && change_.value && !written_)
            AppendEntry();
        inSection_ = false;
    }

    void Copy(std::string_view line) {
        out_.Append(line);
        out_.Append(lineEnd_);
    }

    void AppendHeader() {
        out_.Append("[");
        out_.Append(change_.section.Text());
        Copy("]");
    }

    void AppendEntry() {
        out_.Append(change_.key);
        out_.Append("=");
        Copy(change_.value);
        written_ = true;
    }

    const ProfileChange &change_;
    std::string_view lineEnd_;
    TextBuffer &out_;
    std::string_view heldHeader_;
    bool inSection_ = false;
    bool found_ = false;   // a section of that name
    bool written_ = false; // the entry, in this section
};

// Returns false when there is nothing to write, or memory is exhausted.
bool Rewrite(const ProfileChange &change, std::string_view before, std::string_view lineEnd,
             TextBuffer &after) {
    Rewriter rewriter(change, lineEnd, after);
    std::string_view line;
    while (NextLine(before, kWholeLines, line))
        rewriter.Take(line);
    return rewriter.Finish() && !after.Exhausted();
}

void RewriteFile(const ProfileChange &change, FileHandle file, const char *path) {
    TextBuffer before;
    const bool complete = ReadToEnd(file, before);
    INIclose(file);
    TextBuffer after;
    if (complete && Rewrite(change, before.Text(), FirstLineEnd(before.Text()), after))
        ReplaceFile(path, after.Text(), ReplaceKind::kExisting);
}

// A file that is there but could not be opened is not taken for a missing one.
void CreateFile(const ProfileChange &change, const char *path) {
    TextBuffer text;
    if (Rewrite(change, "", "\n", text))
        ReplaceFile(path, text.Text(), ReplaceKind::kNew);
}

} // namespace

int32_t WritePrivateProfileString(const char *section, const char *key, const char *value,
                                  const char *file) noexcept {
    ProfileChange change;
    if (!section || !CleanSectionName(section, change.section))
        return 0;
    if (!file || *file == '\0')
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
