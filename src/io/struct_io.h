// Records described by a short text, moved between a packed file and aligned memory.
// Not on the export path.
//
// A description is a sequence of items, each an optional decimal count and a code in either case:
//   C chars, S 16-bit integers, L 32-bit integers, F floats, D doubles (8 bytes);
//   { } a nested structure; ( | ) a union, never transferred;
//   [ ] members that are in memory but not in the file; P nothing (reading only).
// Memory is in the host's byte order, the file in the one that qivSetDataFormat chose.
// Members are aligned to their size in memory, structures and unions to their pad width, and the
// record's end to the whole description's. Offsets go on from record to record.
#pragma once

#include "io/file_handle.h"

namespace kowen {

/// Brackets inside brackets; a description with more ends the transfer with -1.
inline constexpr int32_t kMaxNesting = 64;

/// Reads records into buffer, which is as large as the description says. Gaps before L, F, D, {
/// and ( and at a record's end are set to 0; a gap before S and a union's bytes are untouched.
/// Returns the records read, or the result (0 or -1) of the transfer that failed.
///
/// Kept deliberately: an unknown code sets the result to -1 and the transfer goes on, so that the
/// result is then the records finished after it, minus one.
/// Test: QivReadStruct.AnUnknownCodeOnlyLowersTheResult.
/// Kept deliberately: chars that are cut short by the end of the file count as read.
/// Test: QivReadStruct.CharsCutShortCountAsRead.
/// Kept deliberately: an unclosed [ holds for the records after it too.
/// Test: QivReadStruct.AnUnclosedStretchHoldsForLaterRecords.
/// Hardened: a count or offset beyond 31 bits ends the transfer with -1 before it.
/// Tests: QivReadStruct.CountsBeyondThirtyOneBitsEndTheTransfer and
/// ...OffsetsBeyondThirtyOneBitsEndTheTransfer.
int32_t qivReadStruct(FileHandle file, const char *description, void *buffer,
                      int32_t records) noexcept;

/// Writes records from buffer, members packed. Results as of qivReadStruct.
///
/// Kept deliberately: "(" and ")" and P are unknown codes; the alternatives of a union are written
/// one after another. Test: QivWriteStruct.AUnionsAlternativesAreWrittenAsMembers.
int32_t qivWriteStruct(FileHandle file, const char *description, const void *buffer,
                       int32_t records) noexcept;

/// Returns the largest alignment that the members need: 1, 2, 4 or 8. From a "{" or "(" on it
/// counts up to the closing bracket.
int32_t GetPadWidth(const char *text) noexcept;

/// Measures the union whose "(" text starts with. Returns its ")", or the terminating zero.
///
/// Kept deliberately: only alternatives followed by "|" count, so that the last never does, and
/// the size is not padded. Test: GetUnionSize.TheLastAlternativeNeverCounts.
/// Hardened: a size beyond 32 bits, or nesting beyond kMaxNesting, gives 0xFFFFFFFF.
/// Test: GetUnionSize.WhatCannotBeMeasuredIsAsLargeAsCanBe.
const char *GetUnionSize(const char *text, uint32_t *size) noexcept;

} // namespace kowen
