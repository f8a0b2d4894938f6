// The compression environment: the encoder's state for one picture.
#pragma once

#include "io/file_handle.h"
#include "jpeg/huffman_entry.h"

#include <cstdint>

namespace kowen {

inline constexpr int kBlockSize = 64;           ///< samples of a block, row-major
inline constexpr int kComponents = 3;           ///< at most
inline constexpr int kHuffmanTables = 6;        ///< see HuffmanSlot
inline constexpr int kQuantTables = 2;          ///< 0 luminance, 1 chrominance
inline constexpr uint32_t kOutputGrowth = 8192; ///< bytes the output buffer grows by

/// What the six Huffman tables hold, and how many entries each.
enum HuffmanSlot : int {
    kDcLuminance = 0,       ///< 13 entries, by category 0..11
    kDcChrominance = 1,     ///< 13
    kAcLuminance = 2,       ///< 257, by symbol
    kAcChrominance = 3,     ///< 257
    kDcDiffLuminance = 4,   ///< 4096, by difference: see DcDifferenceIndex
    kDcDiffChrominance = 5, ///< 4096
};

struct SamplingFactor {
    uint8_t h;
    uint8_t v;
};

/// One zero-filled block of global memory a picture, made by BeginCellBitmap and ended by
/// EndCellBitmap.
struct CompressEnv {
    uint8_t pendingByte; ///< bits not yet stored, from the most significant bit
    uint8_t bitMask;     ///< the bit to fill next; 128 when the pending byte is empty
    int16_t dcPredictor[kComponents];
    uint16_t quantTable[kQuantTables][kBlockSize]; ///< row-major; never 0 once SetQTable ran
    HuffmanEntry *huffmanTable[kHuffmanTables];    ///< locked, or null in exports; see HuffmanSlot
    SamplingFactor sampling[kComponents];
    uint32_t componentCount; ///< 3 or 1; 0 for a colour format that is not known
    int32_t colorFormat;
    int32_t operation;
    uint8_t maxH;
    uint8_t maxV;
    uint32_t stepAcross[kComponents];   ///< bytes between a component's samples
    uint32_t stepDown[kComponents];     ///< rows between a component's samples
    uint32_t blocksAcross[kComponents]; ///< of an MCU
    uint32_t blocksDown[kComponents];   ///< of an MCU
    uint32_t imageWidth;                ///< pixels
    uint32_t imageHeight;               ///< rows
    uint32_t paddedWidth;               ///< whole MCUs
    uint32_t paddedHeight;              ///< whole MCUs
    int32_t mcusAcross;
    int32_t mcusDown;
    MemoryHandle outputHandle; ///< the band's coded bytes; 0 after a failed growth
    uint8_t *outputBuffer;
    uint32_t outputCapacity; ///< bytes
    int16_t quality;         ///< 1 to 100
    MemoryHandle huffmanHandle[kHuffmanTables];
};

/// What an environment is made for, as codes of the interface.
struct PictureFormat {
    int32_t colorFormat;    ///< the padded size follows it
    int32_t sampledFormat;  ///< the sampling factors follow it
    int32_t operation;      ///< KOWEN_OPERATION_
    uint8_t componentCount; ///< 3 or 1
};

/// Fills a fresh environment: sampling factors, padded size, MCU grid, bit packer and predictors.
///
/// width, height  pixels and rows of the picture.
void InitCompressEnvFor(CompressEnv *env, const PictureFormat &format, uint32_t width,
                        uint32_t height) noexcept;

/// Rounds a size up to whole MCUs: 16 x 8 pixels for colour format 212, 8 x 8 for 215 and 222.
/// Returns 0; -1 for any other colour format, and for a size whose rounding leaves 32 bits: the
/// outputs are untouched then.
int32_t FindWidthHeightMCU(uint32_t *paddedWidth, uint32_t *paddedHeight, uint32_t width,
                           uint32_t height, int32_t colorFormat) noexcept;

/// Allocates and locks the six Huffman tables. handles and tables have six places each.
/// Returns 0; -1 when one fails: those already made are freed and every place is cleared.
/// Not on the export path, whose codes are looked up in CodeTables.
int32_t AllocMem(MemoryHandle *handles, HuffmanEntry **tables) noexcept;

/// Frees the Huffman tables, a band buffer that is still there, and the environment itself.
/// handle 0 is ignored.
void FreeCompressEnv(MemoryHandle handle) noexcept;

} // namespace kowen
