#include "export/driver.h"

#include "device/cancel_poll.h"
#include "export/compress_setup.h"
#include "export/output_file.h"
#include "export/output_picture.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "platform/status.h"
#include "platform/text.h"
#include "setup/setup.h"

namespace kowen {
namespace {

// The export between initdvr and termdvr. The file is kept here as well as in the setup, so that
// it is closed even when the host has made another setup current meanwhile.
struct OpenExport {
    bool begun;
    OutputFile output;
    void *block; // cell of OpenOutput
};
OpenExport openExport = {};

// Capability reports: item numbers and the values that are not settings.
enum CapabilityItem : int32_t {
    kCapabilityColorMode = 1,
    kCapabilityFonts = 2,
    kCapabilityOutput = 3,
    kCapabilityLineMode = 5,
    kCapabilityLines = 6,
};
constexpr int32_t kPlatformFonts = 110;
constexpr int32_t kAlternativeFonts = 111;
constexpr int32_t kLinesSupported = 130;
constexpr int32_t kOutputSupported = 1;

// The number under which the colour mode is reported.
int32_t ReportedColorMode(int32_t colorMode) {
    switch (colorMode) {
    case KOWEN_COLOR_INVERTED:
        return 102;
    case KOWEN_COLOR_GREYS_INVERTED:
        return 103;
    case KOWEN_COLOR_GREY_SCALE:
        return 104;
    case KOWEN_COLOR_GREY_SCALE_INVERTED:
        return 105;
    default:
        return 101;
    }
}

CapabilityCallback StartMetafileLayer(const OpenRecord &record) {
    CapabilityCallback callback = nullptr;
    lpRaster->metafileFilter = InitPlatformMetafileFilter(
        record.hostValue1, record.hostValue2, record.exportRecord, &lpRaster->metafileWord1,
        &hSetup, &lpRaster->metafileWord2, &callback);
    return callback;
}

int32_t OpenSetupOutput() {
    const ExportRecord *host = lpRaster->exportRecord;
    const OutputTarget target = {lpRaster->outputName, lpRaster->ioProcedure,
                                 host ? host->ioContext : 0};
    const int32_t result = OpenOutput(target, &openExport.block, &openExport.output);
    lpRaster->header.outputFile = openExport.output.file;
    return result;
}

// A memory block has no name: it ends with the driver anyway.
void DeleteOutput() {
    if (!lpRaster || openExport.output.kind == OutputKind::kMemory)
        return;
    QivIODesc descriptor = {};
    descriptor.procedure = lpRaster->ioProcedure;
    qivOpen(lpRaster->outputName, &descriptor, KOWEN_MODE_DELETE);
}

// Returns 0, or not 0 when an output was open and could not be closed.
int32_t CloseExport() {
    if (!openExport.begun)
        return 0;
    const int32_t closed = openExport.output.file ? CloseOutput(openExport.output.file) : 0;
    FreeOutputBlock(&openExport.block);
    openExport = {};
    if (lpRaster)
        lpRaster->exportRecord = nullptr;
    return closed;
}

} // namespace

int32_t initdvr(OpenRecord *record) noexcept {
    if (openExport.begun)
        termdvr(0);
    hRaster = record ? record->setup : 0;
    lpRaster = Lock<SetupRecord>(hRaster);
    if (!lpRaster)
        return KOWEN_ERR_SETUP;
    openExport.begun = true;
    lpRaster->exportRecord = record->exportRecord;
    const CapabilityCallback callback = StartMetafileLayer(*record);
    if (!KeepOutputName(*lpRaster, record->outputName))
        return KOWEN_ERR_OUTPUT;
    if (const int32_t failed = OpenSetupOutput())
        return failed;
    if (record->outputName)
        record->outputName[0] = '\0';
    SetComponentCount(*lpRaster);
    lpRaster->exportHostValue = record->exportRecord ? record->exportRecord->hostValue : 0;
    record->setup = hSetup;
    if (callback)
        ReportCapabilities(callback, record->setup);
    return KOWEN_OK;
}

MetafilePicture DescribeMetafile(uintptr_t metafile) noexcept {
    MetafilePicture picture = {};
    picture.metafile = metafile;
    if (const ExportRecord *host = lpRaster->exportRecord) {
        picture.left = host->picture[0];
        picture.top = host->picture[1];
        picture.right = host->picture[2];
        picture.bottom = host->picture[3];
        picture.unitsPerInch = host->picture[4];
    }
    const double *extents = lpRaster->extents;
    picture.extents[0] = extents[0];
    picture.extents[1] = extents[3];
    picture.extents[2] = extents[2];
    picture.extents[3] = extents[1];
    picture.roundedExtent = roundd(extents[4]);
    picture.word = lpRaster->metafileWord1;
    return picture;
}

int32_t OutputMetafile(uintptr_t metafile) noexcept {
    if (metafile == 0 || !lpRaster || escape() != 0)
        return KOWEN_ERR_MEMORY;
    MetafilePicture picture = DescribeMetafile(metafile);
    const int32_t result = OutputPicture(openExport.output.file, &picture, DrawPlatformMetafile);
    if (escape() != 0)
        DeleteOutput();
    return result;
}

int32_t termdvr(uint32_t) noexcept {
    const uintptr_t metafile = GetMetaFileHandle();
    int32_t result = OutputMetafile(metafile);
    DeleteMetaFileHandle(metafile);
    const int32_t ended = TermPlatformMetafileFilter(lpRaster ? lpRaster->metafileFilter : 0);
    if (CloseExport() != 0)
        result = KOWEN_ERR_OUTPUT;
    return result == KOWEN_OK ? ended : result;
}

void ReportCapabilities(CapabilityCallback callback, MemoryHandle setup) noexcept {
    constexpr int32_t kValueBytes = 4;
    const auto report = [&](CapabilityItem item, int32_t *value) {
        callback(setup, item, kValueBytes, value, 0, 0);
    };
    int32_t colorMode = ReportedColorMode(lpRaster->colorMode);
    int32_t fonts = AltFontsAvailable() ? kAlternativeFonts : kPlatformFonts;
    int32_t lines = kLinesSupported;
    int32_t output = kOutputSupported;
    report(kCapabilityColorMode, &colorMode);
    report(kCapabilityFonts, &fonts);
    report(kCapabilityLines, &lines);
    report(kCapabilityLineMode, &lpRaster->lineMode);
    report(kCapabilityOutput, &output);
}

int32_t UpdateStatus(int32_t percent) noexcept {
    return lpRaster ? PollHost(lpRaster->exportRecord, percent) : KOWEN_OK;
}

} // namespace kowen
