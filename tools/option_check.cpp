#include "option_check.h"

#include "failure.h"
#include "terminal_text.h"

namespace kowen::cli {

void CheckOptions(const PictureOptions &options) {
    const Settings &settings = options.settings;
    if (options.resize.shrinkOnly && !options.resize.Wanted())
        throw UsageFailure("--shrink-only goes with --resize and does nothing without it");
    if (!settings.Get("page").empty() && settings.Get("size") != "page" &&
        settings.Get("dpi") != "page")
        throw UsageFailure("--page goes with --size page or --dpi page and does nothing without "
                           "them");
    settings.Check();
}

void PrintNote(const CommonOptions &options, const std::string &note) {
    if (!options.quiet && !note.empty())
        PrintError("note: " + note);
}

} // namespace kowen::cli
