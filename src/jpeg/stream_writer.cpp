#include "jpeg/stream_writer.h"

#include "io/typed_io.h"
#include "jpeg/bit_output.h"
#include "jpeg/compress_env.h"
#include "jpeg/header_state.h"
#include "jpeg/huffman_tables.h"
#include "jpeg/quant_tables.h"
#include "kowen/codes.h"

namespace kowen {

namespace {

// T.81 table B.1.
enum Marker : uint16_t {
    kSof0 = 0xFFC0,
    kSof2 = 0xFFC2,
    kDht = 0xFFC4,
    kSoi = 0xFFD8,
    kSos = 0xFFDA,
    kDqt = 0xFFDB,
    kApp0 = 0xFFE0,
};

constexpr uint16_t kJfifVersion = 0x0102;
constexpr uint8_t kDotsPerInch = 1;

void PutByte(FileHandle output, uint8_t value) {
    qivWriteChar(output, &value, 1);
}

void PutShort(FileHandle output, uint16_t value) {
    const auto word = static_cast<int16_t>(value);
    qivWriteShort(output, &word, 1);
}

// One of the four lists of a DHT segment.
struct HuffmanList {
    uint8_t classAndNumber; // Tc, Th
    const uint8_t *codeLengths;
    const uint8_t *symbols;
};

constexpr uint8_t kDcSymbols[kDcCategories] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};

uint16_t SymbolCount(const uint8_t *codeLengths) {
    uint16_t count = 0;
    for (int length = 1; length <= 16; ++length)
        count = static_cast<uint16_t>(count + codeLengths[length]);
    return count;
}

// Table number of a component, for quantisation and for Huffman codes alike.
uint8_t TableOf(int32_t componentIndex) {
    return componentIndex == 0 ? 0 : 1;
}

uint8_t Nibbles(int32_t high, int32_t low) {
    return static_cast<uint8_t>(high * 16 + low);
}

} // namespace

int32_t WriteJFIFHdr(FileHandle output, const JpegHeaderState *state) noexcept {
    PutShort(output, kApp0);
    PutShort(output, 16);            // length
    qivWriteChar(output, "JFIF", 5); // identifier with its NUL
    PutShort(output, kJfifVersion);
    PutByte(output, kDotsPerInch);
    PutShort(output, static_cast<uint16_t>(state->xResolution));
    PutShort(output, static_cast<uint16_t>(state->yResolution));
    PutByte(output, 0); // thumbnail width
    PutByte(output, 0); // thumbnail height
    return 0;
}

int32_t WriteQTblHdr(const JpegHeaderState *state, const CompressEnv *env) noexcept {
    const FileHandle output = state->outputFile;
    PutShort(output, kDqt);
    PutShort(output, 2 + kQuantTables * (1 + kBlockSize)); // Lq
    for (int table = 0; table < kQuantTables; ++table) {
        uint8_t bytes[1 + kBlockSize];
        bytes[0] = static_cast<uint8_t>(table); // Pq = 0, Tq
        for (int k = 0; k < kBlockSize; ++k)
            bytes[1 + k] = static_cast<uint8_t>(env->quantTable[table][ZZ[k]]); // Qk
        qivWriteChar(output, bytes, sizeof(bytes));
    }
    return 0;
}

int32_t WriteFrameHdr(const JpegHeaderState *state, const CompressEnv *env) noexcept {
    const FileHandle output = state->outputFile;
    const uint8_t count = state->componentCount;
    PutShort(output, env->operation == KOWEN_OPERATION_SEQUENTIAL ? kSof0 : kSof2);
    PutShort(output, static_cast<uint16_t>(8 + 3 * count));                      // Lf
    PutByte(output, count == 0 ? uint8_t{0} : static_cast<uint8_t>(24 / count)); // P
    PutShort(output, static_cast<uint16_t>(state->imageHeight));                 // Y
    PutShort(output, static_cast<uint16_t>(state->imageWidth));                  // X
    PutByte(output, count);                                                      // Nf
    for (int i = 0; i < count && i < kComponents; ++i) {
        PutByte(output, static_cast<uint8_t>(i + 1));                     // Ci
        PutByte(output, Nibbles(env->sampling[i].h, env->sampling[i].v)); // Hi, Vi
        PutByte(output, TableOf(i));                                      // Tqi
    }
    return 0;
}

