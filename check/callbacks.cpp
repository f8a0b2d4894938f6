#include "callbacks.h"

#include "decode.h"
#include "device.h"
#include "lifetime.h"
#include "names.h"
#include "setups.h"

#include <algorithm>
#include <vector>

namespace kowen::check {
namespace {

/// An output and the call that works on it.
struct Work {
    Output *output;
    size_t underway; ///< calls and callbacks, this one included
};

/// Innermost last. The module calls back for the innermost one only.
struct AtWork {
    std::vector<Work> works;
    std::vector<MemoryHandle> kept; ///< a setup, or 0, for each callback of the host's
};

AtWork &TheWork() {
    return TheOne<AtWork>();
}

Output &Innermost() {
    return *TheWork().works.back().output;
}

/// Those of a call that was left by a jump are gone. All others belong to calls around this one.
const std::vector<Work> &WorksAroundThisCall() {
    std::vector<Work> &works = TheWork().works;
    while (!works.empty() && works.back().underway >= CountUnderway())
        works.pop_back();
    return works;
}

/// Calls the host as the module does, which keeps its current setup meanwhile. What leaves the
/// callback in another way than by its return leaves the setup kept.
template <typename Procedure> auto CallHost(const Callback &callback, const Procedure &procedure) {
    std::vector<MemoryHandle> &kept = TheWork().kept;
    kept.push_back(CurrentSetup());
    const auto answer = callback.Run(procedure);
    MakeCurrent(kept.back());
    kept.pop_back();
    return answer;
}

int32_t TraceStatus(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                    int32_t value2, int32_t value3, void *reply) {
    return Innermost().CallStatus(context, command, code, value1, value2, value3, reply);
}

intptr_t TraceIo(uintptr_t handleOrContext, int32_t operation, void *argument, int32_t count) {
    return Innermost().CallProcedure(handleOrContext, operation, argument, count);
}

Json DescribeIoAnswer(int32_t operation, intptr_t answer) {
    if (operation != KOWEN_IO_OPEN)
        return answer;
    return answer == 0 || answer == -1 ? std::to_string(answer) : "a handle";
}

/// There is no disk file for an empty name, so a host may refuse that one to end the export.
void CheckIoOpen(const Callback &callback, const char *name, intptr_t answer) {
    if (answer == 0 && name != nullptr && *name != 0)
        callback.Mistake(Rule::kIoOpen,
                         "it answered the open with 0: the module makes a disk file of that name, "
                         "and the writes come with handle 0");
    else if (answer == -1)
        callback.Note(Rule::kIoAnswer, "it answered the open with -1");
}

void CheckIoAnswer(const Callback &callback, int32_t operation, intptr_t answer, int32_t count) {
    const std::string number = std::to_string(answer);
    if (operation == KOWEN_IO_WRITE && answer > count)
        callback.Mistake(Rule::kWriteAnswer,
                         "of " + std::to_string(count) + " bytes it has taken " + number);
    else if (operation == KOWEN_IO_WRITE && answer < 0)
        callback.Note(Rule::kIoAnswer,
                      "it answered a write of " + std::to_string(count) + " bytes with " + number);
    else if (operation == KOWEN_IO_CLOSE && answer != 0)
        callback.Note(Rule::kIoAnswer, "it answered the close with " + number);
}

} // namespace

void Output::Begin(MemoryHandle setup, ExportRecord *record, const BlocksAtWork &blocks) {
    runs_ = true;
    setup_ = setup;
    host_ = record;
    blocks_ = blocks;
    openedWith_ = nullptr;
    TakeFromHost();
}

void Output::End() {
    runs_ = false;
    setup_ = 0;
    host_ = nullptr;
    blocks_ = {};
}

bool Output::Uses(MemoryHandle block) const {
    return block == blocks_.pixels || block == blocks_.palette ||
           (blocks_.memoryOutput && block == copy_.memoryBlock);
}

ExportRecord *Output::ForTheModule() {
    return host_ != nullptr ? &copy_ : nullptr;
}

void Output::TakeFromHost() {
    if (host_ == nullptr)
        return;
    copy_ = *host_;
    if (copy_.statusCallback != nullptr)
        copy_.statusCallback = TraceStatus;
}

void Output::GiveToHost() {
    if (host_ != nullptr)
        host_->memoryBlock = copy_.memoryBlock;
}

int32_t Output::CallStatus(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                           int32_t value2, int32_t value3, void *reply) {
    const StatusCallback procedure = host_ != nullptr ? host_->statusCallback : nullptr;
    if (procedure == nullptr)
        return 0;
    GiveToHost();
    const Callback callback("statusCallback", {{"command", StatusCommandName(command)},
                                               {"code", StatusCodeName(code)},
                                               {"value1", value1},
                                               {"percent", value2}});
    const int32_t answer = CallHost(
        callback, [&] { return procedure(context, command, code, value1, value2, value3, reply); });
    callback.Answers(answer);
    TakeFromHost();
    return answer;
}

intptr_t Output::CallProcedure(uintptr_t handleOrContext, int32_t operation, void *argument,
                               int32_t count) {
    if (operation == KOWEN_IO_OPEN)
        openedWith_ = ProcedureOf(setup_);
    const HostIoProcedure procedure = openedWith_ != nullptr ? openedWith_ : ProcedureOf(setup_);
    if (procedure == nullptr)
        return 0;
    const Callback callback("I/O procedure",
                            DescribeIo(handleOrContext, operation, argument, count));
    const intptr_t answer =
        CallHost(callback, [&] { return procedure(handleOrContext, operation, argument, count); });
    callback.Answers(DescribeIoAnswer(operation, answer));
    if (operation == KOWEN_IO_OPEN)
        CheckIoOpen(callback, static_cast<const char *>(argument), answer);
    else
        CheckIoAnswer(callback, operation, answer, count);
    TakeFromHost();
    return answer;
}

OutputAtWork::OutputAtWork(Output &output) {
    output.TakeFromHost();
    WorksAroundThisCall();
    TheWork().works.push_back({&output, CountUnderway()});
}

OutputAtWork::~OutputAtWork() {
    Innermost().GiveToHost();
    TheWork().works.pop_back();
}

bool IsInUse(MemoryHandle setup) {
    const std::vector<Work> &works = WorksAroundThisCall();
    return std::any_of(works.begin(), works.end(),
                       [setup](const Work &work) { return work.output->Setup() == setup; }) ||
           IsUsedByDevice(setup);
}

bool IsBlockInUse(MemoryHandle block) {
    const std::vector<Work> &works = WorksAroundThisCall();
    return block != 0 && std::any_of(works.begin(), works.end(), [block](const Work &work) {
               return work.output->Uses(block);
           });
}

bool DoorsAreShut() {
    return !TheWork().kept.empty();
}

bool IsKept(MemoryHandle setup) {
    const std::vector<MemoryHandle> &kept = TheWork().kept;
    return setup != 0 && std::find(kept.begin(), kept.end(), setup) != kept.end();
}

HostIoProcedure TracingProcedure() {
    return TraceIo;
}

} // namespace kowen::check
