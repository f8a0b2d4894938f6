#include "jpeg/bit_output.h"

#include "jpeg/compress_env.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"

namespace kowen {

namespace {

constexpr uint8_t kEmptyMask = 128;

int32_t StorePendingByte(CompressEnv *env, uint32_t *fillCount) {
    const uint32_t bytes = env->pendingByte == 0xFF ? 2 : 1;
    const int32_t result = ReserveOutput(env, fillCount, bytes);
    if (result == 0) {
        env->outputBuffer[(*fillCount)++] = env->pendingByte;
        if (bytes == 2)
            env->outputBuffer[(*fillCount)++] = 0; // T.81 F.1.2.3, byte stuffing
    }
    env->pendingByte = 0;
    env->bitMask = kEmptyMask;
    return result;
}

} // namespace

int32_t ReserveOutput(CompressEnv *env, uint32_t *fillCount, uint32_t count) noexcept {
    while (env->outputCapacity < count || *fillCount > env->outputCapacity - count) {
        const uint32_t capacity = env->outputCapacity > UINT32_MAX - kOutputGrowth
                                      ? UINT32_MAX // refused by the allocator
                                      : env->outputCapacity + kOutputGrowth;
        GlobalUnlock(env->outputHandle);
        env->outputHandle = GlobalReAlloc(env->outputHandle, capacity, kGlobalFlags);
        env->outputBuffer = Lock<uint8_t>(env->outputHandle);
        if (env->outputBuffer == nullptr) {
            env->outputCapacity = 0;
            *fillCount = 0;
            return KOWEN_ERR_MEMORY;
        }
        env->outputCapacity = capacity;
    }
    return 0;
}

int32_t OutputBits(uint8_t *, uint32_t *fillCount, uint32_t value, int32_t bitCount,
                   CompressEnv *env) noexcept {
    if (bitCount < 0)
        return -1;
    int32_t result = 0;
    for (int32_t bit = bitCount - 1; bit >= 0; --bit) {
        if (bit < 32 && (value >> bit & 1u) != 0)
            env->pendingByte = static_cast<uint8_t>(env->pendingByte | env->bitMask);
        env->bitMask = static_cast<uint8_t>(env->bitMask >> 1);
        if (env->bitMask != 0)
            continue;
        const int32_t stored = StorePendingByte(env, fillCount);
        if (stored != 0)
            result = stored;
    }
    return result;
}

} // namespace kowen
