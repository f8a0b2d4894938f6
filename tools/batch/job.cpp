#include "batch/job.h"

#include "batch/picture_rows.h"
#include "cancel.h"
#include "failure.h"
#include "resize/resized_source.h"

#include <cerrno>
#include <chrono>
#include <new>
#include <sstream>
#include <unistd.h>

namespace kowen::cli {
namespace {

using Clock = std::chrono::steady_clock;

int32_t WriteToStandardOutput(void *, const void *bytes, size_t count) {
    const auto *at = static_cast<const char *>(bytes);
    while (count != 0) {
        const ssize_t written = write(STDOUT_FILENO, at, count);
        if (written < 0 && (errno != EINTR || CancelSignal() != 0))
            return errno;
        if (written < 0)
            continue;
        at += written;
        count -= static_cast<size_t>(written);
    }
    return 0;
}

int32_t OnProgress(void *context, double fraction) {
    (*static_cast<const JobProgress *>(context))("exporting", fraction);
    return CancelSignal();
}

void OnReading(void *context, double fraction) {
    (*static_cast<const JobProgress *>(context))("reading", fraction);
}

void AddLines(const char *text, std::vector<std::string> *lines) {
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (!line.empty())
            lines->push_back(line);
    }
}

// A file of the output's name is in the way.
std::string ExistsMessage(const Job &job, const KowenResult &result) {
    if (job.replaceJpeg)
        return std::string(result.message) +
               " and stays; delete it, or choose another name for the JPEG";
    return job.target + ": there is a file of that name already; a JPEG is replaced with -o, "
                        "--force or --update, anything else never";
}

// The pixels that a resolution adds are seldom what was meant.
void ExplainEnlargement(std::vector<std::string> *notes) {
    for (std::string &note : *notes) {
        if (note.starts_with("enlarged: "))
            note += " for the resolution; --resize 100% keeps the pixels and only states it";
    }
}

class JobRun {
public:
    JobRun(const Job &toDo, const PictureOptions &pictureOptions, const JobProgress &told)
        : job(toDo), options(pictureOptions), progress(told) {
        report.source = job.source;
        report.target = job.target;
    }

    JobReport Run(const Module &module) {
        const Clock::time_point start = Clock::now();
        try {
            if (!job.refusal.empty())
                throw Failure(job.refusal);
            Export(module);
        } catch (const ReaderGone &) {
            throw;
        } catch (const Failure &failure) {
            // What ends with the caller's wish, such as the other end of a pipe, is no failure.
            report.cancelled = CancelSignal() != 0;
            report.error = report.cancelled ? Cancelled().what()
                                            : NamingPicture(NameOf(job.source), failure.what());
        } catch (const std::bad_alloc &) {
            report.error = NameOf(job.source) + ": not enough memory";
        }
        const std::chrono::duration<double, std::milli> time = Clock::now() - start;
        report.milliseconds = time.count();
        return report;
    }

private:
    void Export(const Module &module) {
        ReadOptions reading;
        reading.acceptTruncated = options.acceptTruncated;
        reading.progress = OnReading;
        reading.progressContext = const_cast<JobProgress *>(&progress);
        const std::unique_ptr<Source> source =
            OpenResized(job.source, options.resize, options.settings, reading);
        PictureRows rows(source.get(), options);
        Save(module, &rows);
        for (const std::string &warning : source->Warnings())
            report.notes.push_back(warning);
    }

    void Save(const Module &module, PictureRows *rows) {
        KowenOutput output = {};
        output.size = sizeof output;
        output.replace = job.replaceJpeg ? KOWEN_REPLACE_JPEG : KOWEN_REPLACE_NEVER;
        if (job.target == "-")
            output.write = WriteToStandardOutput;
        else
            output.path = job.target.c_str();
        const KowenProgress shown = {sizeof shown, OnProgress,
                                     const_cast<JobProgress *>(&progress)};
        KowenResult result = NewResult();
        const OutputOpen open;
        KowenSave(module.Handle(), rows->Picture(), options.settings.Handle(), &output, &shown,
                  &result);
        rows->Rethrow();
        StopUnlessSaved(result);
        Take(result);
    }

    void StopUnlessSaved(const KowenResult &result) const {
        if (result.code == KOWEN_HOST_OK)
            return;
        StopIfCancelled();
        if (result.code == KOWEN_HOST_ERR_EXISTS)
            throw Failure(ExistsMessage(job, result));
        if (job.target == "-" && result.systemError == EPIPE)
            throw ReaderGone();
        if (job.target == "-" && result.code == KOWEN_HOST_ERR_OUTPUT)
            FailWith("standard output", result.systemError);
        if (result.code == KOWEN_HOST_ERR_LIMIT)
            throw Failure(std::string(result.message) + " with --resize");
        ThrowResult(result, SettingWords::kOptions);
    }

    void Take(const KowenResult &result) {
        report.bytes = result.bytes;
        report.width = result.width;
        report.height = result.height;
        report.xDpi = result.xDpi;
        report.yDpi = result.yDpi;
        report.grey = result.components == 1;
        report.progressive = result.scans > 1;
        report.quality = result.quality;
        report.clippedPercent = result.clippedPercent;
        report.paler = (result.notes & KOWEN_NOTE_COLOURS_CLIPPED) != 0;
        AddLines(result.notesText, &report.notes);
        const bool forResolution =
            options.settings.Get("size") == "picture" && options.settings.Get("dpi") != "picture";
        if ((result.notes & KOWEN_NOTE_ENLARGED) != 0 && forResolution)
            ExplainEnlargement(&report.notes);
        // It is the same for all pictures of an export and told once for them.
        if ((result.notes & KOWEN_NOTE_PROFILE_USED) != 0)
            std::erase_if(report.notes, [](const std::string &note) {
                return note.starts_with("settings of the profile ");
            });
    }

    const Job &job;
    const PictureOptions &options;
    const JobProgress &progress;
    JobReport report;
};

} // namespace

JobReport RunJob(const Job &job, const PictureOptions &options, const Module &module,
                 const JobProgress &progress) {
    return JobRun(job, options, progress).Run(module);
}

} // namespace kowen::cli
