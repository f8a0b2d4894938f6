// The export door's common record. Nothing in the filter makes one; a process that supplies it
// through hCommon and lpCommon gets its state checks and cancel polls.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

struct CommonRecord {
    int32_t stateWord;          ///< greater than 0: the export door dispatches requests
    int16_t currentError;       ///< cleared before each dispatch; what the dispatch answers
    int32_t statusValue;        ///< progress handed to the host with every cancel poll
    ExportRecord *statusRecord; ///< the host's status callback and context
};

/// The record; nothing in the filter makes one, so both stay 0.
extern MemoryHandle hCommon;
extern CommonRecord *lpCommon;

} // namespace kowen
