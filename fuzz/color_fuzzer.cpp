// The colour library on any depths, sizes, tables and pixels, next to the reference. The first
// bytes choose the operation and its settings, the others are tables and pixels.
#include "fuzz/module_state.h"

#include "color/color_resolution.h"
#include "color/depth.h"
#include "color/dither.h"
#include "color/flip.h"
#include "color/layout32.h"
#include "color/pixel.h"
#include "color/reduce.h"
#include "color/resample.h"
#include "platform/global_memory.h"
#include "reference/color/dither.h"
#include "reference/color/median_cut.h"
#include "reference/color/resample.h"

#include <cstdint>
#include <optional>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::MakeBlock;
using fuzz::Require;

Bytes Contents(MemoryHandle block) {
    const auto *data = Lock<const uint8_t>(block);
    return data == nullptr ? Bytes() : Bytes(data, data + GlobalSize(block));
}

uint16_t AnyDepth(Input *input) {
    constexpr uint16_t depths[] = {1, 4, 8, 24, 32, 1, 4, 8, 24, 32, 0, 2, 3, 5, 7, 16};
    return depths[input->Byte() % 16];
}

struct Picture {
    uint16_t depth;
    uint32_t width;
    uint32_t height;
    Bytes pixels;
    MemoryHandle block;
    bool isWhole; ///< else the block is too small
};

Picture AnyPicture(Input *input) {
    Picture picture;
    picture.depth = AnyDepth(input);
    picture.width = input->Below(input->Byte() % 4 == 0 ? 400 : 40);
    picture.height = input->Below(14);
    size_t bytes = reference::MakeBitmap(picture.width, picture.height, picture.depth).size();
    if (input->Byte() % 16 == 0)
        bytes = input->Below(static_cast<uint32_t>(bytes) + 1);
    picture.pixels = input->Fill(bytes);
    picture.block = MakeBlock(picture.pixels);
    picture.isWhole = BitmapFits(picture.block, picture.width, picture.height, picture.depth);
    // The reference reads the padding of the last row, too.
    picture.pixels.resize(
        reference::MakeBitmap(picture.width, picture.height, picture.depth).size());
    return picture;
}

struct Table {
    std::optional<Bytes> entries;
    MemoryHandle block = 0;

    const Bytes *Get() const { return entries ? &*entries : nullptr; }
};

Table AnyTable(Input *input, bool mayBeNone) {
    Table table;
    const uint8_t kind = input->Byte();
    if (mayBeNone && kind % 4 == 0)
        return table;
    table.entries = input->Fill(3 * input->Below(kind % 4 == 1 ? 300 : 20));
    for (size_t i = 0; kind % 3 == 0 && i + 2 < table.entries->size(); i += 6) // greys
        (*table.entries)[i + 1] = (*table.entries)[i + 2] = (*table.entries)[i];
    table.block = MakeBlock(*table.entries);
    return table;
}

void Convert(Input *input) {
    const uint16_t to = AnyDepth(input);
    const uint32_t count = input->Below(310);
    const Table source = AnyTable(input, true), target = AnyTable(input, true);
    const Picture picture = AnyPicture(input);
    const MemoryHandle result =
        rlConvertBitmapDepth(picture.block, picture.width, picture.height, picture.depth, to,
                             source.block, target.block, count);
    Require((result != 0) == picture.isWhole, "a result for whole pictures only");
    if (result != 0)
        Require(Contents(result) == reference::ConvertBitmapDepth(
                                        picture.pixels, picture.width, picture.height,
                                        picture.depth, to, source.Get(), target.Get(), count),
                "what the reference gives");
    for (MemoryHandle block : {result, picture.block, source.block, target.block})
        GlobalFree(block);
}

void Dither(Input *input) {
    const uint16_t to = AnyDepth(input);
    const Table palette = AnyTable(input, true), table = AnyTable(input, false);
    const auto count = static_cast<uint16_t>(input->Below(310));
    const Picture picture = AnyPicture(input);
    const MemoryHandle result =
        rlDitherGivenCT(picture.block, picture.width, picture.height, picture.depth, to,
                        palette.block, table.block, count);
    Require((result != 0) == picture.isWhole, "a result for whole pictures only");
    if (result != 0)
        Require(Contents(result) == reference::DitherGivenCT(picture.pixels, picture.width,
                                                             picture.height, picture.depth, to,
                                                             palette.Get(), *table.entries, count),
                "what the reference gives");
    for (MemoryHandle block : {result, picture.block, palette.block, table.block})
        GlobalFree(block);
}

