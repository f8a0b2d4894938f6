// How fast the module saves pictures, next to libjpeg-turbo's encoder doing the same work.
//
//   export_bench [PICTURE.ppm] [Google Benchmark's options]
//
// Without a picture (or one named by KOWEN_BENCH_PICTURE) it draws one of 6 megapixels. Cases are
// named CASE/kowen and CASE/libjpeg-turbo; scripts/bench makes a table of them. Palette pictures
// and resized ones have no peer: an encoder takes neither.

#include "module_export.h"
#include "picture.h"
#include "turbo_encoder.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

namespace {

constexpr uint32_t kWidth = 3000;
constexpr uint32_t kHeight = 2000;
constexpr uint32_t kIconSide = 64;
constexpr int kIcons = 10000;

struct Case {
    const char *name;
    JpegChoice choice;
};

constexpr Case kCases[] = {
    {"422 q75", {KOWEN_FORMAT_YCC422, false, 75}},
    {"422 q100", {KOWEN_FORMAT_YCC422, false, 100}},
    {"grey q75", {KOWEN_FORMAT_GREY, false, 75}},
    {"grey q100", {KOWEN_FORMAT_GREY, false, 100}},
    {"222 q75", {KOWEN_FORMAT_RGB444, false, 75}},
    {"222 q100", {KOWEN_FORMAT_RGB444, false, 100}},
    {"422 progressive q75", {KOWEN_FORMAT_YCC422, true, 75}},
    {"422 progressive q100", {KOWEN_FORMAT_YCC422, true, 100}},
};

double ProcessorSeconds() {
    timespec now;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

// All work is done by one thread and waits for nothing, so the processor's time is its time, and
// other programs on a busy machine disturb it less.
template <typename Work> double SecondsOf(Work work) {
    const double start = ProcessorSeconds();
    work();
    return ProcessorSeconds() - start;
}

void Report(benchmark::State &state, double megapixels, size_t bytes) {
    state.counters["MP/s"] = benchmark::Counter(
        megapixels * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["bytes"] = static_cast<double>(bytes);
}

JpegSize SizeOf(const Picture &picture) {
    return {picture.width, picture.height};
}

// An export changes the pixels, so each gets a fresh copy, made while the clock stands.
void Export(benchmark::State &state, const Picture &picture, const JpegChoice &choice,
            const JpegSize &size) {
    ModuleExport module(KOWEN_MODULE_PATH, choice, picture, size);
    for (auto _ : state) {
        module.Refresh(picture);
        state.SetIterationTime(SecondsOf([&] { module.Save(); }));
    }
    if (module.JpegBytes() == 0)
        state.SkipWithError("the export was not finished");
    Report(state, size.width * double{1} * size.height / 1e6, module.JpegBytes());
}

void Turbo(benchmark::State &state, const Picture &picture, const JpegChoice &choice, Scans scans) {
    size_t bytes = 0;
    for (auto _ : state)
        state.SetIterationTime(SecondsOf([&] { bytes = EncodeWithTurbo(picture, choice, scans); }));
    Report(state, picture.Megapixels(), bytes);
}

// Ten thousand small pictures, a new compressor for each.
void ExportIcons(benchmark::State &state, const Picture &icon, const JpegChoice &choice) {
    ModuleExport module(KOWEN_MODULE_PATH, choice, icon);
    for (auto _ : state) {
        double seconds = 0.0;
        for (int i = 0; i < kIcons; ++i) {
            module.Refresh(icon);
            seconds += SecondsOf([&] { module.Save(); });
        }
        state.SetIterationTime(seconds);
    }
    Report(state, icon.Megapixels() * kIcons, module.JpegBytes());
}

void TurboIcons(benchmark::State &state, const Picture &icon, const JpegChoice &choice) {
    size_t bytes = 0;
    for (auto _ : state) {
        double seconds = 0.0;
        for (int i = 0; i < kIcons; ++i)
            seconds +=
                SecondsOf([&] { bytes = EncodeWithTurbo(icon, choice, Scans::kSequential); });
        state.SetIterationTime(seconds);
    }
    Report(state, icon.Megapixels() * kIcons, bytes);
}

// What the machine's memory allows at most.
void CopyPixels(benchmark::State &state, const Picture &picture) {
    std::vector<uint8_t> copy(picture.pixels.size());
    for (auto _ : state)
        state.SetIterationTime(SecondsOf([&] {
            std::memcpy(copy.data(), picture.pixels.data(), copy.size());
            benchmark::DoNotOptimize(copy.data());
            benchmark::ClobberMemory();
        }));
    Report(state, picture.Megapixels(), copy.size());
}

template <typename Body> void Add(const std::string &name, Body body) {
    benchmark::RegisterBenchmark(name.c_str(), body)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

void AddCases(const Picture &picture) {
    for (const Case &each : kCases) {
        const std::string name = each.name;
        const JpegChoice choice = each.choice;
        Add(name + "/kowen",
            [=, &picture](auto &state) { Export(state, picture, choice, SizeOf(picture)); });
        const Scans usual = choice.progressive ? Scans::kUsual : Scans::kSequential;
        Add(name + "/libjpeg-turbo",
            [=, &picture](auto &state) { Turbo(state, picture, choice, usual); });
        if (choice.progressive)
            Add(name + "/libjpeg-turbo, 4 scans",
                [=, &picture](auto &state) { Turbo(state, picture, choice, Scans::kFour); });
    }
}

void AddIcons(const Picture &icon) {
    const JpegChoice choice = kCases[0].choice;
    Add("10000 icons q75/kowen", [=, &icon](auto &state) { ExportIcons(state, icon, choice); });
    Add("10000 icons q75/libjpeg-turbo",
        [=, &icon](auto &state) { TurboIcons(state, icon, choice); });
}

// What is converted on its way into a JPEG: palettes widened, pixels dropped or repeated.
void AddConversions(const Picture &picture) {
    const JpegChoice choice = kCases[0].choice;
    const auto add = [&](const std::string &name, const Picture &from, const JpegSize &size) {
        Add(name + " q75/kowen", [=](auto &state) { Export(state, from, choice, size); });
    };
    const JpegSize half = {picture.width / 2, picture.height / 2};
    const Picture bytes = Indexed(picture, 8);
    add("8 bits", bytes, SizeOf(picture));
    add("4 bits", Indexed(picture, 4), SizeOf(picture));
    add("1 bit", Indexed(picture, 1), SizeOf(picture));
    add("shrunk to half", picture, half);
    add("8 bits, shrunk to half", bytes, half);
    const Picture corner = Cut(picture, 0, 0, picture.width / 3 * 2, picture.height / 3 * 2);
    add("stretched by half", corner, SizeOf(picture));
}

Picture ChosenPicture(int argc, char **argv) {
    if (argc > 1)
        return ReadPpm(argv[1]);
    const char *path = std::getenv("KOWEN_BENCH_PICTURE");
    return path != nullptr && *path != '\0' ? ReadPpm(path) : DrawPhotograph(kWidth, kHeight);
}

Picture IconOf(const Picture &picture) {
    return Cut(picture, (picture.width - std::min(picture.width, kIconSide)) / 2,
               (picture.height - std::min(picture.height, kIconSide)) / 2,
               std::min(picture.width, kIconSide), std::min(picture.height, kIconSide));
}

} // namespace

int main(int argc, char **argv) {
    benchmark::Initialize(&argc, argv);
    const Picture picture = ChosenPicture(argc, argv);
    const Picture icon = IconOf(picture);
    AddCases(picture);
    AddIcons(icon);
    AddConversions(picture);
    Add("memcpy of the pixels/anchor", [&picture](auto &state) { CopyPixels(state, picture); });
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
