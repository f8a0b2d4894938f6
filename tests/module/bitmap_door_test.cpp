// 48 worked exports through the loaded module: profile, bitmap and cell in, JPEG, status calls and
// the host's pixels out, byte for byte.
#include "support/module_host.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <array>
#include <fstream>
#include <string>
#include <vector>

namespace {

using nlohmann::json;
using Bytes = std::vector<uint8_t>;
using StatusCall = std::array<int64_t, 7>;

std::vector<StatusCall> statusCalls;
int32_t statusAnswer = 0;

int32_t OnStatus(uintptr_t context, int32_t command, int32_t code, int32_t value1, int32_t value2,
                 int32_t value3, void *) {
    statusCalls.push_back(
        {static_cast<int64_t>(context), command, code, value1, value2, value3, 0});
    return statusAnswer;
}

Bytes FromHex(const json &text) {
    const auto digits = text.get<std::string>();
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes.push_back(static_cast<uint8_t>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    return bytes;
}

// Global memory of the module, as a host uses it.
struct ModuleMemory {
    decltype(&GlobalAlloc) alloc;
    decltype(&GlobalLock) lock;
    decltype(&GlobalFree) free;
    decltype(&GlobalSize) size;

    explicit ModuleMemory(const ModuleHost &module)
        : alloc(module.Symbol<decltype(&GlobalAlloc)>("GlobalAlloc")),
          lock(module.Symbol<decltype(&GlobalLock)>("GlobalLock")),
          free(module.Symbol<decltype(&GlobalFree)>("GlobalFree")),
          size(module.Symbol<decltype(&GlobalSize)>("GlobalSize")) {}

    MemoryHandle Block(const Bytes &bytes) const {
        const MemoryHandle handle = alloc(KOWEN_GLOBAL_FLAGS, static_cast<uint32_t>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), static_cast<uint8_t *>(lock(handle)));
        return handle;
    }
    Bytes Content(MemoryHandle handle) const {
        const auto *data = static_cast<const uint8_t *>(lock(handle));
        return data == nullptr ? Bytes{} : Bytes(data, data + size(handle));
    }
};

// The JPEG in a memory block: everything before the last byte that is not 0, which is 255.
Bytes JpegOf(Bytes block) {
    while (!block.empty() && block.back() == 0)
        block.pop_back();
    EXPECT_FALSE(block.empty());
    if (!block.empty()) {
        EXPECT_EQ(block.back(), 255);
        block.pop_back();
    }
    return block;
}

CellRecord CellOf(const json &values) {
    CellRecord cell = {};
    cell.resolution = values["resolution"].get<int16_t>();
    cell.targetResolution = values["target_resolution"].get<uint16_t>();
    cell.targetWidth = values["target_width"].get<int32_t>();
    cell.targetHeight = values["target_height"].get<int32_t>();
    cell.pageWidth = values["page_width"].get<int32_t>();
    cell.pageHeight = values["page_height"].get<int32_t>();
    return cell;
}

BitmapRecord BitmapOf(const json &values, const ModuleMemory &memory) {
    BitmapRecord bitmap = {};
    bitmap.depth = values["depth"].get<uint16_t>();
    bitmap.width = values["width"].get<uint16_t>();
    bitmap.height = values["height"].get<uint16_t>();
    bitmap.palette = values["palette"].is_null() ? 0 : memory.Block(FromHex(values["palette"]));
    bitmap.pixels = memory.Block(FromHex(values["pixels"]));
    return bitmap;
}

const json &Cases() {
    static const json cases = [] {
        std::ifstream file(KOWEN_TEST_DATA "/bitmap_door.json");
        return json::parse(file);
    }();
    return cases;
}

class BitmapDoor : public testing::TestWithParam<int> {};

TEST_P(BitmapDoor, GivesTheWorkedBytes) {
    const json &worked = Cases()[static_cast<std::size_t>(GetParam())];
    SCOPED_TRACE(worked["label"].get<std::string>());
    const json &expected = worked["expected"];
    TempDirectory directory;
    const std::string profile = directory.Write("worked.ini", worked["profile"].get<std::string>());

    ModuleHost module;
    const ModuleMemory memory(module);
    const MemoryHandle setup = module.Entry<CreateSetupFunction>("CreateSetup")(
        0, profile.c_str(), worked["section"].get<std::string>().c_str(), nullptr);
    BitmapRecord bitmap = BitmapOf(worked["bitmap"], memory);
    const Bytes before = memory.Content(bitmap.pixels);
    const CellRecord cell = CellOf(worked["cell"]);
    ExportRecord record = {};
    record.context = 7;
    record.statusCallback = OnStatus;
    HostRecord host = {};
    host.setup = setup;
    host.exportRecord = &record;
    statusCalls.clear();
    statusAnswer = worked["status_answer"].get<int32_t>();

    const int32_t code =
        module.Entry<ExportCellDataFunction>("ExportCellData")("", &bitmap, &cell, &host);

    EXPECT_EQ(code, expected["code"].get<int32_t>());
    EXPECT_EQ(JpegOf(memory.Content(record.memoryBlock)), FromHex(expected["jpeg"]));
    EXPECT_EQ(json(statusCalls), expected["status_calls"]);
    const bool unchanged = expected["pixels_after"] == "unchanged";
    EXPECT_EQ(memory.Content(bitmap.pixels),
              unchanged ? before : FromHex(expected["pixels_after"]));

    memory.free(record.memoryBlock);
    memory.free(bitmap.pixels);
    memory.free(bitmap.palette);
    EXPECT_EQ(module.Entry<DestroySetupFunction>("DestroySetup")(setup), 0);
}

INSTANTIATE_TEST_SUITE_P(Worked, BitmapDoor, testing::Range(0, 48));

TEST(BitmapDoorData, HoldsFortyEightExports) {
    EXPECT_EQ(Cases().size(), 48u);
}

} // namespace
