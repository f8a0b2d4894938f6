// What workers hand over: progress and outcomes, as bytes in a pipe.
#pragma once

#include "batch/job.h"

#include <cstdint>
#include <string>

namespace kowen::cli {

/// A job's outcome as bytes, and back. The bytes stay within one run of the program.
std::string PackReport(const JobReport &report);
JobReport UnpackReport(const std::string &bytes);

enum class MessageKind : uint8_t { kReading, kExporting, kReport };

/// A message: how far the worker's picture is, or a packed report.
struct JobMessage {
    MessageKind kind = MessageKind::kReport;
    double fraction = 0;
    std::string report;
};

/// A message as it goes through the pipe.
std::string PackMessage(const JobMessage &message);

/// Takes the first whole message off the front of `bytes`. Returns whether there was one.
bool TakeMessage(std::string *bytes, JobMessage *message);

} // namespace kowen::cli
