#include "faults/profile_scenario.h"

#include "platform/global_memory.h"
#include "profile/profile_file.h"
#include "setup/escapes.h"
#include "setup/setup.h"
#include "support/temp_directory.h"

#include <algorithm>
#include <filesystem>
#include <vector>

namespace kowen::test {
namespace {

constexpr char kProfileName[] = "p.ini";
constexpr char kOld[] = "; mine\n[S]\nDriver=d\nQuality=44\nX Resolution=72\n"
                        "Color Format=215\nQuality Mode=242\n[Other]\nQuality=7\n";
constexpr char kNewQuality[] = "; mine\n[S]\nDriver=d\nQuality=91\nX Resolution=72\n"
                               "Color Format=215\nQuality Mode=242\n[Other]\nQuality=7\n";
constexpr char kNewResolution[] = "; mine\n[S]\nDriver=d\nQuality=44\nX Resolution=300\n"
                                  "Color Format=215\nQuality Mode=242\n[Other]\nQuality=7\n";
constexpr char kNewBoth[] = "; mine\n[S]\nDriver=d\nQuality=91\nX Resolution=300\n"
                            "Color Format=215\nQuality Mode=242\n[Other]\nQuality=7\n";
constexpr char kCreated[] = "\n[S]\nQuality=91\n";

class ProfileScenario : public Scenario {
public:
    explicit ProfileScenario(ProfileWork what) : work(what) {}

    std::string Name() const override {
        constexpr const char *kNames[] = {"profile-read", "profile-save", "profile-create"};
        return kNames[static_cast<int>(work)];
    }

    bool Has(FaultKind kind) const override {
        if (kind == FaultKind::kDiskFull)
            return work != ProfileWork::kRead;
        return kind == FaultKind::kHeap || kind == FaultKind::kFile || kind == FaultKind::kShort;
    }

    void Begin() override {
        for (const auto &entry : std::filesystem::directory_iterator(directory.Path()))
            std::filesystem::remove(entry.path());
        if (work != ProfileWork::kCreate)
            directory.Write(kProfileName, kOld);
        setup = 0;
        answers.clear();
        if (work == ProfileWork::kSave)
            setup = CreateSetup(0, Path().c_str(), "S", nullptr);
        path = Path();
    }

    void Run() override {
        if (work == ProfileWork::kRead) {
            setup = CreateSetup(0, path.c_str(), "S", nullptr);
        } else if (work == ProfileWork::kSave) {
            Save(KOWEN_ESCAPE_SET_QUALITY, 91);
            Save(KOWEN_ESCAPE_SET_X_RESOLUTION, 300);
        } else {
            answers.push_back(WritePrivateProfileString("S", "Quality", "91", path.c_str()));
        }
    }

    std::string Judge(const FaultReport &report) override {
        std::string wrong;
        JudgeAnswers(&wrong);
        JudgeFile(&wrong);
        if (!report.removalFailed && Files() > (directory.Has(kProfileName) ? 1 : 0))
            wrong += " a temporary file is left;";
        if (work == ProfileWork::kRead && setup == 0 && report.kind != FaultKind::kHeap)
            wrong += " no setup, though there was memory;";
        if (work == ProfileWork::kRead && setup != 0)
            JudgeSettings(&wrong);
        return wrong;
    }

    std::string JudgeClean() override {
        std::string wrong;
        JudgeAnswers(&wrong);
        const std::string text = directory.Read(kProfileName);
        const char *expected = work == ProfileWork::kRead   ? kOld
                               : work == ProfileWork::kSave ? kNewBoth
                                                            : kCreated;
        if (text != expected || Files() != 1)
            wrong += " the profile is not as it should be;";
        if (work == ProfileWork::kRead) {
            const auto *record = Lock<SetupRecord>(setup);
            if (record == nullptr || record->quality != 44 || record->header.xResolution != 72 ||
                record->colorFormat != KOWEN_FORMAT_GREY)
                wrong += " the settings are not those of the profile;";
        }
        return wrong;
    }

    void End() override {
        if (setup != 0)
            DestroySetup(setup);
    }

private:
    std::string Path() const { return directory.File(kProfileName); }

    int Files() const {
        const auto files = std::filesystem::directory_iterator(directory.Path());
        return static_cast<int>(std::distance(begin(files), end(files)));
    }

    void Save(int32_t code, int32_t value) {
        answers.push_back(xEscapeSetup(setup, code, sizeof value, &value, nullptr, 1));
    }

    // A setting is taken whether it could be saved or not.
    void JudgeAnswers(std::string *wrong) const {
        const int32_t expected = work == ProfileWork::kSave ? 1 : 0;
        for (const int32_t answer : answers)
            if (answer != expected)
                *wrong += " answered " + std::to_string(answer) + ";";
    }

    // Each setting is saved or not; the rest of the user's file stays.
    void JudgeFile(std::string *wrong) const {
        const std::string text = directory.Read(kProfileName);
        std::vector<std::string> allowed = {kOld};
        if (work == ProfileWork::kSave)
            allowed = {kOld, kNewQuality, kNewResolution, kNewBoth};
        if (work == ProfileWork::kCreate)
            allowed = {kCreated};
        const bool missing = work == ProfileWork::kCreate && !directory.Has(kProfileName);
        if (!missing && std::find(allowed.begin(), allowed.end(), text) == allowed.end())
            *wrong += " the profile is damaged;";
    }

    // A profile that could not be read counts as an empty one from there on.
    void JudgeSettings(std::string *wrong) const {
        const auto &record = *Lock<SetupRecord>(setup);
        const auto either = [](int32_t value, std::initializer_list<int32_t> list) {
            return std::find(list.begin(), list.end(), value) != list.end();
        };
        if (!either(record.quality, {44, kDefaultQuality, 0}) ||
            !either(record.header.xResolution, {72, kDefaultResolution, 0}) ||
            !either(record.colorFormat,
                    {KOWEN_FORMAT_GREY, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_YCC422, 0}))
            *wrong += " a setting is neither the profile's nor a default;";
    }

    const ProfileWork work;
    TempDirectory directory;
    std::string path;
    MemoryHandle setup = 0;
    std::vector<int32_t> answers;
};

} // namespace

std::unique_ptr<Scenario> MakeProfileScenario(ProfileWork work) {
    return std::make_unique<ProfileScenario>(work);
}

} // namespace kowen::test
