#include "module/recorded_export.h"

#include "support/hex.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace {

using nlohmann::json;

std::vector<uint8_t> BytesOf(const json &value) {
    return value.is_null() ? std::vector<uint8_t>{} : FromHex(value.get<std::string>());
}

TestBitmap BitmapOf(const json &values) {
    return {values["depth"].get<int>(), values["width"].get<int>(), values["height"].get<int>(),
            BytesOf(values["pixels"]), BytesOf(values["palette"])};
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

// A call in the file has the host's context, 7, in front and a 0 for the reply's address behind.
std::vector<std::array<int32_t, 5>> CallsOf(const json &values) {
    std::vector<std::array<int32_t, 5>> calls;
    for (const json &call : values)
        calls.push_back({call[1].get<int32_t>(), call[2].get<int32_t>(), call[3].get<int32_t>(),
                         call[4].get<int32_t>(), call[5].get<int32_t>()});
    return calls;
}

RecordedExport ExportOf(const json &values, size_t index) {
    const json &expected = values["expected"];
    RecordedExport recorded;
    recorded.index = index;
    recorded.label = values["label"].get<std::string>();
    recorded.profile = values["profile"].get<std::string>();
    recorded.section = values["section"].get<std::string>();
    recorded.bitmap = BitmapOf(values["bitmap"]);
    recorded.cell = CellOf(values["cell"]);
    recorded.statusAnswer = values["status_answer"].get<int32_t>();
    recorded.code = expected["code"].get<int32_t>();
    recorded.jpeg = BytesOf(expected["jpeg"]);
    recorded.statusCalls = CallsOf(expected["status_calls"]);
    const bool unchanged = expected["pixels_after"] == "unchanged";
    recorded.pixelsAfter = unchanged ? recorded.bitmap.pixels : BytesOf(expected["pixels_after"]);
    return recorded;
}

std::vector<RecordedExport> ReadAll() {
    std::ifstream file(KOWEN_TEST_DATA "/bitmap_door.json");
    std::vector<RecordedExport> all;
    for (const json &values : json::parse(file))
        all.push_back(ExportOf(values, all.size()));
    if (all.size() != kWorkedExports) {
        std::fprintf(stderr, "bitmap_door.json has %zu exports\n", all.size());
        std::abort();
    }
    return all;
}

} // namespace

const RecordedExport &Recorded(size_t index) {
    static const std::vector<RecordedExport> all = ReadAll();
    return all.at(index);
}
