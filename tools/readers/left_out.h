// What a picture's file says that a JPEG of this program does not take over.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kowen::cli {

struct LeftOut {
    bool xmp = false;
    bool iptc = false;
    std::vector<std::string> texts; ///< keywords of named texts, as they are in the file

    /// Takes a text in by its keyword: those that carry XMP or IPTC data as such. Names of programs
    /// and times of files are nothing of a user's and not counted.
    void AddText(const std::string &keyword);

    /// Adds the sentences for the user, none when nothing is left out.
    void Tell(std::vector<std::string> *notes) const;
};

/// Whether an APP1 segment's data is XMP.
bool IsXmpSegment(std::span<const uint8_t> data);

/// Whether an APP13 segment's data has IPTC data among its resources.
bool IsIptcSegment(std::span<const uint8_t> data);

/// Whether a TIFF file has IPTC data, by itself or among the resources of an image program.
bool HasTiffIptc(std::span<const uint8_t> file);

} // namespace kowen::cli
