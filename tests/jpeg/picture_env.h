// A compression environment that is ready to code.
#pragma once

#include "jpeg/compress_env.h"
#include "jpeg/huffman_tables.h"
#include "jpeg/quant_tables.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"

#include <cstdint>
#include <string>
#include <vector>

/// As BeginCellBitmap leaves it, without the output file; with a band buffer of its own unless
/// bufferBytes is 0.
class PictureEnv {
public:
    PictureEnv(int32_t colorFormat, int32_t operation, int quality, uint32_t width, uint32_t height,
               uint32_t bufferBytes = 65536) {
        using namespace kowen;
        handle_ = GlobalAlloc(kGlobalFlags, sizeof(CompressEnv));
        env_ = Lock<CompressEnv>(handle_);
        InitCompressEnvFor(env_, {colorFormat, colorFormat, operation, Components(colorFormat)},
                           width, height);
        SetQTable(env_, quality, colorFormat);
        AllocMem(env_->huffmanHandle, env_->huffmanTable);
        CreateTblsFor(env_->huffmanTable, operation);
        if (bufferBytes != 0)
            GiveBuffer(bufferBytes);
    }
    ~PictureEnv() { kowen::FreeCompressEnv(handle_); }
    PictureEnv(const PictureEnv &) = delete;
    PictureEnv &operator=(const PictureEnv &) = delete;

    kowen::CompressEnv *operator->() const { return env_; }
    kowen::CompressEnv *Get() const { return env_; }

    static uint8_t Components(int32_t colorFormat) {
        if (colorFormat == KOWEN_FORMAT_GREY)
            return 1;
        return colorFormat == KOWEN_FORMAT_YCC422 || colorFormat == KOWEN_FORMAT_RGB444 ? 3 : 0;
    }

    /// Replaces the band buffer.
    void GiveBuffer(uint32_t bytes) {
        kowen::GlobalFree(env_->outputHandle);
        env_->outputHandle = kowen::GlobalAlloc(kowen::kGlobalFlags, bytes);
        env_->outputBuffer = kowen::Lock<uint8_t>(env_->outputHandle);
        env_->outputCapacity = bytes;
    }

    std::vector<uint8_t> Bytes(uint32_t count) const {
        return {env_->outputBuffer, env_->outputBuffer + count};
    }

    /// Everything written so far as zeros and ones, the bits that wait included, the zeros that
    /// are stuffed behind bytes of 255 not.
    std::string Bits(uint32_t count) const {
        std::string bits;
        bool stuffed = false;
        for (const uint8_t byte : Bytes(count)) {
            for (int mask = 128; mask != 0 && !stuffed; mask /= 2)
                bits += (byte & mask) != 0 ? '1' : '0';
            stuffed = byte == 0xFF;
        }
        for (int mask = 128; mask > env_->bitMask; mask /= 2)
            bits += (env_->pendingByte & mask) != 0 ? '1' : '0';
        return bits;
    }

private:
    MemoryHandle handle_ = 0;
    kowen::CompressEnv *env_ = nullptr;
};
