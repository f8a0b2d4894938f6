// The peer of the export benchmarks: libjpeg-turbo's encoder doing the same work.
#pragma once

#include "module_export.h"
#include "picture.h"

/// How libjpeg-turbo lays out a progressive file.
enum class Scans {
    kSequential, ///< one interleaved scan
    kUsual,      ///< jpeg_simple_progression, ten scans
    kFour        ///< as the module: the DC of all components, then the AC of each
};

/// Compresses the picture with a fresh compressor to memory: accurate integer DCT, the module's
/// sampling and quantisation tables, rows fed in reverse order. Returns the JPEG's bytes.
size_t EncodeWithTurbo(const Picture &picture, const JpegChoice &choice, Scans scans);
