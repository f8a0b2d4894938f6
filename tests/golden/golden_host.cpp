#include "golden/golden_host.h"

#include "support/requests.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <stdexcept>
#include <sys/mman.h>
#include <unistd.h>

namespace kowen::golden {
namespace {

using Bytes = std::vector<uint8_t>;

/// A profile that has no name in any folder.
class Profile {
public:
    explicit Profile(const Settings &settings)
        : file_(memfd_create("kowen golden settings", MFD_CLOEXEC)) {
        char text[512];
        const int length = std::snprintf(
            text, sizeof text,
            "[Golden]\nDriver=KOWEN.1\nColor Mode=%d\nColor Format=%d\nOperation=%d\n"
            "Quality Mode=242\nQuality=%d\nSize Mode=%d\nResolution Mode=%d\nX Resolution=%d\n"
            "Y Resolution=%d\nWidth=%.17g\nHeight=%.17g\n",
            settings.isInverted ? KOWEN_COLOR_INVERTED : KOWEN_COLOR_UNCHANGED,
            settings.colorFormat, settings.operation, settings.quality, settings.sizeMode,
            settings.resolutionMode, settings.xResolution, settings.yResolution, settings.width,
            settings.height);
        if (file_ < 0 || write(file_, text, static_cast<size_t>(length)) != length)
            throw std::runtime_error("there is no file in memory for the settings");
    }
    ~Profile() { close(file_); }
    Profile(const Profile &) = delete;
    Profile &operator=(const Profile &) = delete;

