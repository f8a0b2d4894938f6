#include "device/error_stack.h"

#include "device/device_record.h"
#include "device/request.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr size_t kPopCount = 16;

// Entry index of a stack; entry -1 is the first error's slot.
ErrorEntry &Entry(ErrorStack &stack, int32_t index) {
    return stack.slots[1 + index];
}

bool IsTop(ErrorStack &stack, const ErrorEntry &error) {
    if (stack.count <= 0)
        return false;
    const ErrorEntry &top = Entry(stack, stack.count - 1);
    return top.opcode == error.opcode && top.code == error.code;
}

void Store(ErrorStack &stack, const ErrorEntry &error) {
    if (stack.count == 0)
        stack.slots[0] = error;
    if (stack.count >= stack.capacity) {
        Entry(stack, stack.capacity - 1) = error;
        ++stack.overflow;
    } else {
        Entry(stack, stack.count) = error;
        ++stack.count;
    }
}

} // namespace

void push_er(int32_t code) noexcept {
    if (!lpEMData)
        return;
    ErrorStack &stack = lpEMData->errorStack;
    const ErrorEntry error = {lpEMData->currentOpcode, static_cast<int16_t>(code), 0};
    if (IsTop(stack, error))
        return;
    Store(stack, error);
    stack.lastOpcode = error.opcode;
    stack.currentError = error.code;
}

DdRequest *d_popes(DdRequest *request) noexcept {
    ErrorStack &stack = lpEMData->errorStack;
    const int32_t taken = std::min(Argument<int32_t>(request, kPopCount), stack.count);
    mov2buf(&taken, sizeof taken);
    for (int32_t i = 0; i < taken; ++i) {
        --stack.count;
        mov2buf(&Entry(stack, stack.count), sizeof(ErrorEntry));
    }
    return request;
}

DdRequest *d_empes(DdRequest *request) noexcept {
    ErrorStack &stack = lpEMData->errorStack;
    stack.count = 0;
    stack.overflow = 0;
    stack.lastOpcode = 0;
    stack.currentError = 0;
    return request;
}

void dq_es() noexcept {
    const ErrorStack &stack = lpEMData->errorStack;
    mov2buf(&stack.count, sizeof stack.count);
    mov2buf(&stack.slots[0], sizeof stack.slots[0]);
    mov2buf(&stack.overflow, sizeof stack.overflow);
}

void mov2buf(const void *source, uint32_t length) noexcept {
    ReturnArea &area = lpEMData->returnArea;
    const uint32_t taken = std::min(length, area.size - area.fillPosition);
    if (taken == 0)
        return;
    std::memcpy(area.data + area.fillPosition, source, taken);
    area.fillPosition += taken;
}

} // namespace kowen
