// A host of the raster driver for tests: a device that runs requests.
#pragma once

#include "device/device_record.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "raster/door.h"
#include "support/fake_host.h"
#include "support/requests.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace kowen::test {

inline int32_t Door(uint16_t function, void *record) {
    return RASTER_dd_entry32(0, function, record);
}

/// The raster driver between initialisation and termination, and what its host owns.
class RasterDeviceTest : public testing::Test {
protected:
    RasterDeviceTest() {
        record.outputName = name;
        record.setup = setup.handle;
        record.exportRecord = &host.record;
        record.returnAreaSize = 256;
        record.capabilities = capabilities;
    }
    ~RasterDeviceTest() override { Door(KOWEN_DD_TERMINATE, nullptr); }

    void NameOutput(const std::string &path) { std::strcpy(name, path.c_str()); }

    int32_t Initialise() { return Door(KOWEN_DD_INITIALISE, &record); }
    int32_t Terminate() { return Door(KOWEN_DD_TERMINATE, nullptr); }
    int32_t Run(Request request) { return Door(KOWEN_DD_DISPATCH, request.Data()); }
    int32_t Run(uint32_t opcode) { return Run(Request(opcode)); }

    /// From initialisation into the body of a picture in a window of the given corners.
    void Draw(double x1, double y1, double x2, double y2, int dotsPerInch = 100) {
        ASSERT_EQ(Initialise(), 0);
        ASSERT_EQ(Run(kOpenDevice), 0);
        BeginBody(x1, y1, x2, y2, dotsPerInch);
    }
    void BeginBody(double x1, double y1, double x2, double y2, int dotsPerInch = 100) {
        ASSERT_EQ(Run(kBeginPicture), 0);
        ASSERT_EQ(Run(WindowRequest(x1, y1, x2, y2)), 0);
        if (dotsPerInch != 0) {
            ASSERT_EQ(Run(ResolutionRequest(dotsPerInch)), 0);
        }
        ASSERT_EQ(Run(kBeginBody), 0);
    }
    /// The same for a picture of that many columns and rows.
    void DrawPicture(int columns, int rows, int dotsPerInch = 100) {
        Draw(0, 0, columns - 1, rows - 1, dotsPerInch);
    }

    std::vector<uint8_t> PictureBytes() const {
        const auto *bytes = Lock<uint8_t>(lpEMData->pictureBitmap);
        return {bytes, bytes + GlobalSize(lpEMData->pictureBitmap)};
    }
    std::vector<uint8_t> Answers() const {
        const auto *bytes = static_cast<const uint8_t *>(record.returnArea);
        return {bytes, bytes + lpEMData->returnArea.fillPosition};
    }

    char name[4096] = "";
    int32_t capabilities[64] = {};
    TestSetup setup;
    StatusHost host;
    OpenRecord record = {};
};

/// The bytes of values one behind another, in host order.
template <typename... T> std::vector<uint8_t> BytesOf(T... values) {
    std::vector<uint8_t> bytes;
    (bytes.insert(bytes.end(), reinterpret_cast<const uint8_t *>(&values),
                  reinterpret_cast<const uint8_t *>(&values) + sizeof values),
     ...);
    return bytes;
}

} // namespace kowen::test
