#include "export_command.h"

#include "host/cancel.h"
#include "host/error.h"
#include "host/exporter.h"
#include "host/jpeg_check.h"
#include "host/output_file.h"
#include "host/profile_file.h"
#include "host/raster_door.h"
#include "host/setup_values.h"
#include "host/standard_output.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstdio>
#include <functional>
#include <optional>
#include <unistd.h>

namespace kowen::host {
namespace {

using Clock = std::chrono::steady_clock;

// The profile that the settings come from and, with --save, go to.
struct Source {
    ProfileFile file;
    std::string section;
    bool used = false; ///< there is a profile to read or to write
    Settings settings;
};

Source FindSettings(const ExportOptions &options, const FilterModule &module) {
    Source source;
    const bool named = !options.profile.empty();
    source.file = LoadProfile(named ? options.profile : DefaultProfileName(module.Path()));
    if (!source.file.exists) {
        if (!named && (options.save || !options.section.empty()))
            throw UsageError("--save and --section need a profile: name it with --profile");
        if (named && !options.save)
            FailWith(source.file.path, ENOENT);
        source.used = named;
        source.section = options.section.empty() ? kDefaultSection : options.section;
        return source;
    }
    source.used = true;
    source.section = ChooseSection(source.file, options.section);
    if (!options.save || source.file.text.Has(source.section))
        source.settings = LoadSettings(source.file, source.section);
    return source;
}

class Export {
public:
    explicit Export(const ExportOptions &exportOptions)
        : options(exportOptions), module(ModulePath(options.common)),
          source(FindSettings(options, module)), settings(Apply(source.settings, options.choices)),
          output(options.output), progress(options.progress && !options.common.quiet) {
        CheckUsable(settings);
        if (options.choices.size && options.choices.size->box.pixels)
            box = options.choices.size->box;
    }

    void Run() {
        const Clock::time_point start = Clock::now();
        Warn(Notes(settings));
        progress.Show("reading", 0);
        Picture picture(options.picture, options.depth);
        Warn(picture.Warnings());
        const SourceSize size = {picture.Width(), picture.Height(), picture.XDpi(), picture.YDpi()};
        const auto planFor = options.door == Door::kRaster ? PlanDevicePicture : PlanCell;
        plan = planFor(settings, size, box ? &*box : nullptr);
        depth = picture.Depth();
        Produce(&picture);
        if (options.save)
            Save();
        progress.Clear();
        milliseconds = std::chrono::duration<double, std::milli>(Clock::now() - start).count();
        Report();
    }

private:
    using StoreFiller = std::function<void(ByteStore *)>;

    // The setup that the module exports with. What has no escape reaches it in the profile.
    void Produce(Picture *picture) {
        ProfileText text;
        Settings start = source.settings;
        start.operation = settings.operation;
        start.lineMode = settings.lineMode;
        WriteSettings(start, PrivateProfile::kSection, &text);
        const PrivateProfile profile(text);
        const Setup setup(module, profile.Path(), PrivateProfile::kSection);
        SetChoices(setup, options.choices, false);
        SetPlan(setup, plan);
        std::optional<StandardOutputGuard> guard(std::in_place);
        const Bitmap bitmap(module, picture, ColourModeToApply());
        Exporter exporter(module, setup, &progress);
        const StoreFiller fill = [&](ByteStore *store) {
            if (options.door == Door::kRaster)
                RasterDoor(module, setup, &progress, output.Name())
                    .ToStore(bitmap, plan.resolution, options.page, store);
            else
                exporter.ToStore(bitmap, plan, options.page, store);
        };
        if (options.route == OutputRoute::kMemory)
            Deliver(exporter.ToMemory(bitmap, plan, options.page), &guard);
        else if (options.route == OutputRoute::kFile && output.Replaceable())
            ThroughTemporary(fill, &guard);
        else
            ThroughMemory(fill, &guard);
    }

    // The device changes the colours itself, but not those of 32-bit pixels.
    int32_t ColourModeToApply() const {
        return options.door == Door::kRaster && depth != 32 ? KOWEN_COLOR_UNCHANGED
                                                            : settings.colourMode;
    }

