#include "compare/comparison.h"

#include "cancel.h"
#include "failure.h"

#include <png.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <csetjmp>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace kowen::cli {
namespace {

constexpr int kAmplification = 8;
constexpr int kMiddle = 128;
constexpr int kFastCompression = 2;

class PngBytes {
public:
    PngBytes() {
        png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
        if (png != nullptr)
            info = png_create_info_struct(png);
        if (info == nullptr)
            throw Failure("not enough memory for the comparison");
        png_set_write_fn(png, &bytes, OnWrite, nullptr);
    }
    ~PngBytes() { png_destroy_write_struct(&png, &info); }
    PngBytes(const PngBytes &) = delete;
    PngBytes &operator=(const PngBytes &) = delete;

    void Begin(uint32_t width, uint32_t height) {
        if (setjmp(png_jmpbuf(png)))
            Fail();
        png_set_compression_level(png, kFastCompression);
        png_set_IHDR(png, info, width, height, 8, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                     PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
        png_write_info(png, info);
    }

    void WriteRow(const uint8_t *row) {
        if (setjmp(png_jmpbuf(png)))
            Fail();
        png_write_row(png, row);
    }

    const std::vector<uint8_t> &End() {
        if (setjmp(png_jmpbuf(png)))
            Fail();
        png_write_end(png, info);
        return bytes;
    }

private:
    static void OnError(png_structp png, png_const_charp message) {
        static_cast<PngBytes *>(png_get_error_ptr(png))->problem = message;
        png_longjmp(png, 1);
    }
    static void OnWarning(png_structp, png_const_charp) {}

    // No exception may pass through the library.
    static void OnWrite(png_structp png, png_bytep data, size_t count) {
        auto *bytes = static_cast<std::vector<uint8_t> *>(png_get_io_ptr(png));
        bool taken = false;
        try {
            bytes->insert(bytes->end(), data, data + count);
            taken = true;
        } catch (const std::bad_alloc &) {
            taken = false;
        }
        if (!taken)
            png_error(png, "not enough memory");
    }

    [[noreturn]] void Fail() const { throw Failure("the comparison cannot be made: " + problem); }

    png_structp png = nullptr;
    png_infop info = nullptr;
    std::vector<uint8_t> bytes;
    std::string problem;
};

uint8_t Amplified(int a, int b) {
    return static_cast<uint8_t>(std::clamp(kMiddle + (b - a) * kAmplification, 0, 255));
}

int WriteAll(int fd, const std::vector<uint8_t> &bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const ssize_t written = write(fd, bytes.data() + at, bytes.size() - at);
        if (written >= 0)
            at += static_cast<size_t>(written);
        else if (errno != EINTR || CancelSignal() != 0)
            return errno;
    }
    return 0;
}

std::string OwnPath(int fd) {
    return "/proc/self/fd/" + std::to_string(fd);
}

// A new file with these bytes; none when they cannot be written. Where the file system can do so,
// and /proc is there to name it by, it gets its name when it is whole.
void WriteNewFile(const std::string &path, const std::vector<uint8_t> &bytes) {
    const std::string folder = std::filesystem::path(path).parent_path().string();
    int fd = open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666);
    const bool nameless = fd >= 0 && access(OwnPath(fd).c_str(), F_OK) == 0;
    if (!nameless && fd >= 0)
        close(fd);
    if (!nameless)
        fd = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0)
        FailWith(path, errno);
    int reason = WriteAll(fd, bytes);
    if (reason == 0 && nameless &&
        linkat(AT_FDCWD, OwnPath(fd).c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) != 0)
        reason = errno;
    if (close(fd) != 0 && reason == 0)
        reason = errno;
    if (reason == 0)
        return;
    if (!nameless)
        unlink(path.c_str());
    StopIfCancelled();
    FailWith(path, reason);
}

} // namespace

void CheckComparisonName(const std::string &path) {
    namespace fs = std::filesystem;
    std::error_code ignored;
    std::string ending = fs::path(path).extension().string();
    for (char &c : ending)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (ending != ".png")
        throw UsageFailure("--compare makes a PNG, and " + path + " does not end in .png");
    if (fs::symlink_status(path, ignored).type() != fs::file_type::not_found)
        throw Failure(path + ": there is a file of that name already, and --compare replaces none");
    const fs::path folder = fs::path(path).parent_path();
    if (!folder.empty() && !fs::is_directory(folder, ignored))
        throw Failure(path + ": there is no folder " + folder.string());
}

void WriteComparison(const std::string &path, const PlainPicture &picture,
                     const PlainPicture &result) {
    if (picture.width != result.width || picture.height > result.height)
        throw Failure("pictures of different sizes cannot be compared; leave --size and --dpi out");
    PngBytes png;
    png.Begin(picture.width * 3, picture.height);
    const size_t rowBytes = size_t{picture.width} * 3;
    std::vector<uint8_t> row(rowBytes * 3);
    for (uint32_t y = 0; y < picture.height; ++y) {
        const uint8_t *a = picture.Row(y);
        const uint8_t *b = result.Row(y);
        std::copy_n(a, rowBytes, row.begin());
        std::copy_n(b, rowBytes, row.begin() + static_cast<ptrdiff_t>(rowBytes));
        for (size_t i = 0; i < rowBytes; ++i)
            row[rowBytes * 2 + i] = Amplified(a[i], b[i]);
        png.WriteRow(row.data());
    }
    WriteNewFile(path, png.End());
}

} // namespace kowen::cli
