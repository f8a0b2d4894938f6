// The requests to a raster device: what each needs, and what the device knows of its picture.
#pragma once

#include "calls.h"

#include <cstdint>

namespace kowen::check {

/// What the host's requests have made of a device, from its initialisation on.
struct DeviceState {
    int32_t state = 1;
    int64_t windowColumns = 1;
    bool pictureOpen = false;
    uint32_t pictureDepth = 0;
    uint32_t pictureRows = 0;
    uint64_t rowsDrawn = 0;
    bool rowsReversed = false;
    bool lacksPicture = false; ///< open, with none written yet, and that is not told
    double windowY1 = 0;
    double windowY2 = 0;
    uint32_t returnAreaSize = 0;
    uint32_t returnAreaUsed = 0;
};

/// Whether the device runs a request in the state that it is in.
bool RequestRuns(const DeviceState &device, const void *request);

/// Reports what is wrong with a request before the device gets it.
void CheckRequest(Call &call, const DeviceState &device, const void *request);

/// How many bytes a request appends to the return area: 0 for one that asks nothing or does not
/// run.
uint32_t AnswerBytes(const DeviceState &device, const void *request);

/// What the request, and its result, have made of the device that has run it.
void FollowRequest(DeviceState *device, const void *request, int32_t result);

} // namespace kowen::check
