#include "callbacks.h"

#include "device.h"
#include "lifetime.h"
#include "names.h"
#include "setups.h"

#include <algorithm>
#include <vector>

namespace kowen::check {
namespace {

/// Innermost last. The module calls back for the innermost one only.
struct AtWork {
    std::vector<Output *> outputs;
};

std::vector<Output *> &OutputsAtWork() {
    return TheOne<AtWork>().outputs;
}

int32_t TraceStatus(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                    int32_t value2, int32_t value3, void *reply) {
    return OutputsAtWork().back()->CallStatus(context, command, code, value1, value2, value3,
                                              reply);
}

intptr_t TraceIo(uintptr_t handleOrContext, int32_t operation, void *argument, int32_t count) {
    return OutputsAtWork().back()->CallProcedure(handleOrContext, operation, argument, count);
}

bool TakesName(int32_t operation) {
    return operation == KOWEN_IO_OPEN || operation == KOWEN_IO_EXISTS ||
           operation == KOWEN_IO_DELETE;
}

Json DescribeIo(uintptr_t handleOrContext, int32_t operation, void *argument, int32_t count) {
    Json described = {{"operation", IoOperationName(operation)}};
    if (TakesName(operation))
        described["name"] = std::string(static_cast<const char *>(argument));
    else
        described["handle"] = handleOrContext != 0 ? "the host's" : "0";
    described["count"] = count;
    return described;
}

} // namespace

void Output::Begin(MemoryHandle setup, ExportRecord *record) {
    runs_ = true;
    setup_ = setup;
    host_ = record;
    openedWith_ = nullptr;
    TakeFromHost();
}

void Output::End() {
    runs_ = false;
    setup_ = 0;
    host_ = nullptr;
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
                                               {"code", code},
                                               {"value1", value1},
                                               {"percent", value2}});
    const int32_t answer = callback.Run(
        [&] { return procedure(context, command, code, value1, value2, value3, reply); });
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
        callback.Run([&] { return procedure(handleOrContext, operation, argument, count); });
    callback.Answers(operation == KOWEN_IO_OPEN ? Json(answer != 0 ? "a handle" : "0")
                                                : Json(answer));
    if (operation == KOWEN_IO_WRITE && answer > count)
        callback.Mistake(Rule::kWriteAnswer, "of " + std::to_string(count) +
                                                 " bytes it has taken " + std::to_string(answer));
    TakeFromHost();
    return answer;
}

OutputAtWork::OutputAtWork(Output &output) {
    output.TakeFromHost();
    OutputsAtWork().push_back(&output);
}

OutputAtWork::~OutputAtWork() {
    OutputsAtWork().back()->GiveToHost();
    OutputsAtWork().pop_back();
}

bool IsInUse(MemoryHandle setup) {
    const auto uses = [setup](const Output *output) { return output->Setup() == setup; };
    return std::any_of(OutputsAtWork().begin(), OutputsAtWork().end(), uses) ||
           IsUsedByDevice(setup);
}

HostIoProcedure TracingProcedure() {
    return TraceIo;
}

} // namespace kowen::check
