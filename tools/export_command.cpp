#include "export_command.h"

#include "batch/plan.h"
#include "batch/worker_pool.h"
#include "cancel.h"
#include "failure.h"
#include "profile_choice.h"
#include "progress.h"
#include "report.h"

#include <algorithm>
#include <cstdio>
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
        Note(plan.notes);
        if (plan.jobs.size() == 1)
            RunOne();
        else
            RunMany();
        progress.Clear();
        if (plan.jobs.size() != 1)
            PrintCount();
        if (cancelled)
            throw Cancelled();
        return failures == 0 ? kExitOk : wrongUsage ? kExitUsage : kExitFailure;
    }

private:
    void RunOne() {
        const Job &job = plan.jobs[0];
        progress.Show(job.source, "reading", 0, 0);
        const Module module(options.common.module);
        Report(RunJob(job, options.picture, module, [&](const char *phase, double fraction) {
            progress.Show(job.source, phase, 0, fraction);
        }));
    }

    void RunMany() {
        PoolTask task;
        task.jobs = &plan.jobs;
        task.options = &options.picture;
        task.common = &options.common;
        task.workers = WorkersFor(plan, options);
        task.report = [this](const JobReport &report) { Report(report); };
        task.progress = [this](const Job &job, const char *phase, size_t done, double fraction) {
            progress.Show(job.source, phase, done, fraction);
        };
        RunPool(task);
    }

    void Report(const JobReport &report) {
        cancelled = cancelled || report.cancelled;
        wrongUsage = wrongUsage || report.wrongUsage;
        failures += report.Done() ? 0 : 1;
        // One sentence tells that everything was cancelled.
        if (report.cancelled && !options.common.json)
            return;
        progress.Clear();
        PrintReport(report, options.common);
    }

    void Note(const std::vector<std::string> &notes) const {
        if (options.common.quiet)
            return;
        for (const std::string &note : notes)
            std::fprintf(stderr, "kowen: note: %s\n", note.c_str());
    }

    // The objects of --json and the failures of --quiet stand alone on their streams.
    void PrintCount() const {
        const std::string line = std::to_string(plan.jobs.size()) +
                                 " pictures: " + std::to_string(plan.jobs.size() - failures) +
                                 " exported, " + std::to_string(failures) + " failed";
        if (options.common.json)
            std::fprintf(stderr, "kowen: %s\n", line.c_str());
        else if (!options.common.quiet)
            PrintLine(line);
    }

    const ExportOptions &options;
    Plan plan;
    Progress progress;
    size_t failures = 0;
    bool cancelled = false;
    bool wrongUsage = false;
};

} // namespace

int RunExport(ExportOptions *options) {
    const Settings chosen = options->picture.settings.Copy();
    const ProfileChoice profile =
        TakeProfile(&options->picture, options->save ? ProfileUse::kSave : ProfileUse::kRead);
    const Plan plan = MakePlan(*options);
    CheckOutput(plan, *options);
    if (!options->common.quiet && profile.found)
        std::fprintf(stderr, "kowen: note: settings from %s, section %s\n", profile.path.c_str(),
                     profile.section.c_str());
    const int status = Export(*options, plan).Run();
    if (options->save && status == kExitOk)
        chosen.SaveProfile(profile.path, options->picture.section);
    return status;
}

} // namespace kowen::cli
