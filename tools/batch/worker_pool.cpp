#include "batch/worker_pool.h"

#include "batch/worker.h"
#include "cancel.h"
#include "failure.h"

#include <algorithm>
#include <map>
#include <memory>
#include <poll.h>

namespace kowen::cli {
namespace {

constexpr int kLongestWait = 100; // milliseconds

class Pool {
public:
    explicit Pool(const PoolTask &poolTask) : task(poolTask), fractions(task.jobs->size()) {}

    void Run() {
        while (nextReport < task.jobs->size()) {
            PassOnSignal();
            Employ();
            if (Busy())
                Listen();
            Report();
        }
    }

private:
    bool Busy() const {
        return std::any_of(workers.begin(), workers.end(),
                           [](const auto &worker) { return worker->Job().has_value(); });
    }

    // A request to stop that only this process got must reach the workers.
    void PassOnSignal() {
        if (CancelSignal() == 0 || passedOn)
            return;
        passedOn = true;
        for (const auto &worker : workers)
            worker->Signal(CancelSignal());
        for (; nextJob < task.jobs->size(); ++nextJob)
            DropUnbegun(nextJob);
    }

    void Employ() {
        for (; nextJob < task.jobs->size() && CancelSignal() == 0; ++nextJob) {
            Worker *idle = Idle();
            if (idle == nullptr)
                return;
            idle->Start(nextJob);
        }
    }

    // A worker without a job; a new one while there may be more. Null when all are busy.
    Worker *Idle() {
        for (const auto &worker : workers) {
            if (!worker->Job())
                return worker.get();
        }
        if (workers.size() == static_cast<size_t>(task.workers))
            return nullptr;
        workers.push_back(std::make_unique<Worker>(task, workers));
        return workers.back().get();
    }

    void Listen() {
        std::vector<pollfd> pipes;
        for (const auto &worker : workers)
            pipes.push_back({worker->Pipe(), POLLIN, 0});
        // A signal that comes just before the wait is seen after it.
        if (poll(pipes.data(), pipes.size(), kLongestWait) < 0)
            return;
        for (size_t i = pipes.size(); i-- > 0;) {
            if (pipes[i].revents != 0)
                Hear(i);
        }
    }

    void Hear(size_t index) {
        Worker *worker = workers[index].get();
        const bool there = worker->Receive();
        JobMessage message;
        while (worker->Take(&message))
            Heard(worker, message);
        if (there)
            return;
        const std::string end = worker->HowItEnded();
        if (worker->Job())
            Drop(*worker->Job(), end, CancelSignal() != 0);
        workers.erase(workers.begin() + static_cast<ptrdiff_t>(index));
    }

    void Heard(Worker *worker, const JobMessage &message) {
        if (!worker->Job())
            return;
        const size_t job = *worker->Job();
        if (message.kind == MessageKind::kReport) {
            fractions[job] = 0;
            finished[job] = UnpackReport(message.report);
            worker->Finished();
            return;
        }
        fractions[job] = message.fraction;
        double underWay = 0;
        for (const auto &each : workers)
            underWay += each->Job() ? fractions[*each->Job()] : 0;
        task.progress((*task.jobs)[job],
                      message.kind == MessageKind::kReading ? "reading" : "exporting",
                      nextReport + finished.size(), underWay);
    }

    void DropUnbegun(size_t job) {
        Drop(job, "cancelled", true);
        finished[job].begun = false;
    }

    void Drop(size_t job, const std::string &reason, bool cancelled) {
        JobReport report;
        report.source = (*task.jobs)[job].source;
        report.target = (*task.jobs)[job].target;
        report.error = cancelled ? "cancelled" : report.source + ": " + reason;
        report.cancelled = cancelled;
        finished[job] = report;
    }

    // In the order of the jobs.
    void Report() {
        for (auto next = finished.find(nextReport); next != finished.end();
             next = finished.find(++nextReport)) {
            const JobReport report = std::move(next->second);
            finished.erase(next);
            task.report(report);
        }
    }

    const PoolTask &task;
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<double> fractions;        ///< of each job that is under way
    std::map<size_t, JobReport> finished; ///< not yet reported
    size_t nextJob = 0;
    size_t nextReport = 0;
    bool passedOn = false;
};

} // namespace

void RunPool(const PoolTask &task) {
    Pool(task).Run();
}

} // namespace kowen::cli
