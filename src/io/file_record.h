// The record behind a file handle. Private to this folder and its tests.
#pragma once

#include "io/file_handle.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"

#include <cstdint>
#include <cstdio>

namespace kowen {

/// The buffer of a disk file; loads and writes are of this size.
inline constexpr int32_t kDiskBufferBytes = 12288;
/// QivFile::error after a failure.
inline constexpr int32_t kIoError = -1;
/// QivFile::filePos of a memory file.
inline constexpr int32_t kMemoryFilePos = -1;

/// Allocated zero-filled. Indexes and positions are in bytes.
struct QivFile {
    std::FILE *fp;      ///< the stream of a disk file; else null
    MemoryHandle hBuf;  ///< disk: the buffer, owned. Memory: the caller's block
    void *ppData;       ///< memory: address of the caller's pointer to the block
    int32_t bufPos;     ///< index in the buffer of the next byte to read or write
    int32_t bufLast;    ///< index of the buffer's last valid byte; -1 = none
    int32_t bufMax;     ///< index of the buffer's last byte; -1 = none
    int32_t bufBase;    ///< file position of buffer byte 0; memory: 0
    int32_t filePos;    ///< where the next load starts; kMemoryFilePos marks a memory file
    int32_t dirty;      ///< 1: the buffer holds bytes that the file has not got yet
    int32_t growBy;     ///< memory: bytes added each time the block is full
    int32_t fileLength; ///< at the open and after each flush; memory: the last byte's index
    void *ownedData;    ///< address of a pointer to a block that qivCloseandDelete frees; or null
    HostIoProcedure ioProc; ///< or null; then nothing else but ioHandle counts
    uintptr_t ioHandle;     ///< what ioProc's open answered
    int32_t mode;           ///< as given to qivOpen
    int32_t external;       ///< 1: fp is the caller's and stays open
    int32_t error;          ///< 0, or kIoError once anything failed
    uint16_t byteOrder;     ///< the three settings of typed_io.h
    uint16_t numberFormat;
    uint16_t lineFormat;
    int32_t named;      ///< 1: opened by file name
    int32_t lost;       ///< 1: bytes were to be written that the file has not taken; see HasLost
    int32_t hostCounts; ///< 1: ioProc has answered a write with what it was asked for
    int32_t sequential; ///< 1: fp cannot seek; it always stands at filePos

    // Set by whoever opens a document stream over a file; see document_file.cpp.
    int32_t docPos;          ///< position in the stream
    int32_t isDoc;           ///< 1: reads and seeks go through docRead and docSeek
    MemoryHandle hFat;       ///< int32_t per 512-byte sector: the next one of its chain
    MemoryHandle hMiniFat;   ///< the same per 64-byte sector of the mini stream
    int32_t miniStreamStart; ///< first 512-byte sector of the mini stream
    int32_t docStart;        ///< first sector of the stream
    int32_t docSize;         ///< bytes in the stream
};

/// The record of a handle, locked while this lives; false for handle 0.
class LockedFile {
public:
    explicit LockedFile(FileHandle file) noexcept : handle_(file), record_(Lock<QivFile>(file)) {}
    ~LockedFile() { GlobalUnlock(handle_); }
    LockedFile(const LockedFile &) = delete;
    LockedFile &operator=(const LockedFile &) = delete;

    explicit operator bool() const noexcept { return record_; }
    QivFile *operator->() const noexcept { return record_; }
    QivFile &operator*() const noexcept { return *record_; }

private:
    FileHandle handle_;
    QivFile *record_;
};

inline bool IsMemoryFile(const QivFile &file) noexcept {
    return file.filePos == kMemoryFilePos;
}

/// Whether the open mode allows writing: seeks past the end, and the terminator byte of memory
/// files.
inline bool IsWritable(const QivFile &file) noexcept {
    return (file.mode & (KOWEN_MODE_WRITE | kModeUpdate)) != 0;
}

/// Whether bytes are missing from the file. A host's procedure that answers no write with its
/// count, always 0 or 1 for instance, does not tell how much it has written and is believed to take
/// all.
inline bool HasLost(const QivFile &file) noexcept {
    return file.lost && (!file.ioProc || file.hostCounts);
}

/// Enters the error state; returns -1 for the caller to hand on.
inline int32_t Fail(QivFile &file) noexcept {
    file.error = kIoError;
    return kIoError;
}

} // namespace kowen