int32_t WriteHuffHdr(const JpegHeaderState *state, const CompressEnv *env) noexcept {
    const FileHandle output = state->outputFile;
    const bool sequential = env->operation == KOWEN_OPERATION_SEQUENTIAL;
    const HuffmanList lists[] = {
        {0x00, DC1_CodeLens, kDcSymbols},
        {0x01, DC2_CodeLens, kDcSymbols},
        {0x10, sequential ? AC1_CodeLens : AC1P_CodeLens, HuffVal1},
        {0x11, sequential ? AC2_CodeLens : AC2P_CodeLens, HuffVal2},
    };
    uint16_t length = 2;
    for (const HuffmanList &list : lists)
        length = static_cast<uint16_t>(length + 17 + SymbolCount(list.codeLengths));

    PutShort(output, kDht);
    PutShort(output, length); // Lh
    for (const HuffmanList &list : lists) {
        PutByte(output, list.classAndNumber);
        qivWriteChar(output, list.codeLengths + 1, 16);                    // Li
        qivWriteChar(output, list.symbols, SymbolCount(list.codeLengths)); // Vij
    }
    return 0;
}

int32_t WriteJPGHdr(const JpegHeaderState *state, const CompressEnv *env) noexcept {
    PutShort(state->outputFile, kSoi);
    WriteJFIFHdr(state->outputFile, state);
    WriteQTblHdr(state, env);
    WriteFrameHdr(state, env);
    WriteHuffHdr(state, env);
    return 0;
}

int32_t OutputSHORT(uint8_t *destination, uint16_t value) noexcept {
    destination[0] = static_cast<uint8_t>(value >> 8);
    destination[1] = static_cast<uint8_t>(value);
    return 0;
}

int32_t OutputScanHeader(uint8_t *position, uint32_t *fillCount, int32_t componentCount,
                         int32_t componentIndex, int32_t ss, int32_t se, int32_t ah,
                         int32_t al) noexcept {
    const bool single = componentCount < 2;
    const int32_t listed = single ? 1 : componentCount < kComponents ? componentCount : kComponents;
    uint8_t *p = position;
    OutputSHORT(p, kSos);
    OutputSHORT(p + 2, static_cast<uint16_t>(6 + 2 * componentCount)); // Ls
    p[4] = static_cast<uint8_t>(componentCount);                       // Ns
    p += 5;
    for (int32_t i = 0; i < listed; ++i) {
        const int32_t component = single ? componentIndex : i;
        *p++ = static_cast<uint8_t>(component + 1);             // Csj
        *p++ = Nibbles(TableOf(component), TableOf(component)); // Tdj, Taj
    }
    *p++ = static_cast<uint8_t>(ss); // Ss
    *p++ = static_cast<uint8_t>(se); // Se
    *p++ = Nibbles(ah, al);          // Ah, Al
    *fillCount += static_cast<uint32_t>(p - position);
    return 0;
}

int32_t WriteSHdr(FileHandle output, int32_t componentCount, int32_t componentIndex, int32_t ss,
                  int32_t se, int32_t ah, int32_t al) noexcept {
    uint8_t segment[kMaxScanHeaderBytes];
    uint32_t length = 0;
    OutputScanHeader(segment, &length, componentCount, componentIndex, ss, se, ah, al);
    qivWriteChar(output, segment, static_cast<int32_t>(length));
    return 0;
}

int32_t WriteScanPad(uint8_t *outputIgnored, uint32_t *fillCount, CompressEnv *env) noexcept {
    int32_t result = 0;
    while (env->bitMask != 128)
        result = OutputBits(outputIgnored, fillCount, 1, 1, env);
    return result;
}

} // namespace kowen