    void ThroughTemporary(const StoreFiller &fill, std::optional<StandardOutputGuard> *guard) {
        const std::unique_ptr<TemporaryFile> temporary = output.MakeTemporary();
        FileStore store(temporary->File().Get());
        fill(&store);
        guard->reset();
        if (const int failed = store.Finish(); failed != 0)
            FailWith(output.Name(), failed);
        // What counts is what the file holds now.
        if (lseek(temporary->File().Get(), 0, SEEK_SET) != 0)
            FailWith(output.Name(), errno);
        Check(ReadDescriptor(temporary->File().Get(), output.Name()));
        output.Replace(temporary.get());
    }

    void ThroughMemory(const StoreFiller &fill, std::optional<StandardOutputGuard> *guard) {
        MemoryStore store;
        fill(&store);
        if (const int failed = store.Finish(); failed != 0)
            FailWith(output.Name(), failed);
        Deliver(store.Bytes(), guard);
    }

    void Deliver(const std::vector<uint8_t> &file, std::optional<StandardOutputGuard> *guard) {
        guard->reset();
        Check(file);
        output.Deliver(file.data(), file.size());
    }

    // The module does not tell whether an export succeeded, so the file has to.
    void Check(const std::vector<uint8_t> &file) {
        facts = CheckJpeg(file);
        bytes = file.size();
        if (!facts.problem.empty())
            throw HostError(output.Name() +
                            ": the export failed; the file is not whole: " + facts.problem);
    }

    void Save() {
        ProfileFile file = source.file;
        if (!file.exists)
            file.text.Set(key::kModeSection, key::kMode, source.section);
        KeepChoices(module, options.choices, source.section, &file.text);
        SaveProfile(file);
    }

    void Warn(const std::vector<std::string> &texts) {
        if (options.common.quiet)
            return;
        progress.Clear();
        for (const std::string &text : texts)
            std::fprintf(stderr, "kowen: note: %s\n", text.c_str());
    }

    void Report() const {
        if (options.common.json)
            PrintLine(Json().dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
        else if (!options.common.quiet)
            PrintSummary();
    }

    nlohmann::ordered_json Json() const {
        nlohmann::ordered_json list;
        for (const NamedSetting &setting : ListSettings(settings))
            list[setting.key] = setting.value;
        if (box)
            list["size"] = options.sizeText;
        nlohmann::ordered_json report;
        report["picture"] = options.picture;
        report["output"] = options.output;
        report["bytes"] = bytes;
        report["width"] = facts.width;
        report["height"] = facts.height;
        report["dpi"] = {facts.xDpi, facts.yDpi};
        report["depth"] = depth;
        report["door"] = options.door == Door::kRaster ? "raster" : "bitmap";
        report["settings"] = list;
        report["milliseconds"] = milliseconds;
        return report;
    }

    void PrintSummary() const {
        char text[160];
        std::snprintf(text, sizeof text, ": %d x %d pixels, %d x %d dpi, %zu bytes, %.0f ms",
                      facts.width, facts.height, facts.xDpi, facts.yDpi, bytes, milliseconds);
        const std::string line = output.Name() + text;
        if (options.output == "-")
            std::fprintf(stderr, "%s\n", line.c_str());
        else
            PrintLine(line);
    }

    const ExportOptions &options;
    FilterModule module;
    Source source;
    Settings settings;
    OutputFile output;
    Progress progress;
    std::optional<Extent> box;
    CellPlan plan;
    JpegFacts facts;
    size_t bytes = 0;
    int depth = 0;
    double milliseconds = 0;
};

} // namespace

void RunExport(const ExportOptions &options) {
    if (options.common.json && options.output == "-")
        throw UsageError("--json reports on the standard output, which the picture goes to");
    if (options.door == Door::kRaster && options.route == OutputRoute::kMemory)
        throw UsageError("the raster door keeps its block of memory to itself; use --output-to "
                         "file or callback");
    Export(options).Run();
}

} // namespace kowen::host
