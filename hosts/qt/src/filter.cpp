#include "filter.h"

#include "handed_picture.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <new>

namespace {

// The module, opened with the first picture and kept until the process ends. What could not be
// opened is tried again with the next picture. Null with the reason in the result.
KowenModule *OpenedModule(KowenResult &result) {
    static std::mutex mutex;
    static KowenModule *module = nullptr;
    const std::lock_guard<std::mutex> lock(mutex);
    if (module == nullptr)
        module = KowenOpenModule(nullptr, &result);
    return module;
}

struct FreeSettings {
    void operator()(KowenSettings *settings) const { KowenFreeSettings(settings); }
};
using Settings = std::unique_ptr<KowenSettings, FreeSettings>;

// Throws std::bad_alloc. Null with the reason in the result.
Settings MakeSettings(const JpegOptions &options, KowenResult &result) {
    Settings settings(KowenNewSettings());
    if (settings == nullptr)
        throw std::bad_alloc();
    const auto set = [&](const char *name, const QByteArray &value) {
        return KowenSet(settings.get(), name, value.constData(), &result) == KOWEN_HOST_OK;
    };
    const int quality = options.quality < 0 ? KOWEN_HOST_MAX_QUALITY
                                            : std::clamp(options.quality, KOWEN_HOST_MIN_QUALITY,
                                                         KOWEN_HOST_MAX_QUALITY);
    if (set("quality", QByteArray::number(quality)) &&
        set("progressive", options.progressive ? "yes" : "no") &&
        set("comment", options.comment.isEmpty() ? "drop" : "keep"))
        return settings;
    return nullptr;
}

} // namespace

QString Jpeg::Encode(const QImage &image, const JpegOptions &options) {
    KowenResult result{};
    result.size = sizeof result;
    output.size = sizeof output;
    if (KowenModule *module = OpenedModule(result)) {
        if (const Settings settings = MakeSettings(options, result)) {
            const HandedPicture picture(image, options.comment);
            KowenSave(module, picture.Record(), settings.get(), &output, nullptr, &result);
        }
    }
    return result.code == KOWEN_HOST_OK ? QString() : QString::fromUtf8(result.message);
}
