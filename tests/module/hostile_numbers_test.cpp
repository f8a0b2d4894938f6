// Hosts and profiles whose numbers are none, infinite, huge or tiny.
#include "module/hostile_host.h"

#include <cmath>
#include <limits>

namespace {

using namespace kowen::test;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kTiny = std::numeric_limits<double>::denorm_min();
constexpr double kHuge = std::numeric_limits<double>::max();
const double kOddDoubles[] = {kNan,   -kNan, kInfinity, -kInfinity, kHuge,
                              -kHuge, kTiny, -kTiny,    -0.0};

class HostileNumbers : public HostileHost {
protected:
    /// A setup from section S with a driver and these lines.
    MemoryHandle FromProfile(const std::string &lines) const {
        const std::string path = host.directory.Write("n.ini", "[S]\nDriver=d\n" + lines);
        return host.createSetup(0, path.c_str(), "S", nullptr);
    }
    std::array<double, 2> SizeOf(MemoryHandle handle) const {
        const int32_t user = KOWEN_ESCAPE_SIZE_USER;
        std::array<double, 2> size = {};
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_SET_SIZE_MODE, 4, &user, nullptr, 0), 1);
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_GET_SIZE, 0, nullptr, &size, 0), 1);
        return size;
    }
    std::array<int32_t, 2> ResolutionOf(MemoryHandle handle) const {
        const int32_t user = KOWEN_ESCAPE_RESOLUTION_USER;
        std::array<int32_t, 2> answer = {};
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_SET_RESOLUTION_MODE, 4, &user, nullptr, 0),
                  1);
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_GET_RESOLUTION, 0, nullptr, &answer, 0), 1);
        return answer;
    }
    int32_t QualityOf(MemoryHandle handle) const {
        int32_t quality = 0;
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &quality, 0), 1);
        return quality;
    }
    const SetDisplayInfoFunction setDisplay =
        host.module.Symbol<SetDisplayInfoFunction>("SetDisplayInfo");
};

TEST_F(HostileNumbers, OddSizesAreRejectedByTheEscapes) {
    for (const double value : kOddDoubles)
        for (const int code : {KOWEN_ESCAPE_SET_WIDTH, KOWEN_ESCAPE_SET_HEIGHT})
            EXPECT_EQ(host.escapeSetup(setup, code, 8, &value, nullptr, 1), -1) << value;
    EXPECT_EQ(SizeOf(setup), (std::array<double, 2>{6.67, 5.0}));
    EXPECT_EQ(host.directory.Read("0.ini"), plain.profile) << "nothing is persisted";
}

TEST_F(HostileNumbers, TheNeighboursOfTheLimitsAreRejected) {
    const std::pair<double, int32_t> kValues[] = {
        {0.03125, 1},
        {std::nextafter(0.03125, 0.0), -1},
        {22.0, 1},
        {std::nextafter(22.0, 23.0), -1},
    };
    for (const auto &[value, answer] : kValues)
        for (const int code : {KOWEN_ESCAPE_SET_WIDTH, KOWEN_ESCAPE_SET_HEIGHT})
            EXPECT_EQ(host.escapeSetup(setup, code, 8, &value, nullptr, 0), answer) << value;
    EXPECT_EQ(SizeOf(setup), (std::array<double, 2>{22.0, 22.0}));
}

TEST_F(HostileNumbers, OddIntegersAreRejectedByTheEscapes) {
    for (const int32_t value : {INT32_MIN, -65536 + 96, -1, 0, 65536 + 96, INT32_MAX})
        for (const int code : {1, 9, 11, 12, 44})
            EXPECT_EQ(host.escapeSetup(setup, code, 4, &value, nullptr, 1), -1) << code;
    EXPECT_EQ(QualityOf(setup), 75);
    EXPECT_EQ(host.directory.Read("0.ini"), plain.profile);
}

TEST_F(HostileNumbers, OddModesChangeNothing) {
    for (const int32_t value : {INT32_MIN, -1, 4, 307, 603, INT32_MAX})
        for (const int code : {18, 19})
            EXPECT_EQ(host.escapeSetup(setup, code, 4, &value, nullptr, 1), 1) << code;
    EXPECT_EQ(Export(plain, setup).jpeg, plain.jpeg);
}

