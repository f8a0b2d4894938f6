#include "readers/left_out.h"

#include "readers/tiff_structure.h"

#include <algorithm>
#include <string_view>

namespace kowen::cli {
namespace {

using namespace std::string_view_literals;

constexpr size_t kMostNamed = 5; // texts
constexpr auto kIptcResource = "8BIM\x04\x04"sv;
constexpr uint32_t kIptcTag = 33723;
constexpr uint32_t kResourcesTag = 34377;

std::string_view TextOf(std::span<const uint8_t> data) {
    return {reinterpret_cast<const char *>(data.data()), data.size()};
}

// Keywords are Latin-1 at best; the user may have a terminal that obeys them.
std::string Plain(std::string text) {
    for (char &c : text) {
        if (c < ' ' || c > '~')
            c = '?';
    }
    return text;
}

std::string Quoted(const std::vector<std::string> &texts) {
    std::string list;
    for (size_t i = 0; i < std::min(texts.size(), kMostNamed); ++i)
        list += (i == 0 ? "\"" : ", \"") + Plain(texts[i]) + "\"";
    if (texts.size() > kMostNamed)
        list += ", " + std::to_string(texts.size()) + " in all,";
    return list;
}

} // namespace

void LeftOut::AddText(const std::string &keyword) {
    if (keyword == "XML:com.adobe.xmp" || keyword == "Raw profile type xmp")
        xmp = true;
    else if (keyword == "Raw profile type iptc" || keyword == "Raw profile type 8bim")
        iptc = true;
    else if (keyword != "Software" && !keyword.starts_with("date:"))
        texts.push_back(keyword);
}

void LeftOut::Tell(std::vector<std::string> *notes) const {
    if (xmp && iptc)
        notes->push_back("the XMP and IPTC data were left out");
    else if (xmp || iptc)
        notes->push_back(std::string("the ") + (xmp ? "XMP" : "IPTC") + " data was left out");
    if (!texts.empty())
        notes->push_back((texts.size() == 1 ? "the text " : "the texts ") + Quoted(texts) +
                         (texts.size() == 1 ? " was left out" : " were left out"));
}

bool IsXmpSegment(std::span<const uint8_t> data) {
    return TextOf(data).starts_with("http://ns.adobe.com/xap/1.0/\0"sv);
}

bool IsIptcSegment(std::span<const uint8_t> data) {
    const std::string_view text = TextOf(data);
    return text.starts_with("Photoshop 3.0\0"sv) && text.find(kIptcResource) != text.npos;
}

bool HasTiffIptc(std::span<const uint8_t> file) {
    const TiffStructure tiff(file);
    if (!tiff.Valid())
        return false;
    if (tiff.Find(tiff.First(), kIptcTag) != 0)
        return true;
    const size_t entry = tiff.Find(tiff.First(), kResourcesTag);
    const size_t count = entry == 0 ? 0 : tiff.Long(entry + 4);
    const size_t at = entry == 0 ? 0 : tiff.Long(entry + 8);
    if (at > file.size() || count > file.size() - at)
        return false;
    return TextOf(file.subspan(at, count)).find(kIptcResource) != std::string_view::npos;
}

} // namespace kowen::cli
