#include "readers/pnm_header.h"

#include "failure.h"
#include "readers/source.h"

#include <cstdlib>
#include <string_view>

namespace kowen::cli {
namespace {

constexpr int64_t kEnd = -1;
constexpr int64_t kNoNumber = -2;
constexpr int64_t kLargest = UINT32_MAX;
constexpr uint32_t kLargestSample = 65535;
constexpr size_t kLongestLine = 1000;

[[noreturn]] void FailHeader(const ByteInput &input, const std::string &what) {
    throw Failure(NameOf(input.Path()) + ": not a whole PNM header: " + what);
}

bool IsSpace(int byte) {
    return byte == ' ' || (byte >= '\t' && byte <= '\r');
}

// Behind a '#': the rest of the line.
void ReadComment(ByteInput *input, std::string *comment) {
    std::string line;
    for (int byte = input->Byte(); byte >= 0 && byte != '\n' && byte != '\r';
         byte = input->Byte()) {
        if (line.size() < kLongestLine)
            line += static_cast<char>(byte);
    }
    line.erase(0, line.find_first_not_of(' '));
    if (comment != nullptr && !line.empty())
        *comment += (comment->empty() ? "" : "\n") + line;
}

uint32_t HeaderNumber(ByteInput *input, PnmHeader *header, const char *what) {
    const int64_t number = ReadPnmNumber(input, &header->comment);
    if (number < 0)
        FailHeader(*input, std::string("the ") + what + " is missing");
    return static_cast<uint32_t>(number);
}

std::string ReadLine(ByteInput *input) {
    std::string line;
    for (int byte = input->Byte(); byte != '\n'; byte = input->Byte()) {
        if (byte < 0 || line.size() > kLongestLine)
            FailHeader(*input, "ENDHDR is missing");
        line += static_cast<char>(byte);
    }
    return line;
}

uint32_t PamNumber(const ByteInput &input, const std::string &name, const std::string &value) {
    char *end = nullptr;
    const unsigned long number = std::strtoul(value.c_str(), &end, 10);
    if (end == value.c_str() || number > static_cast<unsigned long>(kLargest))
        FailHeader(input, name + " is no number");
    return static_cast<uint32_t>(number);
}

void TakePamLine(const ByteInput &input, const std::string &line, PnmHeader *header) {
    const size_t space = line.find_first_of(" \t");
    const std::string name = line.substr(0, space);
    std::string value = space == std::string::npos ? "" : line.substr(space);
    value.erase(0, value.find_first_not_of(" \t"));
    if (name == "WIDTH")
        header->width = PamNumber(input, name, value);
    else if (name == "HEIGHT")
        header->height = PamNumber(input, name, value);
    else if (name == "DEPTH")
        header->channels = PamNumber(input, name, value);
    else if (name == "MAXVAL")
        header->maximum = PamNumber(input, name, value);
    else if (name == "TUPLTYPE")
        header->alpha = value.find("_ALPHA") != std::string::npos;
    else if (name.starts_with('#') && line.size() > 1)
        header->comment += (header->comment.empty() ? "" : "\n") + line.substr(1);
}

void ReadPam(ByteInput *input, PnmHeader *header) {
    ReadLine(input); // behind the P7
    for (std::string line = ReadLine(input); !line.starts_with("ENDHDR"); line = ReadLine(input))
        TakePamLine(*input, line, header);
    if (header->channels < 1 || header->channels > 4)
        FailHeader(*input, "pictures of " + std::to_string(header->channels) +
                               " channels cannot be read here");
    header->alpha = header->alpha || header->channels == 2 || header->channels == 4;
    if (header->alpha && header->channels % 2 != 0)
        FailHeader(*input, "the tuple type and the depth do not fit");
}

} // namespace

int64_t ReadPnmNumber(ByteInput *input, std::string *comment) {
    int byte = input->Byte();
    for (; IsSpace(byte) || byte == '#'; byte = input->Byte()) {
        if (byte == '#')
            ReadComment(input, comment);
    }
    if (byte < 0)
        return kEnd;
    int64_t number = 0;
    bool any = false;
    for (; byte >= '0' && byte <= '9'; byte = input->Byte()) {
        any = true;
        number = number * 10 + (byte - '0');
        if (number > kLargest)
            return kNoNumber;
    }
    // The one byte behind the number is taken with it; the samples of P4 to P6 start after it.
    return any && (byte < 0 || IsSpace(byte)) ? number : kNoNumber;
}

PnmHeader ReadPnmHeader(ByteInput *input) {
    PnmHeader header;
    input->Byte();
    header.type = input->Byte() - '0';
    if (header.type == 7) {
        ReadPam(input, &header);
    } else {
        header.channels = header.type == 3 || header.type == 6 ? 3 : 1;
        header.width = HeaderNumber(input, &header, "width");
        header.height = HeaderNumber(input, &header, "height");
        if (!header.Bitmap())
            header.maximum = HeaderNumber(input, &header, "largest sample");
    }
    if (header.width == 0 || header.height == 0)
        FailHeader(*input, "there are no pixels");
    if (header.maximum == 0 || header.maximum > kLargestSample)
        FailHeader(*input, "the largest sample is from 1 to 65535");
    return header;
}

} // namespace kowen::cli
