// libpng behind functions that fail by exceptions: its jumps stay inside.
#pragma once

#include "readers/byte_input.h"
#include "readers/left_out.h"
#include "readers/source.h"

#include <exception>
#include <png.h>
#include <string>

namespace kowen::cli {

class PngReader {
public:
    /// Throws Failure when memory is exhausted.
    explicit PngReader(std::unique_ptr<ByteInput> input);
    ~PngReader();
    PngReader(const PngReader &) = delete;
    PngReader &operator=(const PngReader &) = delete;

    /// Reads everything before the pixels and chooses how they are delivered: 8 bits a channel,
    /// 1-bit pixels packed, palettes as such.
    void ReadHeader(PictureFacts *facts);

    /// How often every row is read: 1, or more for an interlaced picture.
    int Passes() const { return passes; }

    /// Reads a row. One that was read in an earlier pass is handed in again and becomes finer.
    /// Returns false when the file ends there or is damaged; Problem() says how.
    bool ReadRow(uint8_t *row);

    /// Reads what stands behind the pixels. Returns as ReadRow.
    bool ReadEnd();

    /// Adds sentences about what was converted and what the file says that facts have no place for.
    /// After ReadEnd, because it may stand behind the pixels.
    void TellNotes(std::vector<std::string> *notes) const;

    const std::string &Problem() const { return problem; }
    const std::string &Path() const { return input->Path(); }

private:
    static void OnError(png_structp png, png_const_charp message);
    static void OnWarning(png_structp png, png_const_charp message);
    static void OnRead(png_structp png, png_bytep bytes, size_t count);

    bool ReadInfo();
    bool UpdateInfo();
    void ChooseFormat(PictureFacts *facts);
    void TakePalette(PictureFacts *facts);
    void TakeColours(PictureFacts *facts) const;
    void ChooseGamma();
    void TakeMetadata(PictureFacts *facts);
    void TakeComment(PictureFacts *facts);
    void Rethrow();

    std::unique_ptr<ByteInput> input;
    png_structp png = nullptr;
    png_infop info = nullptr;
    int passes = 1;
    int commentText = -1; ///< which of the texts is the comment
    bool exifTaken = false;
    double fileGamma = 0; ///< to be converted; 0 = as screens have it
    std::string problem;
    std::exception_ptr failure; ///< of the input
};

} // namespace kowen::cli
