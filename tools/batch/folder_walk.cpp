#include "batch/folder_walk.h"

#include "cancel.h"
#include "failure.h"
#include "readers/byte_input.h"
#include "readers/picture_format.h"

#include <algorithm>

namespace kowen::cli {
namespace {

namespace fs = std::filesystem;

class Search {
public:
    Search(const std::string &folder, const std::string &passOver)
        : top(folder), except(passOver) {}

    FolderContents Run() {
        Enter(top);
        return std::move(contents);
    }

private:
    void Enter(const fs::path &folder) {
        StopIfCancelled();
        std::error_code error;
        std::vector<fs::path> names;
        fs::directory_iterator at(folder, error);
        for (; !error && at != fs::directory_iterator(); at.increment(error))
            names.push_back(at->path());
        if (error)
            contents.problems.push_back(folder.string() + ": " + error.message());
        std::sort(names.begin(), names.end());
        for (const fs::path &name : names) {
            if (!name.filename().string().starts_with('.'))
                Take(name);
        }
    }

    void Take(const fs::path &path) {
        std::error_code ignored;
        if (fs::is_directory(path, ignored)) {
            if (!fs::is_symlink(path, ignored) && !IsExcepted(path))
                Enter(path);
            return;
        }
        if (fs::is_regular_file(path, ignored))
            TakeFile(path);
    }

    bool IsExcepted(const fs::path &path) const {
        std::error_code ignored;
        return !except.empty() && fs::equivalent(path, except, ignored);
    }

    void TakeFile(const fs::path &path) {
        try {
            ByteInput input(path.string());
            const std::string format = PictureFormat(input.LookAhead(), path.string());
            if (format.empty())
                ++contents.others;
            else
                contents.pictures.push_back(
                    {path.string(), path.parent_path().lexically_relative(top), format == "JPEG"});
        } catch (const Cancelled &) {
            throw;
        } catch (const Failure &failure) {
            contents.problems.emplace_back(failure.what());
        }
    }

    fs::path top;
    fs::path except;
    FolderContents contents;
};

} // namespace

FolderContents SearchFolder(const std::string &folder, const std::string &except) {
    return Search(folder, except).Run();
}

} // namespace kowen::cli
