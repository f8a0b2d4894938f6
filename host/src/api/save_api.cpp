#include "api/handles.h"
#include "api/outcome.h"
#include "base/failure.h"
#include "base/process_lock.h"

#include <cstdlib>
#include <memory>

using namespace kowen::host;

namespace {

ExportSettings ValuesOf(const KowenSettings *settings) {
    return settings != nullptr ? settings->named.Values() : ExportSettings();
}

const FilterModule &FilterOf(const KowenModule *module) {
    if (module == nullptr)
        throw BadArgument("there is no module");
    return module->filter;
}

void NoteProfile(const KowenSettings *settings, Outcome *outcome) {
    if (settings == nullptr || settings->named.ProfilePath().empty())
        return;
    outcome->profilePath = settings->named.ProfilePath();
    outcome->profileSection = settings->named.ProfileSection();
    outcome->Note(KOWEN_NOTE_PROFILE_USED, "settings of the profile " + outcome->profilePath +
                                               ", section " + outcome->profileSection);
}

} // namespace

void KowenSetRowError(const char *message) {
    Call(nullptr, [&](Outcome *) { SetRowMessage(message); });
}

void KowenFree(void *memory) {
    std::free(memory);
}

int32_t KowenSave(KowenModule *module, const KowenPicture *picture, const KowenSettings *settings,
                  KowenOutput *output, const KowenProgress *progress, KowenResult *result) {
    return Call(result, [&](Outcome *outcome) {
        const ProcessLock lock;
        Progress shown(progress);
        const ExportSettings values = ValuesOf(settings);
        const FilterModule &filter = FilterOf(module);
        Target target(output);
        NoteProfile(settings, outcome);
        const PreparedPicture prepared = Prepare(filter, GivenPicture(picture), values, &shown);
        Export(prepared, values, true, &target, &shown, outcome);
    });
}

KowenPrepared *KowenPrepare(KowenModule *module, const KowenPicture *picture,
                            const KowenSettings *settings, const KowenProgress *progress,
                            KowenResult *result) {
    std::unique_ptr<KowenPrepared> prepared;
    Call(result, [&](Outcome *) {
        const ProcessLock lock;
        Progress shown(progress);
        prepared.reset(new KowenPrepared{
            Prepare(FilterOf(module), GivenPicture(picture), ValuesOf(settings), &shown)});
    });
    return prepared.release();
}

int32_t KowenExportPrepared(KowenPrepared *prepared, const KowenSettings *settings,
                            KowenOutput *output, const KowenProgress *progress,
                            KowenResult *result) {
    return Call(result, [&](Outcome *outcome) {
        if (prepared == nullptr)
            throw BadArgument("there is no prepared picture");
        const ProcessLock lock;
        Progress shown(progress);
        Target target(output);
        NoteProfile(settings, outcome);
        Export(prepared->picture, WithPixelSettings(ValuesOf(settings), prepared->picture.settings),
               false, &target, &shown, outcome);
    });
}

void KowenFreePrepared(KowenPrepared *prepared) {
    if (prepared == nullptr)
        return;
    Call(nullptr, [&](Outcome *) {
        const ProcessLock lock;
        delete prepared;
    });
}
