// The cell writer: bands of 24-bit pixels in, a JPEG file out.
#pragma once

#include "io/file_handle.h"

#include <cstdint>

namespace kowen {

/// Begins a picture: makes the compression environment and writes everything before the first scan,
/// for a sequential file also the scan header. The output, which becomes big-endian, and the size
/// are kept in the current setup's header state.
///
/// output          open; stays the caller's.
/// width, height   pixels and rows of the picture.
/// depth, palette  ignored: pixels are 24 bits.
/// environment     out: its handle, to be ended by EndCellBitmap or FreeCompressEnv; 0 without
///                 memory or a current setup.
/// Returns 1: bands come from the top of the picture to its bottom.
int32_t BeginCellBitmap(FileHandle output, uint32_t width, uint32_t height, int32_t depth,
                        const void *palette, MemoryHandle *environment) noexcept;

/// Maps, codes and writes one band.
///
/// pixels       handle of its 24-bit rows, bottom-up, each padded to 4 bytes; they are changed, and
///              stay the caller's. 0 writes nothing.
/// width, rows  pixels and rows of the band.
/// depth        bits per pixel; 24 for anything to be exchanged.
/// pixelOrder   PixelOrder: kPixelOrderBgr exchanges red and blue.
/// environment  of BeginCellBitmap; 0 writes nothing.
/// Returns 0; KOWEN_ERR_MEMORY (300) when the block is too small for the band or memory is
/// exhausted; -1 when a progressive picture cannot be kept.
int32_t WriteCellBits(FileHandle output, MemoryHandle pixels, uint32_t width, uint32_t rows,
                      int32_t depth, uint16_t pixelOrder, MemoryHandle environment) noexcept;

/// Ends a picture: completes the last byte with ones, writes EOI to the output of the current
/// setup's header state, unless bytes are missing there, and frees the environment; 0 is ignored.
/// Returns 0.
int32_t EndCellBitmap(FileHandle ignored, MemoryHandle environment) noexcept;

/// Turns the size of a picture into the pixels and the depth that the current setup asks for.
///
/// width, height  in/out: inches, then pixels. Without a resolution in the setup they stay.
/// depth          out: 24, or the code of an undocumented colour format; an unknown one leaves it.
/// resolution     in/out: dots per inch, of which the low 16 bits count; 0 = not known.
///
/// Changes the setup: with the size or resolution taken from the picture or the display, its size
/// or resolutions become theirs. Without a current setup nothing is written. Returns 0.
int32_t QueryCellFormat(double *width, double *height, uint16_t *depth, int32_t *resolution,
                        void *ignored1, void *ignored2) noexcept;

} // namespace kowen