TEST_F(HostileNumbers, SizesThatAreNoneGiveTheDefaults) {
    for (const char *text : {"nan",        "-nan",
                             "nan(0x7ff)", "inf",
                             "-inf",       "infinity",
                             "1e999",      "-1e999",
                             "1e-999",     "4.9e-324",
                             "0",          "-0",
                             "-5",         "",
                             " ",          ".",
                             "e",          "0x",
                             "0x1p-1074",  "0x1p9999",
                             "22.0000001", "99999999999999999999999999999999999999999999",
                             "\"nan\"",    "%s%n",
                             "6,67"}) {
        const MemoryHandle handle =
            FromProfile(std::string("Width=") + text + "\nHeight=" + text + "\n");
        const std::array<double, 2> size = SizeOf(handle);
        const bool comma = std::string(text) == "6,67"; // read up to there
        EXPECT_EQ(size[0], comma ? 6.0 : 6.67) << text;
        EXPECT_EQ(size[1], comma ? 6.0 : 5.0) << text;
        EXPECT_EQ(host.destroySetup(handle), 0);
    }
}

TEST_F(HostileNumbers, ResolutionsThatAreNoneGiveTheDefaults) {
    for (const char *text : {"nan", "inf", "0", "31", "401", "-96", "32768", "65535", "4294967295",
                             "0xFFFFFFFF", "0x8000", "", "x", "99999999999999999999999"}) {
        const MemoryHandle handle =
            FromProfile(std::string("X Resolution=") + text + "\nY Resolution=" + text + "\n");
        EXPECT_EQ(ResolutionOf(handle), (std::array<int32_t, 2>{96, 96})) << text;
        EXPECT_EQ(host.destroySetup(handle), 0);
    }
}

TEST_F(HostileNumbers, QualitiesThatAreNoneGiveAHundred) {
    for (const char *text : {"nan", "0", "101", "-1", "32768", "65536", "0xFFFF", "", "1e2x"}) {
        const MemoryHandle handle =
            FromProfile(std::string("Quality Mode=242\nQuality=") + text + "\n");
        EXPECT_EQ(QualityOf(handle), std::string(text) == "1e2x" ? 1 : 100) << text;
        EXPECT_EQ(host.destroySetup(handle), 0);
    }
}

// Each key in turn has each odd value; the export ends, whatever it makes of it.
TEST_F(HostileNumbers, AnExportWithAnyOddSettingEnds) {
    const char *kKeys[] = {"Color Mode",   "Size Mode",    "Resolution Mode", "Color Format",
                           "Operation",    "Quality Mode", "Line Mode",       "Quality",
                           "X Resolution", "Y Resolution", "Width",           "Height"};
    const char *kTexts[] = {"0",   "1",   "0xFFFFFFFF", "2147483647", "0x80000000", "65535",
                            "600", "603", "307",        "310",        "212",        "213",
                            "215", "218", "219",        "221",        "222",        "242",
                            "243", "246", "nan",        "inf",        "1e-300",     ""};
    const char *kRests[] = {"", "Size Mode=600\n", "Resolution Mode=307\nSize Mode=603\n"};
    for (const char *key : kKeys) {
        std::vector<std::string> settings;
        std::string profile;
        for (const char *text : kTexts)
            for (const char *rest : kRests) {
                settings.push_back(std::string(key) + "=" + text + "\n" + rest);
                profile +=
                    "[" + std::to_string(settings.size()) + "]\nDriver=d\n" + settings.back();
            }
        const std::string path = host.directory.Write("n.ini", profile);
        for (size_t i = 0; i < settings.size(); ++i) {
            const std::string section = std::to_string(i + 1);
            const MemoryHandle handle = host.createSetup(0, path.c_str(), section.c_str(), nullptr);
            EXPECT_EQ(Export(plain, handle).result, 0) << settings[i];
            EXPECT_EQ(host.destroySetup(handle), 0);
        }
    }
}

// Their depths are -4 and -8, as 16 bits without a sign: a large picture would take gigabytes.
TEST_F(HostileNumbers, ColourFormatsOfNegativeDepthEnd) {
    for (const char *format : {"216", "217"}) {
        const MemoryHandle handle = FromProfile(std::string("Color Format=") + format + "\n");
        EXPECT_EQ(Export(plain, handle).result, 0);
        EXPECT_EQ(host.destroySetup(handle), 0);
    }
}

TEST_F(HostileNumbers, ASetupOfZerosExportsNothingAndEnds) {
    const std::string path = host.directory.Write("n.ini", "[Other]\nDriver=d\n");
    const MemoryHandle zeros = host.createSetup(0, path.c_str(), "S", nullptr);
    EXPECT_EQ(Export(plain, zeros).result, 0);
    EXPECT_EQ(Export(plain, zeros, Path("a.jpg")).result, 0);
    EXPECT_EQ(QualityOf(zeros), 0);
    EXPECT_EQ(host.destroySetup(zeros), 0);
}

