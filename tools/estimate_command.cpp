#include "estimate_command.h"

#include "batch/picture_rows.h"
#include "cancel.h"
#include "compare/comparison.h"
#include "compare/like_encoder.h"
#include "failure.h"
#include "json_line.h"
#include "kernel_note.h"
#include "option_check.h"
#include "profile_choice.h"
#include "progress.h"
#include "report.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace kowen::cli {
namespace {

using Clock = std::chrono::steady_clock;
using Json = nlohmann::ordered_json;

constexpr int kQualities[] = {45, 50, 60, 70, 75, 80, 85, 90, 95, 100};

struct Encoding {
    size_t bytes = 0;
    double psnr = 0;
    double milliseconds = 0;
};

struct EstimateRow {
    int quality = 0;
    Encoding kowen;
    Encoding libjpeg;
};

int32_t OnProgress(void *, double) {
    return CancelSignal();
}

double Since(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

// The picture in the filter's memory, to be exported again and again.
class Prepared {
public:
    Prepared(const Module &module, const PlainPicture &picture, const PictureOptions &options) {
        KowenPicture record = RecordOf(picture);
        KeepPixels(options, &record);
        const KowenProgress heard = {sizeof heard, OnProgress, nullptr};
        KowenResult result = NewResult();
        handle.reset(
            KowenPrepare(module.Handle(), &record, options.settings.Handle(), &heard, &result));
        StopIfCancelled();
        if (!handle)
            ThrowResult(result);
    }

    // The JPEG; empty when no quality fits a limit of bytes.
    std::vector<uint8_t> Export(const Settings &settings, int *quality = nullptr) {
        KowenOutput output = {};
        output.size = sizeof output;
        const KowenProgress heard = {sizeof heard, OnProgress, nullptr};
        KowenResult result = NewResult();
        KowenExportPrepared(handle.get(), settings.Handle(), &output, &heard, &result);
        StopIfCancelled();
        if (result.code == KOWEN_HOST_ERR_LIMIT && quality != nullptr)
            return {};
        if (result.code != KOWEN_HOST_OK)
            ThrowResult(result);
        if (quality != nullptr)
            *quality = result.quality;
        const auto *bytes = static_cast<const uint8_t *>(output.memory);
        std::vector<uint8_t> jpeg(bytes, bytes + output.memorySize);
        KowenFree(output.memory);
        return jpeg;
    }

private:
    struct Free {
        void operator()(KowenPrepared *prepared) const { KowenFreePrepared(prepared); }
    };
    std::unique_ptr<KowenPrepared, Free> handle;
};

class Estimate {
public:
    explicit Estimate(EstimateOptions *estimateOptions)
        : options(*estimateOptions), progress(options.common.progress && !options.common.quiet),
          module(options.common.module) {
        NoteKernels(options.common, module);
        progress.Show(options.name, "reading", 0, 0);
        ReadOptions reading;
        reading.acceptTruncated = options.picture.acceptTruncated;
        picture = LoadPlainPicture(options.name, options.picture, reading);
    }

    void Run() {
        Prepared prepared(module, picture, options.picture);
        std::vector<EstimateRow> rows;
        for (size_t i = 0; i < std::size(kQualities); ++i) {
            progress.Show(options.name, "estimating", 0,
                          static_cast<double>(i) / std::size(kQualities));
            rows.push_back(Measure(&prepared, kQualities[i]));
        }
        FindFitting(&prepared, &rows);
        progress.Clear();
        if (!options.compare.empty())
            WriteComparison(options.compare, picture,
                            DecodeJpeg(prepared.Export(options.picture.settings)));
        if (options.common.json)
            PrintJson(rows);
        else
            PrintTable(rows);
    }

private:
    // The quality that --max-bytes leads to gets its row as well.
    void FindFitting(Prepared *prepared, std::vector<EstimateRow> *rows) {
        if (options.picture.settings.Get("max-bytes") == "0")
            return;
        limited = true;
        if (prepared->Export(options.picture.settings, &fitting).empty())
            return;
        const auto place = std::find_if(rows->begin(), rows->end(), [this](const EstimateRow &row) {
            return row.quality >= fitting;
        });
        if (place == rows->end() || place->quality != fitting)
            rows->insert(place, Measure(prepared, fitting));
    }

    EstimateRow Measure(Prepared *prepared, int quality) {
        StopIfCancelled();
        Settings settings = options.picture.settings.Copy();
        settings.Set("quality", std::to_string(quality));
        settings.Set("max-bytes", "0");
        Clock::time_point start = Clock::now();
        const std::vector<uint8_t> jpeg = prepared->Export(settings);
        EstimateRow row;
        row.quality = quality;
        row.kowen = {jpeg.size(), 0, Since(start)};
        const PlainPicture decoded = DecodeJpeg(jpeg);
        changed = changed || decoded.width != picture.width || decoded.height < picture.height;
        row.kowen.psnr = Psnr(picture, decoded);
        start = Clock::now();
        const std::vector<uint8_t> other = EncodeLike(picture, jpeg);
        row.libjpeg = {other.size(), 0, Since(start)};
        row.libjpeg.psnr = Psnr(picture, DecodeJpeg(other));
        return row;
    }

    static std::string Decibels(double psnr) {
        char text[32];
        std::snprintf(text, sizeof text, "%.2f", psnr);
        return std::isfinite(psnr) ? text : "-";
    }

    void PrintTable(const std::vector<EstimateRow> &rows) const {
        PrintLine(NameOf(options.name) + ": " + std::to_string(picture.width) + " x " +
                  std::to_string(picture.height) + " pixels");
        PrintLine("quality      bytes   PSNR dB     ms   libjpeg bytes   PSNR dB     ms");
        for (const EstimateRow &row : rows) {
            char text[160];
            std::snprintf(text, sizeof text, "%7d %10zu %9s %6.0f %15zu %9s %6.0f", row.quality,
                          row.kowen.bytes, Decibels(row.kowen.psnr).c_str(), row.kowen.milliseconds,
                          row.libjpeg.bytes, Decibels(row.libjpeg.psnr).c_str(),
                          row.libjpeg.milliseconds);
            PrintLine(text);
        }
        if (changed)
            PrintLine(
                "the settings change the size: kowen's JPEGs have other pixels than the picture "
                "and libjpeg's, so their PSNR cannot be told; --resize changes both");
        if (limited)
            PrintLine((fitting == 0 ? "no quality" : "quality " + std::to_string(fitting)) +
                      (fitting == 0 ? " fits " : " is the highest that fits ") +
                      options.picture.settings.Get("max-bytes") + " bytes");
    }

    static Json ObjectOf(const Encoding &encoding) {
        Json object;
        object["bytes"] = encoding.bytes;
        object["psnr"] = std::isfinite(encoding.psnr) ? Json(Rounded(encoding.psnr, 2)) : Json();
        object["milliseconds"] = Rounded(encoding.milliseconds, 1);
        return object;
    }

    void PrintJson(const std::vector<EstimateRow> &rows) const {
        Json object;
        object["picture"] = options.name;
        object["width"] = picture.width;
        object["height"] = picture.height;
        if (limited)
            object["fittingQuality"] = fitting == 0 ? Json() : Json(fitting);
        for (const EstimateRow &row : rows) {
            Json entry = ObjectOf(row.kowen);
            entry["quality"] = row.quality;
            entry["libjpeg"] = ObjectOf(row.libjpeg);
            object["qualities"].push_back(entry);
        }
        PrintLine(JsonLine(object));
    }

    const EstimateOptions &options;
    Progress progress;
    Module module;
    PlainPicture picture;
    bool limited = false; ///< by --max-bytes
    int fitting = 0;      ///< the quality then; 0 = none
    bool changed = false; ///< the JPEGs have another size than the picture
};

} // namespace

void RunEstimate(EstimateOptions *options) {
    const ProfileChoice profile = TakeProfile(&options->picture, ProfileUse::kRead);
    CheckOptions(options->picture);
    if (!options->compare.empty())
        CheckComparisonName(options->compare);
    if (profile.found)
        PrintNote(options->common,
                  "settings from " + profile.path + ", section " + profile.section);
    PrintNote(options->common, options->picture.note);
    try {
        Estimate(options).Run();
    } catch (const ReaderGone &) {
        throw;
    } catch (const Failure &failure) {
        throw Failure(NamingPicture(NameOf(options->name), failure.what()), failure.Status());
    }
}

} // namespace kowen::cli
