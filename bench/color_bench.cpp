// The colour library on a generated picture of 6 megapixels, next to other libraries on the same
// picture: Leptonica in process, and Pillow in a Python process that times itself.
//
// A peer that is not installed is left out. Both peers are looser than the library: they search
// palettes through colours of 5 or 6 bits, not exactly.
#include "color/depth.h"
#include "color/dither.h"
#include "color/pixel.h"
#include "color/resample.h"
#include "platform/global_memory.h"

#include <benchmark/benchmark.h>

#ifdef KOWEN_HAVE_LEPTONICA
#include <allheaders.h>
#endif

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace kowen {
namespace {

constexpr uint32_t kWidth = 3000;
constexpr uint32_t kHeight = 2000;
constexpr uint16_t kTableColors = 256;

uint8_t Limited(double x) {
    return static_cast<uint8_t>(std::clamp(x, 0.0, 255.0));
}

double Hashed(uint32_t x, uint32_t y, uint32_t channel) {
    uint32_t hash = x * 374761393u + y * 668265263u + channel * 2246822519u;
    hash = (hash ^ hash >> 13) * 1274126177u;
    return static_cast<double>(hash >> 16) / 65535.0 - 0.5;
}

// Random values at the corners of a grid, blended in between.
double Blended(uint32_t x, uint32_t y, uint32_t channel, uint32_t grid) {
    const uint32_t left = x / grid, top = y / grid;
    const double u = static_cast<double>(x % grid) / grid, v = static_cast<double>(y % grid) / grid;
    return (1 - v) * ((1 - u) * Hashed(left, top, channel) + u * Hashed(left + 1, top, channel)) +
           v * ((1 - u) * Hashed(left, top + 1, channel) + u * Hashed(left + 1, top + 1, channel));
}

// As a photograph: light and dark at all sizes, colours that change slowly, and a little grain.
MemoryHandle MakePicture() {
    const MemoryHandle picture = GlobalAlloc(kGlobalFlags, rlCalcNewSize(kWidth, kHeight, 24));
    auto *pixel = Lock<uint8_t>(picture);
    for (uint32_t y = 0; y < kHeight; ++y) {
        for (uint32_t x = 0; x < kWidth; ++x, pixel += 3) {
            const double light = 170 * Blended(x, y, 3, 500) + 90 * Blended(x, y, 3, 125) +
                                 50 * Blended(x, y, 3, 31) + 25 * Blended(x, y, 3, 7) +
                                 6 * Hashed(x, y, 3);
            for (uint32_t channel = 0; channel < 3; ++channel)
                pixel[channel] = Limited(120 + light + 90 * Blended(x, y, channel, 600));
        }
    }
    return picture;
}

MemoryHandle Picture() {
    static const MemoryHandle picture = MakePicture();
    return picture;
}

struct Indexed {
    MemoryHandle table;
    MemoryHandle pixels;
};

MemoryHandle Table(uint16_t count) {
    return rlReduceColorTable(Picture(), kWidth, kHeight, &count);
}

Indexed ReducedPicture() {
    static const MemoryHandle table = Table(kTableColors);
    static const MemoryHandle pixels =
        rlConvertBitmapDepth(Picture(), kWidth, kHeight, 24, 8, 0, table, kTableColors);
    return {table, pixels};
}

void CountPixels(benchmark::State &state) {
    state.SetItemsProcessed(state.iterations() * int64_t{kWidth} * kHeight);
}

void ReduceTo8(benchmark::State &state) {
    for (auto _ : state) {
        MemoryHandle table = 0;
        rlFreeNewData(rlChangeColorResolution(Picture(), kWidth, kHeight, 24, 8, &table));
        rlFreeNewData(table);
    }
    CountPixels(state);
}

void MapTo8(benchmark::State &state) {
    const MemoryHandle table = ReducedPicture().table;
    for (auto _ : state)
        rlFreeNewData(
            rlConvertBitmapDepth(Picture(), kWidth, kHeight, 24, 8, 0, table, kTableColors));
    CountPixels(state);
}

void DitherTo16(benchmark::State &state) {
    for (auto _ : state) {
        MemoryHandle table = 0;
        rlFreeNewData(rlDitherBitmap(Picture(), kWidth, kHeight, 24, 4, 0, &table));
        rlFreeNewData(table);
    }
    CountPixels(state);
}

void DitherTo2(benchmark::State &state) {
    for (auto _ : state) {
        MemoryHandle table = 0;
        rlFreeNewData(rlDitherBitmap(Picture(), kWidth, kHeight, 24, 1, 0, &table));
        rlFreeNewData(table);
    }
    CountPixels(state);
}

void ExpandTo24(benchmark::State &state) {
    const Indexed picture = ReducedPicture();
    for (auto _ : state)
        rlFreeNewData(
            rlConvertBitmapDepth(picture.pixels, kWidth, kHeight, 8, 24, picture.table, 0, 0));
    CountPixels(state);
}

void ShrinkToHalf(benchmark::State &state) {
    for (auto _ : state)
        rlFreeNewData(rlShrinkBitmap(Picture(), 24, kWidth, kHeight, kWidth / 2, kHeight / 2));
    CountPixels(state);
}

void StretchByHalf(benchmark::State &state) {
    for (auto _ : state)
        rlFreeNewData(
            rlStretchBitmap(Picture(), 24, kWidth, kHeight, kWidth / 2 * 3, kHeight / 2 * 3));
    CountPixels(state);
}

#ifdef KOWEN_HAVE_LEPTONICA
PIX *LeptonicaPicture() {
    static PIX *picture = [] {
        PIX *pix = pixCreate(kWidth, kHeight, 32);
        const auto *pixel = Lock<const uint8_t>(Picture());
        for (uint32_t y = 0; y < kHeight; ++y)
            for (uint32_t x = 0; x < kWidth; ++x, pixel += 3)
                pixSetRGBPixel(pix, static_cast<l_int32>(x), static_cast<l_int32>(y), pixel[0],
                               pixel[1], pixel[2]);
        return pix;
    }();
    return picture;
}

template <typename Work> void Leptonica(benchmark::State &state, Work work) {
    PIX *picture = LeptonicaPicture();
    for (auto _ : state) {
        PIX *result = work(picture);
        pixDestroy(&result);
    }
    CountPixels(state);
}

void LeptonicaReduceTo8(benchmark::State &state) {
    Leptonica(state, [](PIX *pix) { return pixMedianCutQuant(pix, 0); });
}

void LeptonicaDitherTo16(benchmark::State &state) {
    Leptonica(state, [](PIX *pix) { return pixMedianCutQuantGeneral(pix, 1, 4, 16, 5, 0, 0); });
}

void LeptonicaDitherTo2(benchmark::State &state) {
    Leptonica(state, [](PIX *pix) {
        PIX *grey = pixConvertRGBToLuminance(pix);
        PIX *result = pixDitherToBinary(grey);
        pixDestroy(&grey);
        return result;
    });
}

void LeptonicaExpandTo24(benchmark::State &state) {
    PIX *indexed = pixMedianCutQuant(LeptonicaPicture(), 0);
    Leptonica(state, [&](PIX *) { return pixRemoveColormap(indexed, REMOVE_CMAP_TO_FULL_COLOR); });
    pixDestroy(&indexed);
}

void LeptonicaShrinkToHalf(benchmark::State &state) {
    Leptonica(state, [](PIX *pix) { return pixScaleBySampling(pix, 0.5f, 0.5f); });
}

void LeptonicaStretchByHalf(benchmark::State &state) {
    Leptonica(state, [](PIX *pix) { return pixScaleBySampling(pix, 1.5f, 1.5f); });
}
#endif

// Times one expression over `im` (the picture), `p8` (256 colours) and `p4` (16 colours); writes
// the seconds of one run.
constexpr char kPillowScript[] = R"(
import sys, time
from PIL import Image
im = Image.frombytes('RGB', (3000, 2000), open(sys.argv[1], 'rb').read())
p8 = im.quantize(256, method=2, dither=0)
p4 = im.quantize(16, method=2, dither=0)
work = lambda: eval(sys.argv[2])
work()
times = []
for _ in range(5):
    start = time.process_time()
    work()
    times.append(time.process_time() - start)
print(min(times))
)";

// Seconds of one run; below 0 when Pillow is not there.
double PillowSeconds(const std::string &expression) {
    const std::filesystem::path folder = std::filesystem::temp_directory_path();
    const std::string script = (folder / "kowen_color_bench.py").string();
    const std::string picture = (folder / "kowen_color_bench.raw").string();
    std::ofstream(script) << kPillowScript;
    std::ofstream(picture, std::ios::binary)
        .write(Lock<const char>(Picture()), GlobalSize(Picture()));
    const std::string command =
        "/usr/bin/python3 " + script + " " + picture + " '" + expression + "' 2>/dev/null";
    std::FILE *pipe = popen(command.c_str(), "r");
    double seconds = -1;
    if (pipe == nullptr || std::fscanf(pipe, "%lf", &seconds) != 1)
        seconds = -1;
    if (pipe != nullptr)
        pclose(pipe);
    std::remove(script.c_str());
    std::remove(picture.c_str());
    return seconds;
}

void Pillow(benchmark::State &state, const char *expression) {
    for (auto _ : state) {
        const double seconds = PillowSeconds(expression);
        if (seconds < 0)
            return state.SkipWithError("Pillow is not installed");
        state.SetIterationTime(seconds);
    }
    CountPixels(state);
}

void RegisterPillow(const char *name, const char *expression) {
    benchmark::RegisterBenchmark((std::string("Pillow") + name).c_str(), Pillow, expression)
        ->UseManualTime()
        ->Iterations(1)
        ->Unit(benchmark::kMillisecond);
}

BENCHMARK(ReduceTo8)->Unit(benchmark::kMillisecond);
BENCHMARK(MapTo8)->Unit(benchmark::kMillisecond);
BENCHMARK(DitherTo16)->Unit(benchmark::kMillisecond);
BENCHMARK(DitherTo2)->Unit(benchmark::kMillisecond);
BENCHMARK(ExpandTo24)->Unit(benchmark::kMillisecond);
BENCHMARK(ShrinkToHalf)->Unit(benchmark::kMillisecond);
BENCHMARK(StretchByHalf)->Unit(benchmark::kMillisecond);

#ifdef KOWEN_HAVE_LEPTONICA
BENCHMARK(LeptonicaReduceTo8)->Unit(benchmark::kMillisecond);
BENCHMARK(LeptonicaDitherTo16)->Unit(benchmark::kMillisecond);
BENCHMARK(LeptonicaDitherTo2)->Unit(benchmark::kMillisecond);
BENCHMARK(LeptonicaExpandTo24)->Unit(benchmark::kMillisecond);
BENCHMARK(LeptonicaShrinkToHalf)->Unit(benchmark::kMillisecond);
BENCHMARK(LeptonicaStretchByHalf)->Unit(benchmark::kMillisecond);
#endif

} // namespace
} // namespace kowen

int main(int argc, char **argv) {
    using kowen::RegisterPillow;
    RegisterPillow("ReduceTo8", "im.quantize(256, method=2, dither=0)");
    RegisterPillow("MapTo8", "im.quantize(palette=p8, dither=0)");
    RegisterPillow("DitherTo16", "im.quantize(palette=p4, dither=3)");
    RegisterPillow("DitherTo2", "im.convert(\"1\")");
    RegisterPillow("ExpandTo24", "p8.convert(\"RGB\")");
    RegisterPillow("ShrinkToHalf", "im.resize((1500, 1000), Image.NEAREST)");
    RegisterPillow("StretchByHalf", "im.resize((4500, 3000), Image.NEAREST)");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