void DitherFreely(Input *input) {
    constexpr uint16_t depths[] = {1, 2, 3, 4, 5, 7, 8};
    const uint16_t to = depths[input->Byte() % 7];
    const Table palette = AnyTable(input, true);
    const Picture picture = AnyPicture(input);
    MemoryHandle table = 0;
    const MemoryHandle result = rlDitherBitmap(picture.block, picture.width, picture.height,
                                               picture.depth, to, palette.block, &table);
    Require((result != 0) == picture.isWhole, "a result for whole pictures only");
    if (result != 0) {
        const reference::Table expected = reference::DitherGetCT(
            picture.pixels, picture.width, picture.height, picture.depth, to, palette.Get());
        Require(Contents(table) == expected.entries, "what the reference gives");
        Require(Contents(result) == reference::DitherGivenCT(picture.pixels, picture.width,
                                                             picture.height, picture.depth, to,
                                                             palette.Get(), expected.entries,
                                                             expected.count),
                "what the reference gives");
    }
    for (MemoryHandle block : {result, picture.block, palette.block, table})
        GlobalFree(block);
}

void Reduce(Input *input) {
    auto count = static_cast<uint16_t>(input->Below(300));
    const uint16_t wanted = count;
    Picture picture = AnyPicture(input);
    picture.isWhole = BitmapFits(picture.block, picture.width, picture.height, 24);
    const MemoryHandle table =
        rlReduceColorTable(picture.block, static_cast<uint16_t>(picture.width),
                           static_cast<uint16_t>(picture.height), &count);
    Require((table != 0) == picture.isWhole, "a result for whole pictures only");
    if (table != 0) {
        Bytes padded = Contents(picture.block);
        padded.resize(reference::MakeBitmap(picture.width, picture.height, 24).size());
        Bytes expected = reference::ReduceColours(padded, picture.width, picture.height, wanted);
        Require(count == expected.size() / 3, "what the reference gives");
        expected.resize(size_t{wanted} * 3);
        Require(Contents(table) == expected, "what the reference gives");
    }
    GlobalFree(table);
    GlobalFree(picture.block);
}

void Resample(Input *input) {
    const uint32_t targetWidth = input->Below(300), targetHeight = input->Below(40);
    const Picture picture = AnyPicture(input);
    const MemoryHandle result = rlStretchBitmap(picture.block, picture.depth, picture.width,
                                                picture.height, targetWidth, targetHeight);
    Require((result != 0) == picture.isWhole, "a result for whole pictures only");
    if (result != 0 && picture.width != 0 && picture.height != 0)
        Require(Contents(result) == reference::Resample(picture.pixels, picture.depth,
                                                        picture.width, picture.height, targetWidth,
                                                        targetHeight),
                "what the reference gives");
    GlobalFree(result);
    GlobalFree(picture.block);
}

void Flip(Input *input) {
    const uint8_t flags = input->Byte();
    Picture picture = AnyPicture(input);
    Bytes expected = Contents(picture.block);
    const bool isWhole =
        expected.size() >= rlCalcNewSize(picture.width, picture.height, picture.depth);
    const MemoryHandle result = rlFlipBitmap(picture.block, picture.depth, picture.width,
                                             picture.height, flags & 1, flags & 2);
    Require(result == (isWhole ? picture.block : 0), "a result for whole pictures only");
    if (isWhole)
        reference::Flip(expected, picture.depth, picture.width, picture.height, (flags & 1) != 0,
                        (flags & 2) != 0);
    Require(Contents(picture.block) == expected, "what the reference gives");
    GlobalFree(picture.block);
}

// No reference for all of it: it must only stay inside its blocks.
void Change(Input *input) {
    const uint16_t to = AnyDepth(input);
    const Table own = AnyTable(input, true);
    const Picture picture = AnyPicture(input);
    MemoryHandle table = own.block;
    const MemoryHandle result = rlChangeColorResolution(picture.block, picture.width,
                                                        picture.height, picture.depth, to, &table);
    Require((result != 0) == picture.isWhole, "a result for whole pictures only");
    rlCMYKtoRGB(result, input->Byte(), input->Byte());
    rlALPHAtoRGB(result, input->Byte(), input->Byte());
    rlRGB4toCMYK(result, input->Byte(), input->Byte());
    Require(table == 0 || table != own.block, "a table of its own");
    for (MemoryHandle block : {result, picture.block, own.block, table})
        GlobalFree(block);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    switch (input.Byte() % 7) {
    case 0:
        Convert(&input);
        break;
    case 1:
        Dither(&input);
        break;
    case 2:
        DitherFreely(&input);
        break;
    case 3:
        Reduce(&input);
        break;
    case 4:
        Resample(&input);
        break;
    case 5:
        Flip(&input);
        break;
    default:
        Change(&input);
        break;
    }
    return 0;
}
