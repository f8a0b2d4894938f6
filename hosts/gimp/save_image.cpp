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

void BeginProgress(const std::string &path) {
    gchar *name = g_filename_display_basename(path.c_str());
    gimp_progress_init_printf("Exporting '%s'", name);
    g_free(name);
}

} // namespace

int32_t SaveImage(KowenModule *module, gint32 image, const Choices &choices,
                  const std::string &path, KowenResult *result) {
    const Settings settings = SettingsOf(choices, result);
    if (!settings)
        return result->code;
    BeginProgress(path);
    ShownImage shown(image);
    if (shown.Picture().width == 0)
        return FailWith(KOWEN_HOST_ERR_PICTURE,
                        path + ": the image has no visible layer, so there is nothing to export",
                        result);
    double told = 0;
    KowenProgress progress = {sizeof progress, Report, &told};
    KowenOutput output = {};
    output.size = sizeof output;
    output.replace = KOWEN_REPLACE_JPEG;
    output.path = path.c_str();
    const int32_t code =
        KowenSave(module, &shown.Picture(), settings.get(), &output, &progress, result);
    gimp_progress_end();
    return code;
}

} // namespace kowen::gimp
