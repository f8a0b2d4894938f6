#include "batch/plan.h"

#include "batch/folder_walk.h"
#include "batch/up_to_date.h"
#include "failure.h"
#include "readers/source.h"

#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace kowen::cli {
namespace {

namespace fs = std::filesystem;

using FileId = std::pair<dev_t, ino_t>;

std::string LowerCase(std::string text) {
    for (char &c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

bool Identify(const std::string &path, FileId *id) {
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0)
        return false;
    *id = {status.st_dev, status.st_ino};
    return true;
}

bool SameFile(const std::string &a, const std::string &b) {
    FileId first;
    FileId second;
    return Identify(a, &first) && Identify(b, &second) && first == second;
}

bool IsFolder(const std::string &path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

void MakeFolder(const std::string &folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error || !IsFolder(folder))
        throw Failure("--to " + folder + ": " +
                      (error ? error.message() : "there is a file of that name"));
}

// The picture's name with the ending of a JPEG.
std::string JpegName(const std::string &source) {
    return fs::path(source).filename().replace_extension(".jpg").string();
}

std::string WithoutEnding(const std::string &path) {
    return fs::path(path).replace_extension().string();
}

std::set<std::string> NamesOfOthers(const std::vector<FoundPicture> &pictures) {
    std::set<std::string> names;
    for (const FoundPicture &picture : pictures) {
        if (!picture.jpeg)
            names.insert(WithoutEnding(picture.path));
    }
    return names;
}

// What is written to directly and keeps no name: a device, a pipe, an open file.
bool IsStream(const std::string &name) {
    struct stat status = {};
    return name == "-" || name.starts_with("/dev/") || name.starts_with("/proc/") ||
           (stat(name.c_str(), &status) == 0 && !S_ISREG(status.st_mode));
}

// Reports go elsewhere then.
bool IsStandardOutput(const std::string &name) {
    return name == "-" || name == "/dev/stdout" || name == "/dev/fd/1" || name == "/proc/self/fd/1";
}

// A path with all links followed; as it stands where that cannot be done.
std::string WhereItLies(const std::string &path) {
    std::error_code error;
    const fs::path whole = fs::weakly_canonical(fs::path(path), error);
    return error ? path : whole.string();
}

class Planner {
public:
    explicit Planner(const ExportOptions &exportOptions) : options(exportOptions) {}

    Plan Make() {
        CheckNames();
        if (!options.output.empty())
            Add(options.names[0], options.output, true);
        else if (TwoNames())
            AddTwoNames();
        else
            for (const std::string &name : options.names)
                AddName(name);
        RefuseClashes();
        std::erase_if(plan.jobs, [this](const Job &job) { return PassedOver(job); });
        MakeFolders();
        return std::move(plan);
    }

private:
    void CheckNames() const {
        if (!options.output.empty() && !options.folder.empty())
            throw UsageFailure("-o names a file and --to a folder; give one of them");
        if (!options.output.empty() && options.names.size() != 1)
            throw UsageFailure("-o takes one picture; --to DIR takes many");
        if (options.force && options.update)
            throw UsageFailure("--force replaces every JPEG and --update the older ones; give one "
                               "of them");
        if (!options.output.empty())
            CheckOutput();
        for (const std::string &name : options.names) {
            if (name == "-" && options.output.empty() && !TwoNames())
                throw UsageFailure("a picture from the standard input has no name to make one of; "
                                   "name the JPEG with -o, or write it to the standard output "
                                   "with -o -");
        }
    }

    void CheckOutput() const {
        if (IsFolder(options.output))
            throw UsageFailure("-o " + options.output + " is a folder; --to takes folders");
        if (IsFolder(options.names[0]))
            throw UsageFailure("-o names the file of one picture, and " + options.names[0] +
                               " is a folder; --to DIR takes the pictures in it");
        if (!EndsAsJpeg(options.output) && !IsStream(options.output) && !options.force)
            throw UsageFailure("-o " + options.output +
                               ": the file would be a JPEG all the same; "
                               "name it " +
                               JpegName(options.output) +
                               ", or give --force if that name is meant");
    }

    // What --update leaves is no job.
    bool Replaces() const { return options.force || options.update; }

    bool TwoNames() const {
        return options.names.size() == 2 && options.output.empty() && options.folder.empty() &&
               !options.recursive &&
               (options.names[1] == "-" ||
                (EndsAsJpeg(options.names[1]) && options.names[1] != options.names[0]));
    }

    // Two JPEGs can also be two pictures, as *.jpg gives them.
    void AddTwoNames() {
        const std::string &source = options.names[0];
        const std::string &target = options.names[1];
        std::error_code ignored;
        const bool unclear = Replaces() && EndsAsJpeg(source) && fs::exists(target, ignored);
        if (unclear)
            throw UsageFailure("two JPEGs may be a picture and its output, or two pictures: to "
                               "replace " +
                               target + ", name it with -o");
        Add(source, target, Replaces());
    }

    void Add(const std::string &source, const std::string &name, bool replaceJpeg) {
        const std::string target = IsStandardOutput(name) ? "-" : name;
        plan.jobs.push_back({source, target, replaceJpeg, ""});
        const std::string folder = fs::path(target).parent_path().string();
        if (target == "-" || folder.empty() || IsFolder(folder))
            return;
        std::error_code ignored;
        plan.jobs.back().refusal =
            target + ": " +
            (fs::exists(folder, ignored) ? folder + " is no folder"
                                         : "there is no folder " + folder +
                                               "; make it first, or use --to, which makes folders");
    }

    void AddName(const std::string &name) {
        if (!IsFolder(name)) {
            const fs::path folder =
                options.folder.empty() ? fs::path(name).parent_path() : fs::path(options.folder);
            plan.jobs.push_back({name, (folder / JpegName(name)).string(), Replaces(), ""});
        } else if (options.recursive) {
            AddFolder(name);
        } else {
            Refuse(name, "is a folder; -r exports the pictures in it");
        }
    }

    void Refuse(const std::string &source, const std::string &reason) {
        plan.jobs.push_back({source, "", false, source + ": " + reason});
    }

    // Without --to a JPEG is its own output; with it, one that lies beside a picture of its name is
    // what an earlier export made of that.
    void AddFolder(const std::string &folder) {
        const FolderContents found = SearchFolder(folder, options.folder);
        const std::set<std::string> others = NamesOfOthers(found.pictures);
        size_t jpegs = 0;
        size_t made = 0;
        for (const FoundPicture &picture : found.pictures) {
            if (picture.jpeg && options.folder.empty())
                ++jpegs;
            else if (picture.jpeg && others.contains(WithoutEnding(picture.path)))
                ++made;
            else
                AddFound(picture);
        }
        for (const std::string &problem : found.problems)
            plan.jobs.push_back({folder, "", false, problem});
        Note(folder, jpegs, "JPEG", "; with --to they are exported as well");
        Note(folder, made, "JPEG", " beside pictures of their name");
        Note(folder, found.others, "file", " of other kinds");
    }

    void AddFound(const FoundPicture &picture) {
        fs::path target = fs::path(picture.path).parent_path();
        if (!options.folder.empty())
            target = (fs::path(options.folder) / picture.below).lexically_normal();
        plan.jobs.push_back(
            {picture.path, (target / JpegName(picture.path)).string(), Replaces(), ""});
    }

    void Note(const std::string &folder, size_t count, const std::string &kind,
              const std::string &which) {
        if (count != 0)
            plan.notes.push_back(folder + ": passed over " + std::to_string(count) + " " + kind +
                                 (count == 1 ? "" : "s") + which);
    }

    void RefuseClashes() {
        std::map<FileId, std::string> sources;
        std::map<std::string, std::string> targets;
        for (const Job &job : plan.jobs) {
            FileId id;
            if (Identify(job.source, &id))
                sources.emplace(id, job.source);
        }
        for (Job &job : plan.jobs) {
            if (!job.refusal.empty() || job.target == "-")
                continue;
            job.refusal = ClashWithPicture(sources, job);
            if (!job.refusal.empty())
                continue;
            const auto [first, fresh] = targets.emplace(WhereItLies(job.target), job.source);
            if (!fresh && SameFile(first->second, job.source))
                job.target.clear();
            else if (!fresh)
                job.refusal = job.source + ": " + job.target + " would also be made from " +
                              first->second + "; export one of them by itself, with -o";
        }
    }

    static std::string ClashWithPicture(const std::map<FileId, std::string> &sources,
                                        const Job &job) {
        FileId id;
        if (!Identify(job.target, &id))
            return "";
        const auto found = sources.find(id);
        if (found == sources.end())
            return "";
        if (found->second == job.source)
            return job.source + ": the JPEG would replace its own picture; name another file with "
                                "-o or a folder with --to";
        return job.source + ": " + job.target +
               " is a picture of this export itself and stays; "
               "name another file with -o or a folder with --to";
    }

    // Named before, or made before.
    bool PassedOver(const Job &job) {
        if (!job.refusal.empty() || job.target == "-")
            return false;
        if (job.target.empty()) {
            plan.notes.push_back(job.source + ": named twice, exported once");
            return true;
        }
        const bool made = options.update && IsUpToDate(job.target, job.source);
        plan.upToDate += made ? 1 : 0;
        return made;
    }

    void MakeFolders() {
        if (options.folder.empty())
            return;
        std::set<std::string> folders;
        for (const Job &job : plan.jobs) {
            if (job.refusal.empty())
                folders.insert(fs::path(job.target).parent_path().string());
        }
        for (const std::string &folder : folders)
            MakeFolder(folder);
    }

    const ExportOptions &options;
    Plan plan;
};

} // namespace

bool EndsAsJpeg(const std::string &name) {
    const std::string lower = LowerCase(name);
    return lower.ends_with(".jpg") || lower.ends_with(".jpeg") || lower.ends_with(".jpe") ||
           lower.ends_with(".jfif");
}

Plan MakePlan(const ExportOptions &options) {
    return Planner(options).Make();
}

} // namespace kowen::cli
