#include "command_options.h"

#include "estimate_command.h"
#include "export_command.h"
#include "failure.h"
#include "help_texts.h"
#include "info_command.h"
#include "selftest_command.h"
#include "setup_command.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <functional>

namespace kowen::cli {
namespace {

constexpr int kMostWorkers = 256;

// A name that is empty is a shell's variable that was not set: the files would go elsewhere.
std::string IsName(const std::string &name) {
    return name.empty() ? "the name is empty" : "";
}

std::string Notes(const char *text) {
    return std::string(text) + "\n" + kExitNotes;
}

// An option whose value is taken by something that knows what it may be.
CLI::Option *AddTaken(CLI::App *command, const std::string &names, const char *type,
                      const std::function<void(const std::string &)> &take,
                      const std::string &help) {
    const std::string name = names.substr(0, names.find(','));
    const auto callback = [name, take](const std::string &text) {
        try {
            take(text);
        } catch (const Failure &failure) {
            throw CLI::ValidationError(name, failure.what());
        }
    };
    return command->add_option_function<std::string>(names, callback, help)->type_name(type);
}

// "10x15" may be meant for centimetres.
std::string NoteOfUnit(const std::string &text, const std::string &value) {
    constexpr int kFewPixels = 32;
    int width = 0;
    int height = 0;
    const bool pixelsUnsaid = value.ends_with("px") && std::isdigit(text.back()) != 0;
    if (!pixelsUnsaid || std::sscanf(value.c_str(), "%dx%d", &width, &height) != 2 ||
        std::min(width, height) >= kFewPixels)
        return "";
    return "--size " + text + " are pixels; on paper it is " + text + "cm or " + text + "in";
}

struct SettingOption {
    const char *names;
    const char *setting;
    const char *type;
    const char *help;
};

constexpr SettingOption kSettings[] = {
    {"--quality", "quality", "N", "45 (smallest file) to 100 (best picture; the default)"},
    {"--colour,--color", "colour", "FORMAT",
     "How colours are stored: ycc422 (the default) or grey; rgb444 with --as-filter"},
    {"--colour-mode,--color-mode", "colour-mode", "MODE",
     "What is done to the colours: unchanged, inverted, greys-inverted, grey, grey-inverted"},
    {"--max-bytes", "max-bytes", "N", "The highest quality up to --quality that fits: 300k, 2M"},
    {"--size", "size", "SIZE",
     "A box to fit into: WxH in in, cm, mm or px, a paper's name (A4, letter), picture or page"},
    {"--dpi", "dpi", "DPI", "N, NxM, picture or page (default: picture)"},
    {"--page", "page", "PAGE", "The page that page stands for: WxH@DPI"},
    {"--background", "background", "COLOUR",
     "What transparent pixels show: #rrggbb or a name (default white)"},
    {"--exif", "exif", "WHAT", "keep (the default) or drop"},
    {"--icc", "icc", "WHAT", "The colour profile: keep (the default), or drop after using it"},
    {"--comment", "comment", "WHAT", "keep or drop (the default)"}};

void AddModule(CLI::App *command, CommonOptions *common) {
    command->add_option("--module", common->module, "The filter to load")->type_name("PATH");
}

void AddJson(CLI::App *command, CommonOptions *common) {
    command->add_flag("--json", common->json, "Report as JSON on the standard output");
}

void AddQuiet(CLI::App *command, CommonOptions *common) {
    command->add_flag("-q,--quiet", common->quiet, "Print nothing but failures");
}

CLI::Option *AddFlag(CLI::App *command, const char *name, Settings *settings, const char *setting,
                     const char *value, const char *help) {
    return command->add_flag_callback(
        name, [=] { settings->Set(setting, value); }, help);
}

void AddPictureOptions(CLI::App *command, PictureOptions *options) {
    Settings *settings = &options->settings;
    for (const SettingOption &option : kSettings) {
        const std::string setting = option.setting;
        AddTaken(
            command, option.names, option.type,
            [options, setting](const std::string &text) {
                options->settings.Set(setting, text);
                if (setting == "size")
                    options->note = NoteOfUnit(text, options->settings.Get(setting));
            },
            option.help);
    }
    CLI::Option *progressive = AddFlag(command, "--progressive", settings, "progressive", "yes",
                                       "A file that builds up in steps");
    AddFlag(command, "--sequential", settings, "progressive", "no",
            "A file in one pass, also when the profile says otherwise")
        ->excludes(progressive);
    AddFlag(command, "--as-filter", settings, "as-filter", "yes",
            "Colours, sizes and the file as the filter itself has them");
    AddTaken(
        command, "--resize", "SIZE",
        [options](const std::string &text) {
            const bool shrinkOnly = options->resize.shrinkOnly;
            options->resize = ParseResize(text);
            options->resize.shrinkOnly = shrinkOnly;
        },
        "1200x, x800, 1200x800 or 50%");
    command->add_flag("--shrink-only", options->resize.shrinkOnly,
                      "Leave pictures alone that --resize would enlarge");
    command->add_flag("--accept-truncated", options->acceptTruncated,
                      "Take what there is of a cut PNG, PNM or JPEG");
    command
        ->add_option("--profile", options->profile,
                     "Start from the settings in this file (default: kowen.ini in the folder that "
                     "INIDIR names or here, when there is one)")
        ->type_name("FILE");
    command
        ->add_option("--section", options->section,
                     "The profile's section (default: the one its ~Mode names)")
        ->type_name("NAME");
}

void AddReporting(CLI::App *command, CommonOptions *common) {
    AddModule(command, common);
    AddJson(command, common);
    AddQuiet(command, common);
    command->add_flag_callback(
        "--no-progress", [common] { common->progress = false; }, "No progress bar");
}

void AddExport(CLI::App *command, ExportOptions *options, int *status) {
    command->footer(Notes(kExportNotes));
    command->add_option("PICTURE", options->names, "The pictures; - is the standard input")
        ->required()
        ->check(IsName);
    command->add_option("-o,--output", options->output, "The file to make of one picture")
        ->type_name("FILE")
        ->check(IsName);
    command->add_option("--to", options->folder, "The folder for the JPEGs")
        ->type_name("DIR")
        ->check(IsName);
    command->add_flag("-r,--recursive", options->recursive, "Take the pictures in folders");
    command
        ->add_option("-j,--jobs", options->workers,
                     "Pictures at a time (default: one for each processor)")
        ->type_name("N")
        ->check(CLI::Range(1, kMostWorkers));
    command->add_flag("--force", options->force, "Replace JPEGs of the same names");
    command->add_flag("--update", options->update,
                      "Replace JPEGs that are older than their pictures, pass over the others");
    AddPictureOptions(command, &options->picture);
    command->add_flag("--save", options->save, "Keep the settings of this export in the profile");
    AddReporting(command, &options->common);
    command->callback([options, status] { *status = RunExport(options); });
}

void AddEstimate(CLI::App *command, EstimateOptions *options) {
    command->footer(Notes(kEstimateNotes));
    command->add_option("PICTURE", options->name, "The picture")->required()->check(IsName);
    command->add_option("--compare", options->compare, "Make a picture of the differences")
        ->type_name("FILE.png");
    AddPictureOptions(command, &options->picture);
    AddReporting(command, &options->common);
    command->callback([options] { RunEstimate(options); });
}

void AddInfo(CLI::App *command, CommonOptions *options) {
    command->footer(kExitNotes);
    AddModule(command, options);
    AddJson(command, options);
    command->callback([options] { RunInfo(*options); });
}

void AddSelftest(CLI::App *command, CommonOptions *options, int *status) {
    command->footer(Notes(kSelftestNotes));
    AddModule(command, options);
    AddJson(command, options);
    command->callback([options, status] { *status = RunSelftest(*options); });
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

void AddSetup(CLI::App *setup, SetupOptions *options) {
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
    set->add_option("SETTING", options->assignments, "name=value, such as quality=75")->required();
    AddQuiet(set, &options->common);
}

} // namespace

void AddCommands(CLI::App *app, const std::vector<std::string> &words, AllOptions *options,
                 int *status) {
    // The list of commands has them all; their options are made for those that are named.
    const auto add = [&](const char *name, const char *help, const auto &addOptions) {
        CLI::App *command = app->add_subcommand(name, help);
        if (std::find(words.begin(), words.end(), name) != words.end())
            addOptions(command);
    };
    add("export", "Save pictures as JPEG files",
        [&](CLI::App *command) { AddExport(command, &options->exporting, status); });
    add("estimate", "Show what each quality costs and how it looks",
        [&](CLI::App *command) { AddEstimate(command, &options->estimate); });
    add("setup", "Show and change the settings in a profile",
        [&](CLI::App *command) { AddSetup(command, &options->setup); });
    add("info", "Show the filter's version and the formats that are read",
        [&](CLI::App *command) { AddInfo(command, &options->info); });
    add("selftest", "Check that the filter makes every byte right here",
        [&](CLI::App *command) { AddSelftest(command, &options->selftest, status); });
    // Only for the list of commands: its words are rearranged before they are parsed.
    app->add_subcommand("help", "Explain a command: kowen help export");
}

} // namespace kowen::cli
