#include "faults/device_session.h"

#include "raster/door.h"

namespace kowen::test {
namespace {

class Session {
public:
    Session(const ExportCase &what, const TestBitmap &picture, StepAnswers &list)
        : given(what), bitmap(picture), answers(list) {}

    void Draw() {
        const bool drawn =
            Send(Step::kOpenDevice, Request(kOpenDevice)) && BeginBody() &&
            (given.door == DoorKind::kRasterCells ? DrawCells(0, bitmap.height) : DrawPicture());
        if (drawn)
            Send(Step::kPlain, Request(kEndPicture));
        Send(Step::kCloseDevice, Request(kCloseDevice));
    }

private:
    /// Whether the host goes on.
    bool Send(Step step, Request request) {
        const int32_t code = Door(KOWEN_DD_DISPATCH, request.Data());
        answers.push_back({step, code});
        return code == 0 || given.door == DoorKind::kRasterBlunt;
    }

    bool BeginBody() {
        return Send(Step::kPlain, Request(kBeginPicture)) &&
               Send(Step::kPlain, WindowRequest(0, 0, bitmap.width - 1, bitmap.height - 1)) &&
               Send(Step::kPlain, ResolutionRequest(kDotsPerInch)) &&
               Send(Step::kPlain, Request(kBeginBody)) &&
               Send(Step::kPlain, ColorsRequest(0, bitmap.palette));
    }

    bool DrawPicture() {
        const int strip = bitmap.height / 2;
        return Send(Step::kPlain,
                    OpenPictureRequest(static_cast<uint32_t>(bitmap.width),
                                       static_cast<uint32_t>(bitmap.height), bitmap.depth)) &&
               DrawCells(0, strip) && DrawCells(strip, bitmap.height - strip) &&
               Send(Step::kWritePicture, WritePictureRequest());
    }

    bool DrawCells(int firstRow, int rows) {
        const auto *first = bitmap.pixels.data() + static_cast<size_t>(firstRow) * bitmap.Stride();
        return Send(Step::kDrawCells,
                    CellsRequest(static_cast<uint32_t>(bitmap.width), static_cast<uint32_t>(rows),
                                 bitmap.depth,
                                 {first, first + static_cast<size_t>(rows) * bitmap.Stride()}));
    }

    static int32_t Door(uint16_t function, void *record) {
        return RASTER_dd_entry32(0, function, record);
    }

    const ExportCase &given;
    const TestBitmap &bitmap;
    StepAnswers &answers;
};

} // namespace

StepAnswers DrawOnDevice(const ExportCase &given, const TestBitmap &bitmap, OpenRecord *record,
                         std::string *memory) {
    StepAnswers answers;
    const int32_t begun = RASTER_dd_entry32(0, KOWEN_DD_INITIALISE, record);
    answers.push_back({Step::kInitialise, begun});
    if (begun == 0 || given.door == DoorKind::kRasterBlunt)
        Session(given, bitmap, answers).Draw();
    if (lpEMData != nullptr && lpEMData->outputBlock != nullptr)
        *memory = BlockBytes(GlobalHandle(lpEMData->outputBlock));
    answers.push_back({Step::kTerminate, RASTER_dd_entry32(0, KOWEN_DD_TERMINATE, nullptr)});
    return answers;
}

StepAnswers OpenExportDevice(OpenRecord *record) {
    const int32_t begun = dd_entry32(0, KOWEN_DD_INITIALISE, record);
    return {{Step::kInitialiseExport, begun},
            {Step::kTerminateExport, dd_entry32(0, KOWEN_DD_TERMINATE, nullptr)}};
}

std::string BlockBytes(MemoryHandle block) {
    const auto *bytes = Lock<const char>(block);
    return bytes != nullptr ? std::string(bytes, GlobalSize(block)) : std::string();
}

std::string JpegInBlock(const std::string &block, std::string *wrong) {
    const size_t last = block.find_last_not_of('\0');
    if (last == std::string::npos)
        return "";
    if (block[last] == '\xFF')
        return block.substr(0, last);
    *wrong += " the block of memory has no terminator byte;";
    return "";
}

} // namespace kowen::test
