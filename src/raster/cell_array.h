// Cell arrays: rows of pixels that the host draws.
#pragma once

#include "kowen/records.h"

namespace kowen {

/// Handler, opcode 1033: copies rows of cells into the picture bitmap and applies the colour mode
/// to 24-bit rows. Without an open picture (primitive -5) the rows get a bitmap of their own, which
/// is written out at once.
///
/// Pushes KOWEN_ERR_MEMORY (300), and draws nothing, when there is no picture bitmap and when a
/// size does not fit into 32 bits: of a row, and without an open picture of all rows; pushes what
/// RasterWriteCellData does.
///
/// Kept deliberately: rows drawn bottom-up start at the last row but one, and the row counter
/// starts again whenever it has reached 0. Test: CellArray.BottomUpStartsAtTheLastRowButOne.
/// Kept deliberately: a cell array wider than the window is cut to it, but only at 24 bits does
/// the source advance by its own full row. Test: CellArray.CutRowsAdvanceByTheCutLengthBelow24Bits.
/// Kept deliberately: without an open picture the picture's height is 0, so that no row is copied
/// top-down. Test: CellArray.WithoutAPictureTheImageIsBlank.
/// Hardened: cells at a null address are an error, KOWEN_ERR_MEMORY (300).
/// Test: CellArray.NoCellsAreAnError.
/// Hardened: a row that would lie outside the picture bitmap is not written, and no source rows
/// are read but those that there are, of which 4 GiB count; the row counter moves all the same.
/// Tests: CellArray.RowsOutsideTheBitmapAreNotWritten and
/// ...SourceRowsBeyondFourGibibytesAreNotRead.
DdRequest *d_ca(DdRequest *request) noexcept;

} // namespace kowen
