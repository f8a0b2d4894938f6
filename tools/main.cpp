// kowen: the export filter on the command line. Parses, runs one command, reports failures.

#include "export_command.h"
#include "host/cancel.h"
#include "host/error.h"
#include "host/module.h"
#include "host/picture.h"
#include "info_command.h"
#include "setup_command.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <exception>
#include <functional>

namespace kowen::host {

std::string ModulePath(const CommonOptions &options) {
    return options.module.empty() ? DefaultModulePath() : options.module;
}

namespace {

constexpr const char *kExitNotes =
    "Exit status: 0 done, 1 failed, 2 wrong usage, 130 cancelled (Ctrl-C).";

constexpr const char *kExportNotes =
    "Sizes and resolutions:\n"
    "  Without --size and --dpi the result has the picture's pixels and its resolution, 96 dpi\n"
    "  when the file does not say one. An odd height gains one row, because the filter makes\n"
    "  heights even.\n"
    "  With --dpi N alone the picture keeps its size in inches and gets N pixels to the inch; a\n"
    "  picture that does not say a resolution keeps its pixels. N is from 32 to 400.\n"
    "  With --size WxH the picture is fitted into that box, its proportions kept. Units are in,\n"
    "  cm, mm (from 0.03125 to 22 inches) and px, which is also the one without a unit. Pixels\n"
    "  are added by repeating and taken away by dropping.\n"
    "\n"
    "With --door raster the picture is drawn on the filter's raster device, in strips, as a host\n"
    "does that draws; the file is the same as with --door bitmap, except:\n"
    "  The device is given the picture's own pixels and one resolution: of resolutions that\n"
    "  differ across and down the one across counts. Where the bitmap door is given a finer cell\n"
    "  so that no pixel is lost, the device's sizes are truncated: with --dpi N a side may be a\n"
    "  pixel short; without, a resolution nearby is taken that keeps all pixels. A --size in\n"
    "  pixels goes through the filter's inches (0.03125 to 22) and may come out a pixel, in the\n"
    "  even height two, larger or smaller.\n"
    "  The device hands out no block of memory: --output-to is file or callback.\n"
    "\n"
    "Pictures are read as they are shown: turned upright, transparency over white, the first one\n"
    "of several; colour profiles are not applied.\n"
    "\n"
    "The file appears under its name only when it is whole; a failed or cancelled export leaves\n"
    "what was there before. A second Ctrl-C ends the program without waiting for the filter.\n";

constexpr const char *kSetupNotes =
    "Settings: colour (ycc422, rgb444, grey), colour-mode (unchanged, inverted, greys-inverted,\n"
    "grey, grey-inverted), quality (1 to 100, fixed), operation (sequential, progressive),\n"
    "size (from-picture, from-page, or a box such as 6x4in), dpi (from-picture, from-page, N or\n"
    "NxM), line-mode (default).\n";

std::string Notes(const char *text) {
    return std::string(text) + "\n" + kExitNotes;
}

// An option whose value one of the host's parsers takes. `names` starts with the one to complain
// about.
CLI::Option *AddParsed(CLI::App *command, const std::string &names,
                       const std::function<void(const std::string &)> &parse,
                       const std::string &help) {
    const std::string name = names.substr(0, names.find(','));
    const auto callback = [name, parse](const std::string &text) {
        try {
            parse(text);
        } catch (const HostError &error) {
            throw CLI::ValidationError(name, error.what());
        }
    };
    return command->add_option_function<std::string>(names, callback, help);
}

int ParseDepth(const std::string &text) {
    for (const int depth : {1, 4, 8, 24, 32}) {
        if (text == std::to_string(depth))
            return depth;
    }
    throw UsageError("the depth is 1, 4, 8, 24 or 32, not '" + text + "'");
}

Door ParseDoor(const std::string &text) {
    if (text == "bitmap")
        return Door::kBitmap;
    if (text == "raster")
        return Door::kRaster;
    throw UsageError("the door is bitmap or raster, not '" + text + "'");
}

OutputRoute ParseRoute(const std::string &text) {
    if (text == "file")
        return OutputRoute::kFile;
    if (text == "memory")
        return OutputRoute::kMemory;
    if (text == "callback")
        return OutputRoute::kCallback;
    throw UsageError("the way is file, memory or callback, not '" + text + "'");
}

std::string FailureMessage(const CLI::App *, const CLI::Error &error) {
    return std::string("kowen: ") + error.what() + "\nTry 'kowen --help'.\n";
}

void AddModule(CLI::App *command, CommonOptions *common) {
    command
        ->add_option("--module", common->module,
                     "The filter to load (default: kowen.so beside this program)")
        ->type_name("PATH");
}

void AddJson(CLI::App *command, CommonOptions *common) {
    command->add_flag("--json", common->json, "Report as JSON on the standard output");
}

void AddQuiet(CLI::App *command, CommonOptions *common) {
    command->add_flag("-q,--quiet", common->quiet, "Print nothing but failures");
}

void AddColourOptions(CLI::App *command, Choices *choices) {
    AddParsed(
        command, "--quality",
        [choices](const std::string &text) { choices->quality = ParseQuality(text); },
        "1 (smallest file) to 100 (best picture; the default)")
        ->type_name("N");
    AddParsed(
        command, "--colour,--color",
        [choices](const std::string &text) { choices->colourFormat = ParseColourFormat(text); },
        "How colours are stored: " + ColourFormatNames() +
            " (default ycc422, which every program opens)")
        ->type_name("FORMAT");
    AddParsed(
        command, "--colour-mode,--color-mode",
        [choices](const std::string &text) { choices->colourMode = ParseColourMode(text); },
        "What is done to the colours: " + ColourModeNames())
        ->type_name("MODE");
    command->add_flag_callback(
        "--progressive", [choices] { choices->operation = KOWEN_OPERATION_PROGRESSIVE; },
        "A file that builds up in steps (ycc422 only)");
    command->add_flag_callback(
        "--sequential", [choices] { choices->operation = KOWEN_OPERATION_SEQUENTIAL; },
        "A file in one pass, also when the profile says otherwise");
}

void AddSizeOptions(CLI::App *command, ExportOptions *options) {
    AddParsed(
        command, "--size",
        [options](const std::string &text) {
            options->choices.size = ParseSize(text);
            options->sizeText = text;
        },
        "WxH in in, cm, mm or px, picture or page (default: picture)")
        ->type_name("SIZE");
    AddParsed(
        command, "--dpi",
        [options](const std::string &text) { options->choices.resolution = ParseResolution(text); },
        "N, NxM, picture or page (default: picture)")
        ->type_name("DPI");
    AddParsed(
        command, "--page",
        [options](const std::string &text) {
            const size_t at = text.find('@');
            const ResolutionChoice dpi =
                ParseResolution(at == std::string::npos ? "96" : text.substr(at + 1));
            options->page = MakePage(ParseExtent(text.substr(0, at)), dpi.x);
        },
        "The page that page stands for: WxH@DPI (default: the filter's, 1280x1078px@96)")
        ->type_name("PAGE");
    AddParsed(
        command, "--depth",
        [options](const std::string &text) { options->depth = ParseDepth(text); },
        "Bits per pixel to hand over: 1, 4, 8, 24 or 32 (default: the picture's own)")
        ->type_name("BITS");
}

void AddProfileOptions(CLI::App *command, ExportOptions *options) {
    command
        ->add_option("--profile", options->profile,
                     "Start from the settings in this file (default: kowen.ini in the directory "
                     "named by INIDIR or here, when there is one)")
        ->type_name("FILE");
    command
        ->add_option("--section", options->section,
                     "The profile's section (default: the one its ~Mode names)")
        ->type_name("NAME");
    command->add_flag("--save", options->save, "Keep the choices of this export in the profile");
}

void AddExport(CLI::App *app, ExportOptions *options) {
    CLI::App *command = app->add_subcommand("export", "Save a picture as a JPEG file");
    command->footer(Notes(kExportNotes));
    command->add_option("PICTURE", options->picture, "The picture; - is the standard input")
        ->required();
    command->add_option("OUT.jpg", options->output, "The file to make; - is the standard output")
        ->required();
    AddColourOptions(command, &options->choices);
    AddSizeOptions(command, options);
    AddProfileOptions(command, options);
    AddParsed(
        command, "--output-to",
        [options](const std::string &text) { options->route = ParseRoute(text); },
        "How the filter hands over the file: file (the default) writes as it goes, memory and "
        "callback collect it first")
        ->type_name("WAY");
    AddParsed(
        command, "--door", [options](const std::string &text) { options->door = ParseDoor(text); },
        "How the picture reaches the filter: bitmap (the default) hands it over, raster draws it "
        "on the raster device")
        ->type_name("DOOR");
    AddModule(command, &options->common);
    AddJson(command, &options->common);
    AddQuiet(command, &options->common);
    command->add_flag_callback(
        "--no-progress", [options] { options->progress = false; }, "No progress bar");
    command->callback([options] { RunExport(*options); });
}

void AddInfo(CLI::App *app, CommonOptions *options) {
    CLI::App *command = app->add_subcommand("info", "Show the filter's version and entries");
    command->footer(kExitNotes);
    AddModule(command, options);
    AddJson(command, options);
    command->callback([options] { RunInfo(*options); });
}

CLI::App *AddSetupCommand(CLI::App *setup, const char *name, const char *help,
                          SetupOptions *options, void (*run)(const SetupOptions &)) {
    CLI::App *command = setup->add_subcommand(name, help);
    command->footer(Notes(kSetupNotes));
    command->add_option("FILE", options->file, "The profile")->required();
    AddJson(command, &options->common);
    command->callback([options, run] { run(*options); });
    return command;
}

void AddSetup(CLI::App *app, SetupOptions *options) {
    CLI::App *setup = app->add_subcommand("setup", "Show and change the settings in a profile");
    setup->require_subcommand(1);
    setup->footer(Notes(kSetupNotes));
    CLI::App *show =
        AddSetupCommand(setup, "show", "Show a section's settings", options, RunSetupShow);
    CLI::App *set =
        AddSetupCommand(setup, "set", "Change a section's settings", options, RunSetupSet);
    AddSetupCommand(setup, "sections", "List the sections", options, RunSetupSections);
    for (CLI::App *command : {show, set})
        command
            ->add_option("--section", options->section,
                         "The section (default: the one the profile's ~Mode names)")
            ->type_name("NAME");
    set->add_option("SETTING", options->assignments, "key=value, such as quality=75")->required();
    AddModule(set, &options->common);
    AddQuiet(set, &options->common);
}

int Run(int argc, char **argv) {
    CLI::App app("Saves pictures as JPEG files through the kowen export filter.", "kowen");
    app.footer(kExitNotes);
    app.set_version_flag("--version", "kowen " KOWEN_VERSION);
    app.require_subcommand(1);
    app.failure_message(FailureMessage);
    ExportOptions exportOptions;
    CommonOptions infoOptions;
    SetupOptions setupOptions;
    AddExport(&app, &exportOptions);
    AddInfo(&app, &infoOptions);
    AddSetup(&app, &setupOptions);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError &error) {
        return app.exit(error) == 0 ? kExitOk : kExitUsage;
    } catch (const HostError &error) {
        std::fprintf(stderr, "kowen: %s\n", error.what());
        return error.Status();
    } catch (const std::bad_alloc &) {
        std::fprintf(stderr, "kowen: not enough memory\n");
        return kExitFailure;
    }
    return kExitOk;
}

} // namespace
} // namespace kowen::host

int main(int argc, char **argv) {
    kowen::host::StartPictureLibrary();
    kowen::host::InstallCancelHandlers();
    return kowen::host::Run(argc, argv);
}
