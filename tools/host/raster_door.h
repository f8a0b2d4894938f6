// The export as a drawing host makes it: requests to the raster device, the picture in strips.
#pragma once

#include "host/exporter.h"

#include <memory>
#include <string>

namespace kowen::host {

/// One picture played to the module's raster device. The device draws the picture's own pixels at
/// one resolution and applies the setup's colour mode itself, but not to 32-bit pixels.
class RasterDoor {
public:
    /// outputName  for messages.
    RasterDoor(const FilterModule &filter, const Setup &exportSetup, Progress *shownProgress,
               const std::string &outputName);

    /// Ends the device, which closes an output that is still open.
    ~RasterDoor();
    RasterDoor(const RasterDoor &) = delete;
    RasterDoor &operator=(const RasterDoor &) = delete;

    /// Exports through the host I/O procedure into a store. Once only.
    /// resolution  dots per inch, 1 to 32767.
    /// Throws Cancelled, or HostError with the output's name and the reason.
    void ToStore(const Bitmap &bitmap, int resolution, const Page &page, ByteStore *store);

private:
    class Request;

    void Initialise();
    void DescribePicture(const Bitmap &bitmap, int resolution);
    void DrawPicture(const Bitmap &bitmap);
    void SetColours(const Bitmap &bitmap);
    void Send(uint32_t opcode);
    void Send(Request *request);
    void Check(int32_t result);

    const FilterModule &module;
    const Setup &setup;
    Progress *progress;
    std::string name;
    DeviceDoorFunction device = nullptr;
    ExportRecord status = {}; ///< the device's until it is ended
    ByteStore *target = nullptr;
    bool initialised = false;
};

} // namespace kowen::host
