// Prints how near JPEGs of some pictures come to them: with colours adjusted and as the filter has
// them. scripts/psnr runs it.
#include "kowen/host.h"
#include "support/jpeg_decode.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr const char *kQualities[] = {"50", "75", "90", "100"};

struct Picture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;
};

[[noreturn]] void Fail(const std::string &message) {
    std::fprintf(stderr, "psnr_table: %s\n", message.c_str());
    std::exit(1);
}

// A binary PPM of 8 bits without comments, as the script makes them.
Picture ReadPpm(const char *path) {
    Picture picture;
    std::FILE *file = std::fopen(path, "rb");
    unsigned most = 0;
    if (file == nullptr ||
        std::fscanf(file, "P6 %u %u %u", &picture.width, &picture.height, &most) != 3 ||
        most != 255 || std::fgetc(file) == EOF)
        Fail(std::string(path) + " is no plain PPM");
    picture.pixels.resize(size_t{picture.width} * picture.height * 3);
    if (std::fread(picture.pixels.data(), 1, picture.pixels.size(), file) != picture.pixels.size())
        Fail(std::string(path) + " is cut off");
    std::fclose(file);
    return picture;
}

std::vector<uint8_t> Save(KowenModule *module, const Picture &from, const char *quality,
                          bool asFilter) {
    KowenResult result = {};
    result.size = sizeof result;
    KowenPicture picture = {};
    picture.size = sizeof picture;
    picture.format = KOWEN_PIXEL_RGB;
    picture.width = from.width;
    picture.height = from.height;
    picture.pixels = from.pixels.data();
    KowenOutput output = {};
    output.size = sizeof output;
    KowenSettings *settings = KowenNewSettings();
    KowenSet(settings, "quality", quality, &result);
    KowenSet(settings, "as-filter", asFilter ? "yes" : "no", &result);
    if (KowenSave(module, &picture, settings, &output, nullptr, &result) != KOWEN_HOST_OK)
        Fail(result.message);
    KowenFreeSettings(settings);
    const auto *bytes = static_cast<const uint8_t *>(output.memory);
    std::vector<uint8_t> jpeg(bytes, bytes + output.memorySize);
    KowenFree(output.memory);
    return jpeg;
}

// Over red, green and blue; of a JPEG that has a row too many, the picture's own rows.
double Psnr(const Picture &picture, const kowen::test::DecodedJpeg &decoded) {
    if (!decoded.Clean() || decoded.width != static_cast<int>(picture.width) ||
        decoded.height < static_cast<int>(picture.height))
        Fail("a JPEG does not decode: " + decoded.error);
    double squares = 0;
    for (size_t i = 0; i < picture.pixels.size(); ++i) {
        const double difference = double(picture.pixels[i]) - decoded.pixels[i];
        squares += difference * difference;
    }
    return 10 * std::log10(255.0 * 255.0 * double(picture.pixels.size()) / squares);
}

struct Sum {
    double psnr[2] = {};
    double bytes[2] = {};
};

void PrintRow(const char *name, const char *quality, const Sum &sum, int count) {
    std::printf("| %s | %s | %.2f | %.0f | %.2f | %.0f | %+.2f |\n", name, quality,
                sum.psnr[0] / count, sum.bytes[0] / count, sum.psnr[1] / count,
                sum.bytes[1] / count, (sum.psnr[1] - sum.psnr[0]) / count);
}

} // namespace

int main(int argc, char **argv) {
    KowenResult result = {};
    result.size = sizeof result;
    KowenModule *module = KowenOpenModule(nullptr, &result);
    if (module == nullptr)
        Fail(result.message);
    std::printf("| Picture | Quality | as filter, dB | bytes | adjusted, dB | bytes | gain, dB |\n"
                "|---|---:|---:|---:|---:|---:|---:|\n");
    Sum all[4];
    for (int i = 1; i < argc; ++i) {
        const Picture picture = ReadPpm(argv[i]);
        std::string name = argv[i];
        name = name.substr(name.find_last_of('/') + 1);
        name.resize(name.find_last_of('.'));
        for (int q = 0; q < 4; ++q) {
            Sum sum;
            for (const int adjusted : {0, 1}) {
                const std::vector<uint8_t> jpeg =
                    Save(module, picture, kQualities[q], adjusted == 0);
                sum.psnr[adjusted] =
                    Psnr(picture, kowen::test::DecodeJpeg(jpeg, kowen::test::DecodeAs::kShown));
                sum.bytes[adjusted] = double(jpeg.size());
                all[q].psnr[adjusted] += sum.psnr[adjusted];
                all[q].bytes[adjusted] += sum.bytes[adjusted];
            }
            PrintRow(name.c_str(), kQualities[q], sum, 1);
        }
    }
    for (int q = 0; q < 4 && argc > 1; ++q)
        PrintRow("mean", kQualities[q], all[q], argc - 1);
    KowenCloseModule(module);
    return 0;
}