TEST_F(HostileNumbers, ADisplayOfOddSizeDoesNoHarm) {
    for (const double value : kOddDoubles)
        for (const int resolution : {0, 1, -1, 32767, -32768}) {
            const auto dpi = static_cast<int16_t>(resolution);
            setDisplay(value, value, dpi, dpi);
            double width = 1;
            int16_t answer = 1;
            host.module.Symbol<GetDisplayInfoFunction>("GetDisplayInfo")(&width, nullptr, &answer,
                                                                         nullptr);
            EXPECT_EQ(answer, dpi == 0 ? 96 : dpi);
            EXPECT_EQ(std::isnan(width), std::isnan(value));
            const MemoryHandle handle = FromProfile("Size Mode=600\nResolution Mode=307\n");
            EXPECT_NE(handle, MemoryHandle{0});
            HostileDevice raster(host.module, "RASTER_dd_entry");
            EXPECT_EQ(raster.Initialise(handle, ""), 0);
            const std::vector<int32_t> answers = RunAll(raster, DrawingRequests(plain.bitmap));
            EXPECT_TRUE(answers[7] == 0 || answers[7] == 27) << value << " " << answers[7];
            EXPECT_EQ(raster.Terminate(), 0);
            EXPECT_EQ(host.destroySetup(handle), 0);
        }
    setDisplay(0, 0, 0, 0);
}

TEST_F(HostileNumbers, ADisplayVariableOfAnyTextDoesNoHarm) {
    for (const char *text :
         {"x", "nanxnanxnanxnan", "-1x-1x-1x-1", "0x0x0x0", "1e9", "xxxxxxxxxx",
          "99999999999999999999x1x1x1", "1x1x99999x99999", "2147483648x2147483648"}) {
        const ScopedEnvironment variable("DISPLAYINFO", text);
        const MemoryHandle handle = FromProfile("Color Format=212\nSize Mode=600\n");
        EXPECT_EQ(Export(plain, handle).result, 0) << text;
        EXPECT_EQ(host.destroySetup(handle), 0);
    }
}

TEST_F(HostileNumbers, OddPrinterValuesAreToldAsTheyAre) {
    for (const double value : kOddDoubles) {
        host.module.Symbol<SetDisplayInfoFunction>("SetPrinterInfo")(value, value, -1, -1);
        double width = 0;
        EXPECT_EQ(host.module.Symbol<GetDisplayInfoFunction>("GetPrinterInfo")(&width, nullptr,
                                                                               nullptr, nullptr),
                  0);
        EXPECT_EQ(std::memcmp(&width, &value, sizeof value), 0);
    }
}

TEST_F(HostileNumbers, OddSizesAreScaledOrLeftAlone) {
    const auto scale = host.module.Symbol<ScaleImageSizeFunction>("ScaleImageSize");
    const auto scaled = [&](double width, double height) {
        EXPECT_EQ(scale(&width, &height), 0);
        return std::array<double, 2>{width, height};
    };
    EXPECT_EQ(scaled(44, 11), (std::array<double, 2>{22, 5.5}));
    EXPECT_EQ(scaled(kInfinity, 11), (std::array<double, 2>{22, 0}));
    EXPECT_EQ(scaled(-kInfinity, 44), (std::array<double, 2>{-kInfinity, 22}));
    EXPECT_EQ(scaled(kTiny, -kHuge), (std::array<double, 2>{kTiny, -kHuge}));
    EXPECT_TRUE(std::isnan(scaled(kNan, 44)[0]));
    EXPECT_EQ(scaled(kNan, 44)[1], 44);
}

TEST_F(HostileNumbers, OddQueriesAreAnswered) {
    EXPECT_EQ(editSetup(setup, 0), 0);
    for (const int32_t value : {INT32_MIN, -32768, -1, 0, 1, 32767, 65536, INT32_MAX}) {
        const RasterQuery query = {value, value, value, value, value, value, value};
        RasterAnswer answer = {};
        EXPECT_EQ(host.escapeSetup(setup, KOWEN_ESCAPE_RASTER_QUERY, 0, &query, &answer, 0), 1);
        EXPECT_EQ(answer.bitsPerPixel, 24) << value;
    }
}

TEST_F(HostileNumbers, OddWindowsAndResolutionsOfADeviceDoNoHarm) {
    HostileDevice raster(host.module, "RASTER_dd_entry");
    for (const double value : {kNan, kInfinity, -kInfinity, kTiny, -kTiny, -0.0, 1e-9, -1.0})
        for (const bool window : {true, false}) {
            ASSERT_EQ(raster.Initialise(setup, ""), 0);
            std::vector<Request> requests = DrawingRequests(plain.bitmap);
            if (window)
                requests[2].PutDoubles(16, {value, value, value, 15, 7, value});
            else
                requests[3].Put(24, value);
            const std::vector<int32_t> answers = RunAll(raster, requests);
            EXPECT_EQ(answers[6], 0) << value;
            EXPECT_TRUE(answers[7] == 0 || answers[7] == 27) << value << " " << answers[7];
            EXPECT_EQ(raster.Terminate(), 0);
        }
}

} // namespace
