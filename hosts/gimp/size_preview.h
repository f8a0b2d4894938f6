// How large the JPEG would be, found while the user chooses.
#pragma once

#include "choices.h"
#include "shown_image.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

namespace kowen::gimp {

/// Copies the image's pixels strip by strip while nothing else is to be done, then makes the JPEG
/// on a thread of its own and counts its bytes. The window stays alive meanwhile.
///
/// Belongs to the main thread, as all of GIMP does; the worker knows nothing but the copied pixels.
class SizePreview {
public:
    /// Called on the main thread after each estimate that was not overtaken by other choices; with
    /// the reason where there can be none.
    using Listener = std::function<void(const KowenResult &)>;

    SizePreview(KowenModule *module, gint32 image, Listener listener);
    ~SizePreview();
    SizePreview(const SizePreview &) = delete;
    SizePreview &operator=(const SizePreview &) = delete;

    /// Estimates these choices once they have rested for a moment.
    void Want(const Choices &choices);

    const ShownImage &Image() const { return image; }

private:
    static gboolean LoadStrip(gpointer self);
    static gboolean Rested(gpointer self);
    static gboolean Finished(gpointer self);
    static int32_t Report(void *self, double fraction);
    bool AllocatePixels();
    void GiveUp(int32_t code, const char *why);
    void StartWhenReady();
    void StartWorker();
    void Work();

    KowenModule *module;
    Listener listener;
    ShownImage image;
    std::vector<uint8_t> pixels;
    uint32_t loadedRows = 0;
    guint loadSource = 0, restSource = 0, finishSource = 0;
    std::optional<KowenResult> givenUp; // why no choices can be estimated

    Choices wanted;
    bool pending = false; // `wanted` is to be estimated

    // Of the estimate that runs. The thread has settings and result to itself until it has
    // finished.
    std::thread worker;
    std::atomic<bool> overtaken{false};
    Settings settings;
    KowenResult result = EmptyResult();
};

} // namespace kowen::gimp
