#include "size_preview.h"

#include <algorithm>
#include <new>
#include <system_error>

namespace kowen::gimp {
namespace {

constexpr guint kRestMilliseconds = 150;

int32_t Discard(void *, const void *, size_t) {
    return 0;
}

} // namespace

SizePreview::SizePreview(KowenModule *filter, gint32 shown, Listener told)
    : module(filter), listener(std::move(told)), image(shown) {
    if (image.Picture().width == 0)
        GiveUp(KOWEN_HOST_ERR_PICTURE, kNothingShown);
    else if (AllocatePixels())
        loadSource = g_idle_add(LoadStrip, this);
}

SizePreview::~SizePreview() {
    overtaken = true;
    if (worker.joinable())
        worker.join();
    for (const guint source : {loadSource, restSource, finishSource})
        if (source != 0)
            g_source_remove(source);
}

bool SizePreview::AllocatePixels() {
    try {
        pixels.resize(image.RowBytes() * image.Picture().height);
        return true;
    } catch (const std::bad_alloc &) {
        GiveUp(KOWEN_HOST_ERR_MEMORY, "not enough memory to tell the size beforehand");
        return false;
    }
}

void SizePreview::GiveUp(int32_t code, const char *why) {
    std::vector<uint8_t>().swap(pixels);
    givenUp = EmptyResult();
    FailWith(code, why, &*givenUp);
}

gboolean SizePreview::LoadStrip(gpointer self) {
    auto *preview = static_cast<SizePreview *>(self);
    const uint32_t height = preview->image.Picture().height;
    const uint32_t first = preview->loadedRows;
    const uint32_t count = std::min(preview->image.StripRows(), height - first);
    try {
        preview->image.FetchRows(first, count,
                                 preview->pixels.data() + preview->image.RowBytes() * first);
        preview->loadedRows += count;
    } catch (const std::bad_alloc &) {
        preview->GiveUp(KOWEN_HOST_ERR_MEMORY, "not enough memory to tell the size beforehand");
    }
    if (!preview->givenUp && preview->loadedRows < height)
        return G_SOURCE_CONTINUE;
    preview->loadSource = 0;
    preview->StartWhenReady();
    return G_SOURCE_REMOVE;
}

void SizePreview::Want(const Choices &choices) {
    wanted = choices;
    overtaken = true;
    if (restSource != 0)
        g_source_remove(restSource);
    restSource = g_timeout_add(kRestMilliseconds, Rested, this);
}

gboolean SizePreview::Rested(gpointer self) {
    auto *preview = static_cast<SizePreview *>(self);
    preview->restSource = 0;
    preview->pending = true;
    preview->StartWhenReady();
    return G_SOURCE_REMOVE;
}

void SizePreview::StartWhenReady() {
    const bool loaded = loadedRows > 0 && loadedRows == image.Picture().height;
    if (pending && givenUp) {
        pending = false;
        listener(*givenUp);
        return;
    }
    if (!pending || !loaded || worker.joinable())
        return;
    pending = false;
    overtaken = false;
    result = EmptyResult();
    settings = SettingsOf(wanted, &result);
    if (settings)
        StartWorker();
    else
        listener(result);
}

void SizePreview::StartWorker() {
    try {
        worker = std::thread(&SizePreview::Work, this);
    } catch (const std::system_error &) {
        Work(); // no more threads: the window waits
    }
}

void SizePreview::Work() {
    KowenPicture picture = image.Picture();
    picture.readRow = nullptr;
    picture.pixels = pixels.data();
    KowenOutput output = {};
    output.size = sizeof output;
    output.write = Discard;
    const KowenProgress progress = {sizeof progress, Report, this};
    KowenSave(module, &picture, settings.get(), &output, &progress, &result);
    finishSource = g_idle_add(Finished, this);
}

int32_t SizePreview::Report(void *self, double) {
    return static_cast<SizePreview *>(self)->overtaken;
}

gboolean SizePreview::Finished(gpointer self) {
    auto *preview = static_cast<SizePreview *>(self);
    if (preview->worker.joinable())
        preview->worker.join();
    preview->finishSource = 0;
    if (!preview->overtaken)
        preview->listener(preview->result);
    preview->StartWhenReady();
    return G_SOURCE_REMOVE;
}

} // namespace kowen::gimp
