// Every code of the public header has its name in the trace.
#include "check/names.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>

namespace {

using namespace kowen::check;

/// Never in a call: rows of the table, values of profiles, limits.
const std::set<std::string> kNotCalled = {
    "KOWEN_ORDINAL_CREATE_SETUP",
    "KOWEN_ORDINAL_DESTROY_SETUP",
    "KOWEN_ORDINAL_EDIT_SETUP",
    "KOWEN_ORDINAL_ESCAPE_SETUP",
    "KOWEN_ORDINAL_GET_FILTER_VERSION",
    "KOWEN_ORDINAL_DD_ENTRY",
    "KOWEN_ORDINAL_RASTER_DD_ENTRY",
    "KOWEN_ORDINAL_EXPORT_CELL_DATA",
    "KOWEN_ORDINAL_DLL_NAME",
    "KOWEN_LINE_DEFAULT",
    "KOWEN_OPERATION_SEQUENTIAL",
    "KOWEN_OPERATION_PROGRESSIVE",
    "KOWEN_MIN_RESOLUTION",
    "KOWEN_MAX_RESOLUTION",
    "KOWEN_MIN_INCHES",
    "KOWEN_MAX_INCHES",
    "KOWEN_MIN_QUALITY",
    "KOWEN_MAX_QUALITY",
};

using Namer = std::function<std::string(int64_t)>;

template <typename Code> Namer With(std::string (*name)(Code)) {
    return [name](int64_t code) { return name(static_cast<Code>(code)); };
}

/// Of two that fit, the longer one counts.
const std::map<std::string, Namer> kNamers = {
    {"KOWEN_OK", With(ResultName)},
    {"KOWEN_ERR_", With(ResultName)},
    {"KOWEN_COLOR_", With(ColorModeName)},
    {"KOWEN_ESCAPE_COLOR_", With(EscapeColorName)},
    {"KOWEN_ESCAPE_QUALITY_", With(EscapeQualityName)},
    {"KOWEN_ESCAPE_RESOLUTION_", With(EscapeResolutionName)},
    {"KOWEN_ESCAPE_SIZE_", With(EscapeSizeName)},
    {"KOWEN_ESCAPE_", With(EscapeName)},
    {"KOWEN_ESCAPE_FORMAT_", With(EscapeFormatName)},
    {"KOWEN_FORMAT_", With(FormatName)},
    {"KOWEN_QUALITY_", With(QualityModeName)},
    {"KOWEN_RESOLUTION_", With(ResolutionModeName)},
    {"KOWEN_SIZE_", With(SizeModeName)},
    {"KOWEN_STATUS_", With(StatusCommandName)},
    {"KOWEN_STATUS_CODE_", With(StatusCodeName)},
    {"KOWEN_IO_", With(IoOperationName)},
    {"KOWEN_SEEK_", With(SeekName)},
    {"KOWEN_MODE_", With(FileModeNames)},
    {"KOWEN_DOOR_", With(ShortDoorFunctionName)},
    {"KOWEN_DD_", With(DoorFunctionName)},
    {"KOWEN_REQUEST_", With(OpcodeName)},
    {"KOWEN_PRIMITIVE_", With(PrimitiveName)},
    {"KOWEN_GLOBAL_FLAGS", With(AllocationFlagsName)},
};

std::string NameOf(const std::string &constant, int64_t code) {
    for (size_t length = constant.size(); length > 0; --length)
        if (const auto found = kNamers.find(constant.substr(0, length)); found != kNamers.end())
            return found->second(code);
    return "";
}

std::string HeaderWithoutComments() {
    std::ifstream file(KOWEN_CODES_HEADER);
    std::ostringstream text;
    text << file.rdbuf();
    std::string header = text.str();
    for (size_t begin; (begin = header.find("/*")) != std::string::npos;)
        header.erase(begin, header.find("*/", begin) + 2 - begin);
    return header;
}

/// "KOWEN_IO_OPEN = 1" and "#define KOWEN_STATUS_CODE_RANGE (-2)": what stands behind a name, or
/// nothing.
std::string ValueBehind(const std::string &header, size_t place) {
    const size_t begin = header.find_first_not_of("= (", place);
    return header.substr(begin, header.find_first_not_of("-x.0123456789ABCDEF", begin) - begin);
}

TEST(CheckNames, EveryCodeOfTheHeaderHasItsName) {
    const std::string header = HeaderWithoutComments();
    std::set<std::string> seen;
    for (size_t at = 0; (at = header.find("KOWEN_", at)) != std::string::npos;) {
        const size_t end = header.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789", at);
        const std::string name = header.substr(at, end - at);
        at = end;
        seen.insert(name);
        if (name == "KOWEN_CODES_H" || kNotCalled.contains(name))
            continue;
        const std::string value = ValueBehind(header, end);
        ASSERT_NE(value, "") << name << " has no value that is read here";
        EXPECT_EQ(NameOf(name, std::stoll(value, nullptr, 0)), name);
    }
    EXPECT_GT(seen.size(), 100u);
    for (const std::string &name : kNotCalled)
        EXPECT_TRUE(seen.contains(name)) << name << " is no constant any more";
}

TEST(CheckNames, ACodeWithoutANameIsItsNumber) {
    EXPECT_EQ(ResultName(4), "4");
    EXPECT_EQ(StatusCodeName(0), "0");
    EXPECT_EQ(OpcodeName(600), "600");
}

TEST(CheckNames, FileModesStandSideBySide) {
    EXPECT_EQ(FileModeNames(0), "0");
    EXPECT_EQ(FileModeNames(4097), "KOWEN_MODE_CREATE | KOWEN_MODE_WRITE");
    EXPECT_EQ(FileModeNames(512), "KOWEN_MODE_DELETE");
    EXPECT_EQ(FileModeNames(513 + 8), "KOWEN_MODE_WRITE | KOWEN_MODE_DELETE | 8");
}

} // namespace
