// The way of a JPEG from the filter to its sink: its head is changed, the rest passes.
#pragma once

#include "output/sink.h"
#include "stream/jpeg_head.h"
#include "stream/jpeg_watch.h"

#include <vector>

namespace kowen::host {

/// Nothing throws: the filter's procedure calls these.
class EditedStream {
public:
    /// The sink must outlive the stream.
    EditedStream(Sink *target, const HeadEdits &headEdits) : sink(target), edits(headEdits) {}

    /// Returns 0 or an error number; after the first error nothing is taken any more.
    int Write(const uint8_t *bytes, size_t count) noexcept;

    /// Writes what is kept back and finishes the sink. Returns the first error of all calls.
    int Finish() noexcept;

    int Error() const { return error; }

    /// Whether what was taken is kept back: the head is not whole yet.
    bool InHead() const { return inHead; }

    /// Whether the error is that the head cannot be changed: it is not as the filter writes it.
    bool HeadUnknown() const { return headUnknown; }
    const JpegWatch &Watch() const { return watch; }

private:
    void Pass(const uint8_t *bytes, size_t count) noexcept;

    Sink *sink;
    const HeadEdits &edits;
    std::vector<uint8_t> head; ///< kept back until it is whole
    bool inHead = true;
    bool headUnknown = false;
    int error = 0;
    JpegWatch watch;
};

} // namespace kowen::host
