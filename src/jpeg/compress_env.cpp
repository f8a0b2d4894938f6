#include "jpeg/compress_env.h"

#include "jpeg/huffman_tables.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"

#include <cstring>

namespace kowen {

namespace {

constexpr uint32_t kTableEntries[kHuffmanTables] = {
    13, 13, 257, 257, kDcDifferences, kDcDifferences};

// Rounds up to a multiple of unit, a power of two; false when the result leaves 32 bits.
bool RoundUp(uint32_t *rounded, uint32_t value, uint32_t unit) {
    if (value > UINT32_MAX - (unit - 1))
        return false;
    *rounded = (value + unit - 1) & ~(unit - 1);
    return true;
}

} // namespace

int32_t FindWidthHeightMCU(uint32_t *paddedWidth, uint32_t *paddedHeight, uint32_t width,
                           uint32_t height, int32_t colorFormat) noexcept {
    uint32_t h = 1;
    if (colorFormat == KOWEN_FORMAT_YCC422)
        h = 2;
    else if (colorFormat != KOWEN_FORMAT_GREY && colorFormat != KOWEN_FORMAT_RGB444)
        return -1;

    uint32_t roundedWidth = 0;
    uint32_t roundedHeight = 0;
    if (!RoundUp(&roundedWidth, width, 8 * h) || !RoundUp(&roundedHeight, height, 8))
        return -1;
    *paddedWidth = roundedWidth;
    *paddedHeight = roundedHeight;
    return 0;
}

void InitCompressEnvFor(CompressEnv *env, const PictureFormat &format, uint32_t width,
                        uint32_t height) noexcept {
    env->colorFormat = format.colorFormat;
    env->operation = format.operation;
    env->maxH = format.sampledFormat == KOWEN_FORMAT_YCC422 ? 2 : 1;
    env->maxV = 1;
    env->pendingByte = 0;
    env->bitMask = 128;
    env->componentCount = format.componentCount;
    env->imageWidth = width;
    env->imageHeight = height;
    FindWidthHeightMCU(&env->paddedWidth, &env->paddedHeight, width, height, format.colorFormat);

    for (int i = 0; i < kComponents; ++i) {
        const SamplingFactor factor = {i == 0 ? env->maxH : uint8_t{1}, 1};
        env->dcPredictor[i] = 0;
        env->sampling[i] = factor;
        env->stepAcross[i] = static_cast<uint8_t>(env->maxH / factor.h * 3);
        env->stepDown[i] = static_cast<uint8_t>(env->maxV / factor.v);
        env->blocksAcross[i] = factor.h;
        env->blocksDown[i] = factor.v;
    }
    env->mcusAcross = static_cast<int32_t>(env->paddedWidth / 8 / env->maxH);
    env->mcusDown = static_cast<int32_t>(env->paddedHeight / 8 / env->maxV);
}

int32_t AllocMem(MemoryHandle *handles, HuffmanEntry **tables) noexcept {
    for (int i = 0; i < kHuffmanTables; ++i) {
        handles[i] = 0;
        tables[i] = nullptr;
    }
    for (int i = 0; i < kHuffmanTables; ++i) {
        handles[i] = GlobalAlloc(kGlobalFlags,
                                 kTableEntries[i] * static_cast<uint32_t>(sizeof(HuffmanEntry)));
        tables[i] = Lock<HuffmanEntry>(handles[i]);
        if (tables[i] != nullptr)
            continue;
        for (int made = 0; made < i; ++made) {
            GlobalUnlock(handles[made]);
            GlobalFree(handles[made]);
            handles[made] = 0;
            tables[made] = nullptr;
        }
        return -1;
    }
    return 0;
}

void FreeCompressEnv(MemoryHandle handle) noexcept {
    auto *env = Lock<CompressEnv>(handle);
    if (env == nullptr)
        return;
    for (MemoryHandle table : env->huffmanHandle) {
        GlobalUnlock(table);
        GlobalFree(table);
    }
    GlobalUnlock(env->outputHandle);
    GlobalFree(env->outputHandle);
    GlobalUnlock(handle);
    GlobalFree(handle);
}

} // namespace kowen
