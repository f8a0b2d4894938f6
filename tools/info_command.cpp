#include "info_command.h"

#include "failure.h"
#include "json_line.h"
#include "kernel_note.h"
#include "readers/magick_library.h"
#include "readers/picture_format.h"
#include "report.h"

#include <algorithm>
#include <optional>

namespace kowen::cli {
namespace {

using Json = nlohmann::ordered_json;

struct Formats {
    std::vector<std::string> here;   ///< read row by row
    std::vector<std::string> magick; ///< read by GraphicsMagick
    std::string problem;             ///< why there are none of those
};

Formats FindFormats() {
    Formats formats = {{"PNG", "PNM", "PAM", "JPEG"}, {}, ""};
    try {
        const MagickLibrary &library = LoadMagickLibrary();
        for (const std::string &name : KnownFormats()) {
            const auto &here = formats.here;
            if (std::find(here.begin(), here.end(), name) == here.end() && library.reads(name))
                formats.magick.push_back(name);
        }
    } catch (const Failure &failure) {
        formats.problem = failure.what();
    }
    return formats;
}

std::string Listed(const std::vector<std::string> &names) {
    std::string text;
    for (const std::string &name : names)
        text += " " + name;
    return text;
}

void PrintText(const Module &module, const KernelChoice &kernels, const Formats &formats) {
    PrintLine("module  " + module.Path());
    PrintLine("version " + module.Version());
    PrintLine("host    " + std::string(KowenHostVersion()));
    if (!kernels.used.empty())
        PrintLine(
            "kernels " + kernels.used +
            (kernels.named ? ", named by KOWEN_KERNELS; of " : ", the processor's best; of ") +
            ListOf(kernels));
    PrintLine("reads  " + Listed(formats.here));
    if (formats.problem.empty())
        PrintLine("       " + Listed(formats.magick) + " (by GraphicsMagick)");
    else
        PrintLine("        nothing else: " + formats.problem);
}

void PrintJson(const Module &module, const KernelChoice &kernels, const Formats &formats) {
    Json object;
    object["module"] = module.Path();
    object["version"] = module.Version();
    object["host"] = KowenHostVersion();
    object["kernels"] = kernels.used;
    object["kernelsFrom"] =
        kernels.used.empty() ? "" : (kernels.named ? "KOWEN_KERNELS" : "processor");
    object["variants"] = kernels.variants;
    object["formats"] = formats.here;
    object["magickFormats"] = formats.magick;
    PrintLine(JsonLine(object));
}

} // namespace

void RunInfo(const CommonOptions &options) {
    const Module module(options.module);
    NoteKernels(options, module);
    const KernelChoice kernels = KernelsOf(module);
    const Formats formats = FindFormats();
    if (options.json)
        PrintJson(module, kernels, formats);
    else
        PrintText(module, kernels, formats);
}

} // namespace kowen::cli