    std::string Path() const { return "/proc/self/fd/" + std::to_string(file_); }

private:
    int file_;
};

/// The I/O procedure's file: what was written one after the other.
Bytes drawn;

intptr_t KeepDrawn(uintptr_t, int32_t operation, void *argument, int32_t count) {
    const auto *bytes = static_cast<const uint8_t *>(argument);
    switch (operation) {
    case KOWEN_IO_OPEN:
        drawn.clear();
        return 1;
    case KOWEN_IO_WRITE:
        drawn.insert(drawn.end(), bytes, bytes + count);
        return count;
    case KOWEN_IO_CLOSE:
    case KOWEN_IO_DELETE:
        return 0;
    default:
        return -1;
    }
}

} // namespace

void Host::Unload::operator()(void *library) const {
    dlclose(library);
}

template <typename Function> Function Host::Symbol(const char *name) const {
    void *address = dlsym(library_.get(), name);
    if (address == nullptr)
        throw std::runtime_error(std::string("the module has no function ") + name);
    return reinterpret_cast<Function>(address);
}

template <typename Function> Function Host::Entry(const char *name) const {
    for (int i = 0; i < table_.entryCount; ++i)
        if (std::strcmp(table_.entries[i].name, name) == 0)
            return reinterpret_cast<Function>(const_cast<void *>(table_.entries[i].address));
    throw std::runtime_error(std::string("the module's table has no entry ") + name);
}

Host::Host(const std::string &modulePath) : library_(dlopen(modulePath.c_str(), RTLD_NOW)) {
    if (!library_)
        throw std::runtime_error(dlerror());
    Symbol<LoadPointersFunction>("fltLoadPointers")(&table_);
    alloc_ = Symbol<GlobalAllocFunction>("GlobalAlloc");
    lock_ = Symbol<GlobalLockFunction>("GlobalLock");
    free_ = Symbol<GlobalFreeFunction>("GlobalFree");
    size_ = Symbol<GlobalSizeFunction>("GlobalSize");
    setDisplayInfo_ = Symbol<SetDisplayInfoFunction>("SetDisplayInfo");
    createSetup_ = Entry<CreateSetupFunction>("CreateSetup");
    destroySetup_ = Entry<DestroySetupFunction>("DestroySetup");
    escapeSetup_ = Entry<EscapeSetupFunction>("EscapeSetup");
    exportCellData_ = Entry<ExportCellDataFunction>("ExportCellData");
    Entry<ShortDoorFunction>("RASTER_dd_entry")(KOWEN_DOOR_ADDRESS, &device_, 0);
    if (device_ == nullptr)
        throw std::runtime_error("the module's raster device has no address");
}

MemoryHandle Host::Block(const Bytes &bytes) const {
    if (bytes.empty())
        return 0;
    const MemoryHandle block = alloc_(KOWEN_GLOBAL_FLAGS, static_cast<uint32_t>(bytes.size()));
    auto *to = static_cast<uint8_t *>(lock_(block));
    if (to == nullptr)
        throw std::runtime_error("the module has no memory for a picture");
    std::copy(bytes.begin(), bytes.end(), to);
    return block;
}

// The JPEG ends before the last byte that is not 0.
Bytes Host::TakeBlock(MemoryHandle block) const {
    Bytes bytes;
    if (const auto *from = static_cast<const uint8_t *>(lock_(block)))
        bytes.assign(from, from + size_(block));
    free_(block);
    while (!bytes.empty() && bytes.back() == 0)
        bytes.pop_back();
    if (!bytes.empty())
        bytes.pop_back();
    return bytes;
}

Bytes Host::SaveBitmap(const Export &what, MemoryHandle setup) const {
    BitmapRecord bitmap = {};
    bitmap.depth = static_cast<uint16_t>(what.bitmap.depth);
    bitmap.width = static_cast<uint16_t>(what.bitmap.width);
    bitmap.height = static_cast<uint16_t>(what.bitmap.height);
    bitmap.pixels = Block(what.bitmap.pixels);
    bitmap.palette = Block(what.bitmap.palette);
    ExportRecord record = {};
    HostRecord host = {};
    host.setup = setup;
    host.exportRecord = &record;
    const int32_t result = exportCellData_("", &bitmap, &what.cell, &host);
    free_(bitmap.pixels);
    free_(bitmap.palette);
    const Bytes made = record.memoryBlock != 0 ? TakeBlock(record.memoryBlock) : Bytes();
    return result == 0 ? made : Bytes();
}

bool Host::DrawRequests(const TestBitmap &bitmap, int resolution) const {
    using namespace test;
    const auto width = static_cast<uint32_t>(bitmap.width);
    const auto height = static_cast<uint32_t>(bitmap.height);
    const auto upper = height / 2;
    const auto *second =
        bitmap.pixels.data() + size_t{upper} * static_cast<size_t>(bitmap.Stride());
    const Bytes first(bitmap.pixels.data(), second);
    std::vector<Request> requests = {Request(kOpenDevice),
                                     Request(kBeginPicture),
                                     WindowRequest(0, 0, bitmap.width - 1, bitmap.height - 1),
                                     ResolutionRequest(resolution),
                                     Request(kBeginBody),
                                     ColorsRequest(0, bitmap.palette),
                                     OpenPictureRequest(width, height, bitmap.depth),
                                     CellsRequest(width, upper, bitmap.depth, first),
                                     FarCellsRequest(width, height - upper, -bitmap.depth, second),
                                     WritePictureRequest(),
                                     Request(kEndPicture),
                                     Request(kCloseDevice)};
    return std::all_of(requests.begin(), requests.end(), [this](Request &request) {
        return device_(0, KOWEN_DD_DISPATCH, request.Data()) == 0;
    });
}

Bytes Host::Draw(const Export &what, MemoryHandle setup) const {
    char name[] = "golden";
    ExportRecord record = {};
    OpenRecord open = {};
    open.outputName = name;
    open.setup = setup;
    open.exportRecord = &record;
    open.returnAreaSize = 64;
    escapeSetup_(setup, KOWEN_ESCAPE_SET_HOST_IO, 4, reinterpret_cast<const void *>(&KeepDrawn),
                 nullptr, 0);
    setDisplayInfo_(what.cell.pageWidth, what.cell.pageHeight, what.cell.resolution,
                    what.cell.resolution);
    drawn.clear();
    bool done = device_(0, KOWEN_DD_INITIALISE, &open) == 0;
    done = done && DrawRequests(what.bitmap, what.cell.targetResolution);
    done = device_(0, KOWEN_DD_TERMINATE, nullptr) == 0 && done;
    setDisplayInfo_(0, 0, 0, 0);
    return done ? std::move(drawn) : Bytes();
}

Bytes Host::Make(const Export &what) const {
    const Profile profile(what.settings);
    const MemoryHandle setup = createSetup_(0, profile.Path().c_str(), "Golden", nullptr);
    if (setup == 0)
        return {};
    const Bytes made = what.door == Door::kBitmap ? SaveBitmap(what, setup) : Draw(what, setup);
    destroySetup_(setup);
    return made;
}

} // namespace kowen::golden
