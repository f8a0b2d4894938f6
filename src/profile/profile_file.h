// INI profiles: sections, keys and values, read and rewritten in place.
//
// A profile is lines that end in CR LF, CR or LF; a last line needs no end. A line whose cleaned
// text is the section's name opens the section, a line that begins with "[" ends it. Inside, an
// entry is a line with an "=": the key stands before the first one, the value behind it, without
// spaces removed around it. A ";" begins a comment. Names compare without regard to case. Lines of
// 256 bytes or more are read in pieces of 256, but rewritten whole.
//
// A profile is a regular file: a directory or a device by that name cannot be opened. It is looked
// for under its name as it stands, then in the directory named by the environment variable INIDIR.
// Nothing here reports by message. Strings are borrowed for the call.
#pragma once

#include "io/file_handle.h"

namespace kowen {

/// Size of the path buffers of the filter, the terminating zero included.
inline constexpr int32_t kPathBytes = 144;

/// Reads the value of a key, or lists the keys of a section.
///
/// section      null or empty: returns 0 and touches nothing.
/// key          null lists the keys.
/// defaultText  what the buffer holds when nothing is found; null: returns 0 and touches nothing.
/// buffer       size bytes, all of them written.
/// file         null, empty or a file that cannot be opened: nothing is found.
///
/// Returns the number of characters placed. Of a value: without its quotes, cut at size; of a
/// list: each key followed by a zero byte and one more zero byte at the end, zeros not counted.
///
/// Kept deliberately: a value of size bytes or more fills the buffer, without a terminator.
/// Test: GetPrivateProfileStringTest.AValueAsLongAsTheBufferIsNotTerminated.
///
/// Kept deliberately: a header needs no brackets.
/// Test: GetPrivateProfileStringTest.AHeaderNeedsNoBrackets.
///
/// Kept deliberately: the header that ends a section is not compared with its name; later
/// sections of that name are searched too.
/// Test: GetPrivateProfileStringTest.TheHeaderThatEndsASectionIsNotExamined.
///
/// Kept deliberately: a list that does not fit gives size - 1 and a cut key, and each key behind
/// that adds its length + 1 to the result. Test: ListKeysTest.AListThatDoesNotFitIsCut.
///
/// Hardened: a default of size characters or more is cut to size - 1 and terminated.
/// Test: GetPrivateProfileStringTest.ADefaultThatDoesNotFitIsCut.
/// Hardened: a section name of 256 bytes or more matches nothing.
/// Test: GetPrivateProfileStringTest.AnOverLongSectionMatchesNothing.
int32_t GetPrivateProfileString(const char *section, const char *key, const char *defaultText,
                                char *buffer, int32_t size, const char *file) noexcept;

/// GetPrivateProfileString of "QIV.INI".
/// Not on the export path.
int32_t GetProfileString(const char *section, const char *key, const char *defaultText,
                         char *buffer, int32_t size) noexcept;

/// Reads a value as a number: of "0x" the hexadecimal digits behind it, of which the low 32 bits
/// count; else its leading decimal digits, at most 2147483647. The first 32 characters count.
/// Returns defaultValue when the key is absent or its value is empty.
///
/// Kept deliberately: a value that begins otherwise, with a sign for one, is 0, not the default.
/// Test: GetPrivateProfileIntTest.ASignOrALetterGivesZero.
int32_t GetPrivateProfileInt(const char *section, const char *key, int32_t defaultValue,
                             const char *file) noexcept;

/// GetPrivateProfileInt of "QIV.INI".
/// Not on the export path.
int32_t GetProfileInt(const char *section, const char *key, int32_t defaultValue) noexcept;

/// Writes, replaces or deletes an entry; the whole file is rewritten, all line ends as its first.
///
/// section  null, or of 256 bytes or more: nothing is written. An empty one is the section "[]",
///          which reading never finds.
/// key      null deletes the section.
/// value    null deletes the key, and the header of a section that is empty then.
/// file     null or empty: nothing is written. A file that does not exist is created.
///
/// Returns 0, always. The old file stays as it was, and readable, until the new one is complete
/// on disk and takes its place in one step; when anything fails it stays. Its permissions, its
/// owner where the system allows, and a symbolic link that leads to it are kept. A delete request
/// for a section that is not there writes nothing.
///
/// Hardened: no line is cut, however long.
/// Test: WritePrivateProfileStringTest.LongLinesAreCopiedWhole.
/// Hardened: the new file takes the old one's place by a rename, not by a copy of which a full disk
/// or a crash leaves a part. Test: ReplaceFileTest.TheOldFileStandsUntilTheNewOneIsOnDisk.
///
/// Kept deliberately: a profile without any line end gets CR LF, a new one LF.
/// Test: WritePrivateProfileStringTest.AProfileWithoutLineEndsGetsCrLf.
int32_t WritePrivateProfileString(const char *section, const char *key, const char *value,
                                  const char *file) noexcept;

/// WritePrivateProfileString of "QIV.INI".
/// Not on the export path.
int32_t WriteProfileString(const char *section, const char *key, const char *value) noexcept;

/// Opens a profile under its name, else in the directory INIDIR.
///
/// name      in/out when nameSize is not 0: receives the path in INIDIR when it was found there.
/// nameSize  bytes of the name buffer. A path that does not fit is not found.
/// mode      of qivOpen.
/// Returns the handle, to be closed with INIclose, or 0.
/// Not on the export path.
FileHandle INIopen(char *name, int32_t nameSize, int32_t mode) noexcept;

/// Closes what INIopen opened; 0 is ignored.
void INIclose(FileHandle file) noexcept;

/// Finds a profile in the directory INIDIR, else under its name.
///
/// name  in/out, kPathBytes bytes: receives the full path when it was found in INIDIR. When it is
///       empty and path is given, it first becomes the base name of path with ".ini".
/// path  may be null.
/// Returns 0 when the profile can be read, 1 when not.
/// Hardened: a path of kPathBytes or more is not found.
/// Test: GetProfileDirectoryTest.APathThatDoesNotFitIsNotFound.
int32_t GetProfileDirectory(char *name, const char *path) noexcept;

/// Makes a new empty file in /tmp, readable by its owner only. destination receives its name,
/// below 64 bytes. Returns 1, or 0 with destination unchanged when none could be made.
/// Not on the export path.
///
/// Hardened: the file is there, not only its name, so that nobody else can put one under it.
/// Test: QIVGetTempFileName.MakesAnEmptyFileOfItsOwn.
int32_t QIVGetTempFileName(uint32_t, uint32_t, uint32_t, char *destination) noexcept;

} // namespace kowen
