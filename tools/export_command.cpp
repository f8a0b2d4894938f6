#include "export_command.h"

#include "batch/plan.h"
#include "batch/worker_pool.h"
#include "cancel.h"
#include "failure.h"
#include "kernel_note.h"
#include "option_check.h"
#include "profile_choice.h"
#include "progress.h"
#include "readers/source.h"
#include "report.h"
#include "terminal_text.h"

#include <algorithm>
#include <cstdio>
#include <map>
#include <thread>
#include <unistd.h>

namespace kowen::cli {
namespace {

bool GoesToStandardOutput(const Plan &plan) {
    return plan.jobs.size() == 1 && plan.jobs[0].target == "-";
}

void CheckOutput(const Plan &plan, const ExportOptions &options) {
    if (!GoesToStandardOutput(plan))
        return;
    if (options.common.json)
        throw UsageFailure("--json reports on the standard output, which the picture goes to");
    if (isatty(STDOUT_FILENO) != 0)
        throw UsageFailure("a JPEG is not for the terminal; send it on with > or |, or name a "
                           "file with -o");
}

int WorkersFor(const Plan &plan, const ExportOptions &options) {
    const unsigned cores = std::max(1U, std::thread::hardware_concurrency());
    const size_t wanted = options.workers > 0 ? static_cast<size_t>(options.workers) : cores;
    return static_cast<int>(std::min(wanted, plan.jobs.size()));
}

class Export {
public:
    Export(const ExportOptions &exportOptions, Plan exportPlan)
        : options(exportOptions), plan(std::move(exportPlan)),
          progress(options.common.progress && !options.common.quiet) {
        progress.SetPictures(plan.jobs.size());
    }

    int Run() {
        for (const std::string &note : plan.notes)
            PrintNote(options.common, note);
        if (plan.jobs.empty() && plan.upToDate == 0)
            throw Failure("there are no pictures in " + Names());
        if (plan.jobs.size() == 1)
            RunOne();
        else if (!plan.jobs.empty())
            RunMany();
        progress.Clear();
        PrintSharedNotes();
        if (plan.jobs.size() != 1 || plan.upToDate != 0)
            PrintCount();
        PrintNote(options.common, PalerNote());
        if (cancelled)
            throw Cancelled();
        return failures == 0 ? kExitOk : kExitFailure;
    }

private:
    void RunOne() {
        const Job &job = plan.jobs[0];
        const Module module(options.common.module);
        NoteKernels(options.common, module);
        progress.Show(job.source, "reading", 0, 0);
        Report(RunJob(job, options.picture, module, [&](const char *phase, double fraction) {
            progress.Show(job.source, phase, 0, fraction);
        }));
    }

    // A filter that cannot be loaded is told once.
    void RunMany() {
        const Module module(options.common.module);
        NoteKernels(options.common, module);
        PoolTask task;
        task.jobs = &plan.jobs;
        task.options = &options.picture;
        task.common = &options.common;
        task.workers = WorkersFor(plan, options);
        task.report = [this](const JobReport &report) { Report(report); };
        task.progress = [this](const Job &job, const char *phase, size_t finished,
                               double fraction) {
            progress.Show(job.source, phase, finished, fraction);
        };
        RunPool(task);
    }

    std::string Names() const {
        std::string list;
        for (const std::string &name : options.names)
            list += (list.empty() ? "" : ", ") + name;
        return list;
    }

    void Report(JobReport report) {
        cancelled = cancelled || report.cancelled;
        done += report.Done() ? 1 : 0;
        stopped += report.cancelled && report.begun ? 1 : 0;
        unbegun += report.begun ? 0 : 1;
        failures += report.Done() || report.cancelled ? 0 : 1;
        CountPaler(&report);
        KeepNotes(&report);
        // One sentence tells that everything was cancelled.
        if (report.cancelled && !options.common.json)
            return;
        progress.Clear();
        PrintReport(report, options.common);
    }

    // Of many pictures some have such colours nearly always: one line tells of all.
    void CountPaler(JobReport *report) {
        if (!report->paler || plan.jobs.size() == 1 || options.common.json)
            return;
        ++paler;
        std::erase_if(report->notes,
                      [](const std::string &note) { return note.starts_with("colours of "); });
    }

    // Of many pictures the same is often said of each: it is said of all together at the end.
    void KeepNotes(JobReport *report) {
        if (plan.jobs.size() == 1 || options.common.json)
            return;
        for (const std::string &note : report->notes)
            notes[note].push_back(NameOf(report->source));
        report->notes.clear();
    }

    void PrintSharedNotes() const {
        for (const auto &[note, pictures] : notes)
            PrintNote(options.common, pictures.size() == 1 ? pictures[0] + ": " + note
                                                           : note + " (" + Several(pictures) + ")");
    }

    static std::string Several(const std::vector<std::string> &pictures) {
        constexpr size_t kNamed = 3;
        std::string list = std::to_string(pictures.size()) + " pictures: " + pictures[0];
        for (size_t i = 1; i < std::min(kNamed, pictures.size()); ++i)
            list += ", " + pictures[i];
        return list + (pictures.size() > kNamed ? ", ..." : "");
    }

    std::string PalerNote() const {
        if (paler == 0)
            return "";
        return "colours of " + std::to_string(paler) + (paler == 1 ? " picture" : " pictures") +
               " come out paler here and there: they are more vivid than the filter can give";
    }

    // The objects of --json stand alone on their stream.
    void PrintCount() const {
        if (options.common.quiet)
            return;
        const size_t all = plan.jobs.size() + plan.upToDate;
        std::string line = std::to_string(all) + (all == 1 ? " picture: " : " pictures: ") +
                           std::to_string(done) + " exported, " + std::to_string(failures) +
                           " failed";
        if (plan.upToDate != 0)
            line += ", " + std::to_string(plan.upToDate) + " up to date";
        if (cancelled)
            line += ", " + std::to_string(stopped) + " stopped, " + std::to_string(unbegun) +
                    " not begun";
        if (options.common.json)
            PrintError(line);
        else
            PrintLine(line);
    }

    const ExportOptions &options;
    Plan plan;
    Progress progress;
    size_t done = 0;
    size_t failures = 0;
    size_t stopped = 0; ///< by a request to, while they were under way
    size_t unbegun = 0; ///< because of it
    size_t paler = 0;
    std::map<std::string, std::vector<std::string>>
        notes; ///< of several pictures, with their names
    bool cancelled = false;
};

} // namespace

int RunExport(ExportOptions *options) {
    const Settings chosen = options->picture.settings.Copy();
    const ProfileChoice profile =
        TakeProfile(&options->picture, options->save ? ProfileUse::kSave : ProfileUse::kRead);
    CheckOptions(options->picture);
    if (options->save)
        chosen.CheckSaveProfile(profile.path, options->picture.section);
    const Plan plan = MakePlan(*options);
    CheckOutput(plan, *options);
    if (profile.found)
        PrintNote(options->common,
                  "settings from " + profile.path + ", section " + profile.section);
    PrintNote(options->common, options->picture.note);
    const int status = Export(*options, plan).Run();
    if (options->save && status == kExitOk)
        chosen.SaveProfile(profile.path, options->picture.section);
    return status;
}

} // namespace kowen::cli
