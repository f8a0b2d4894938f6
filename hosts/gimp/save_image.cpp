#include "save_image.h"

#include "shown_image.h"

namespace kowen::gimp {
namespace {

constexpr double kStep = 0.01; // each report waits for GIMP's answer

// GIMP's own Cancel ends the plug-in's process, so nothing is to be asked for here.
int32_t Report(void *context, double fraction) {
    auto *told = static_cast<double *>(context);
    if (fraction >= *told + kStep || fraction == 1) {
        *told = fraction;
        gimp_progress_update(fraction);
    }
    return 0;
}

// GIMP's progress bar, as long as this lives.
class ShownProgress {
public:
    explicit ShownProgress(const std::string &path) {
        gchar *name = g_filename_display_basename(path.c_str());
        gimp_progress_init_printf("Exporting '%s'", name);
        g_free(name);
    }
    ~ShownProgress() { gimp_progress_end(); }
    ShownProgress(const ShownProgress &) = delete;
    ShownProgress &operator=(const ShownProgress &) = delete;
};

} // namespace

int32_t SaveImage(KowenModule *module, gint32 image, const Choices &choices,
                  const std::string &path, KowenResult *result) {
    const Settings settings = SettingsOf(choices, result);
    if (!settings)
        return result->code;
    const ShownProgress bar(path);
    ShownImage shown(image);
    if (shown.Picture().width == 0)
        return FailWith(KOWEN_HOST_ERR_PICTURE, path + ": " + kNothingShown, result);
    double told = 0;
    KowenProgress progress = {sizeof progress, Report, &told};
    KowenOutput output = {};
    output.size = sizeof output;
    output.replace = KOWEN_REPLACE_JPEG;
    output.path = path.c_str();
    return KowenSave(module, &shown.Picture(), settings.get(), &output, &progress, result);
}

} // namespace kowen::gimp
