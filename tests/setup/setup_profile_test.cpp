#include "setup/setup.h"

#include "setup/setup_fixture.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>

namespace kowen {
namespace {

using LoadProfileTest = SetupFixture;

TEST_F(LoadProfileTest, EveryKeyIsRead) {
    const SetupRecord *setup = Load("Color Mode=104\n"
                                    "Size Mode=603\n"
                                    "Resolution Mode=310\n"
                                    "Color Format=215\n"
                                    "Operation=246\n"
                                    "Quality Mode=242\n"
                                    "Line Mode=120\n"
                                    "Quality=42\n"
                                    "X Resolution=72\n"
                                    "Y Resolution=150\n"
                                    "Width=3.5\n"
                                    "Height=2.25\n");
    EXPECT_STREQ(setup->driverName, "d");
    EXPECT_EQ(setup->colorMode, 104);
    EXPECT_EQ(setup->sizeMode, 603);
    EXPECT_EQ(setup->resolutionMode, 310);
    EXPECT_EQ(setup->colorFormat, 215);
    EXPECT_EQ(setup->operation, 246);
    EXPECT_EQ(setup->qualityMode, 242);
    EXPECT_EQ(setup->lineMode, 120);
    EXPECT_EQ(setup->quality, 42);
    EXPECT_EQ(setup->header.xResolution, 72);
    EXPECT_EQ(setup->header.yResolution, 150);
    EXPECT_EQ(setup->width, 3.5);
    EXPECT_EQ(setup->height, 2.25);
}

TEST_F(LoadProfileTest, MissingKeysHaveTheirDefaults) {
    const SetupRecord *setup = Load("");
    EXPECT_EQ(setup->colorMode, 103);
    EXPECT_EQ(setup->sizeMode, 602);
    EXPECT_EQ(setup->resolutionMode, 309);
    EXPECT_EQ(setup->operation, 245);
    EXPECT_EQ(setup->qualityMode, 241);
    EXPECT_EQ(setup->lineMode, 119);
    EXPECT_EQ(setup->quality, 100);
    EXPECT_EQ(setup->header.xResolution, 96);
    EXPECT_EQ(setup->header.yResolution, 96);
    EXPECT_EQ(setup->width, 6.67);
    EXPECT_EQ(setup->height, 5.0);
}

// Kept deliberately: with a profile the format is another than without one.
TEST_F(LoadProfileTest, MissingColorFormatIsNotTheBuiltInOne) {
    EXPECT_EQ(Load("")->colorFormat, 222);
    EXPECT_EQ(CreateWithoutProfile()->colorFormat, 212);
}

TEST_F(LoadProfileTest, ReportsWhetherTheSectionIsThere) {
    Load("");
    EXPECT_EQ(LoadProfile(0), 1);
    EXPECT_EQ(LoadProfile(0xFFFFFFFF), 1);
    std::memcpy(lpRaster->section, "T", 2);
    lpRaster->colorMode = 7;
    EXPECT_EQ(LoadProfile(1), 0);
    EXPECT_EQ(lpRaster->colorMode, 7) << "nothing else is read";
}

TEST_F(LoadProfileTest, AnEmptyDriverIsNoDriver) {
    Create(directory.Write("p.ini", "[S]\nDriver=\nColor Mode=105\n"), "S");
    EXPECT_EQ(LoadProfile(1), 0);
    EXPECT_EQ(lpRaster->colorMode, 0);
}

TEST_F(LoadProfileTest, WithoutCurrentSetupNothingIsRead) {
    EXPECT_EQ(LoadProfile(1), 0);
}

// Kept deliberately.
TEST_F(LoadProfileTest, LongDriverNameFillsItsField) {
    Create(directory.Write("p.ini", "[S]\nDriver=ABCDEFGHIJKLMNOP\nColor Mode=105\n"), "S");
    EXPECT_EQ(std::memcmp(lpRaster->driverName, "ABCDEFGHIJKLM", 13), 0);
    EXPECT_EQ(lpRaster->reserved1, 0u);
    EXPECT_EQ(lpRaster->colorMode, 105);
}

TEST_F(LoadProfileTest, AValueThatIsFoundReplacesTheDefault) {
    EXPECT_EQ(Load("Color Mode=abc\n")->colorMode, 0);
    EXPECT_EQ(Load("Color Mode=-5\n")->colorMode, 0);
    EXPECT_EQ(Load("Color Mode=0x69\n")->colorMode, 105);
    EXPECT_EQ(Load("Color Mode=12abc\n")->colorMode, 12);
    EXPECT_EQ(Load("Color Mode=\"107\"\n")->colorMode, 107);
}

TEST_F(LoadProfileTest, FixedQualityIsHundred) {
    EXPECT_EQ(Load("Quality Mode=241\nQuality=50\n")->quality, 100);
}

TEST_F(LoadProfileTest, UserQualityIsKeptInRange) {
    EXPECT_EQ(Load("Quality Mode=242\nQuality=0\n")->quality, 100);
    EXPECT_EQ(Load("Quality Mode=242\nQuality=1\n")->quality, 1);
    EXPECT_EQ(Load("Quality Mode=242\nQuality=100\n")->quality, 100);
    EXPECT_EQ(Load("Quality Mode=242\nQuality=101\n")->quality, 100);
    EXPECT_EQ(Load("Quality Mode=242\n")->quality, 100);
}

// The setting has 16 bits: 65537 is 1, 65536 is 0.
TEST_F(LoadProfileTest, TheLow16BitsOfTheQualityCount) {
    EXPECT_EQ(Load("Quality Mode=242\nQuality=65537\n")->quality, 1);
    EXPECT_EQ(Load("Quality Mode=242\nQuality=65536\n")->quality, 100);
}

TEST_F(LoadProfileTest, AnotherQualityModeLeavesTheQuality) {
    EXPECT_EQ(Load("Quality Mode=243\nQuality=50\n")->quality, 0);
    lpRaster->quality = 30;
    EXPECT_EQ(LoadProfile(1), 1);
    EXPECT_EQ(lpRaster->quality, 30);
}

TEST_F(LoadProfileTest, ResolutionsAreKeptInRange) {
    const auto loaded = [this](const char *value) {
        const SetupRecord *setup = Load(std::string("Resolution Mode=310\nX Resolution=") + value +
                                        "\nY Resolution=" + value + "\n");
        EXPECT_EQ(setup->header.xResolution, setup->header.yResolution);
        return setup->header.xResolution;
    };
    EXPECT_EQ(loaded("31"), 96);
    EXPECT_EQ(loaded("32"), 32);
    EXPECT_EQ(loaded("400"), 400);
    EXPECT_EQ(loaded("401"), 96);
    EXPECT_EQ(loaded("0"), 96);
    EXPECT_EQ(loaded("40000"), 96) << "negative in 16 bits";
    EXPECT_EQ(loaded("65568"), 32) << "32 in 16 bits";
}

TEST_F(LoadProfileTest, ResolutionFromThePictureStillReadsTheKeys) {
    const SetupRecord *setup = Load("Resolution Mode=309\nX Resolution=72\nY Resolution=73\n");
    EXPECT_EQ(setup->header.xResolution, 72);
    EXPECT_EQ(setup->header.yResolution, 73);
}

TEST_F(LoadProfileTest, ResolutionFromTheDisplay) {
    SetDisplayInfo(1000, 500, 120, 60);
    const SetupRecord *setup = Load("Resolution Mode=307\nX Resolution=72\nY Resolution=73\n");
    EXPECT_EQ(setup->resolutionMode, 307);
    EXPECT_EQ(setup->header.xResolution, 120);
    EXPECT_EQ(setup->header.yResolution, 60);
    EXPECT_EQ(setup->width, 6.67) << "the size is not the display's";
}

// Kept deliberately: nothing ever knows a printer.
TEST_F(LoadProfileTest, PrinterResolutionBecomesDisplayResolution) {
    SetDisplayInfo(1000, 500, 120, 60);
    SetPrinterInfo(8, 11, 300, 310);
    const SetupRecord *setup = Load("Resolution Mode=308\n");
    EXPECT_EQ(setup->resolutionMode, 307);
    EXPECT_EQ(setup->header.xResolution, 120);
    EXPECT_EQ(setup->header.yResolution, 60);
}

TEST_F(LoadProfileTest, WithAPrinterItsResolutionIsTaken) {
    SetPrinterInfo(8, 11, 300, 310);
    Load("Resolution Mode=308\n");
    lpRaster->printerAvailable = 1;
    EXPECT_EQ(LoadProfile(1), 1);
    EXPECT_EQ(lpRaster->resolutionMode, 308);
    EXPECT_EQ(lpRaster->header.xResolution, 300);
    EXPECT_EQ(lpRaster->header.yResolution, 310);
}

TEST_F(LoadProfileTest, SizeFromTheDisplay) {
    SetDisplayInfo(1000, 500, 100, 50);
    const SetupRecord *setup = Load("Size Mode=600\nWidth=3\nHeight=4\n");
    EXPECT_EQ(setup->sizeMode, 600);
    EXPECT_EQ(setup->width, 10.0);
    EXPECT_EQ(setup->height, 10.0);
    EXPECT_EQ(setup->header.xResolution, 96) << "the resolution is not the display's";
}

// Kept deliberately: nothing ever knows a printer.
TEST_F(LoadProfileTest, PrinterSizeBecomesDisplaySize) {
    SetDisplayInfo(1000, 500, 100, 100);
    SetPrinterInfo(8, 11, 300, 310);
    const SetupRecord *setup = Load("Size Mode=601\n");
    EXPECT_EQ(setup->sizeMode, 600);
    EXPECT_EQ(setup->width, 10.0);
    EXPECT_EQ(setup->height, 5.0);
}

TEST_F(LoadProfileTest, WithAPrinterItsSizeIsTaken) {
    SetPrinterInfo(8, 11, 300, 310);
    Load("Size Mode=601\n");
    lpRaster->printerAvailable = 1;
    EXPECT_EQ(LoadProfile(1), 1);
    EXPECT_EQ(lpRaster->sizeMode, 601);
    EXPECT_EQ(lpRaster->width, 8.0);
    EXPECT_EQ(lpRaster->height, 11.0);
}

TEST_F(LoadProfileTest, TheDisplayVariableIsHeard) {
    const ScopedEnvironment variable("DISPLAYINFO", "1024x768x64x128");
    const SetupRecord *setup = Load("Size Mode=600\nResolution Mode=308\n");
    EXPECT_EQ(setup->width, 16.0);
    EXPECT_EQ(setup->height, 6.0);
    EXPECT_EQ(setup->header.xResolution, 64);
    EXPECT_EQ(setup->header.yResolution, 128);
}

// Kept deliberately: the range check runs only where width and height are read.
TEST_F(LoadProfileTest, DisplaySizeLeavesResolutionsUnchecked) {
    SetDisplayInfo(3000, 10, 100, 1000);
    const SetupRecord *setup =
        Load("Size Mode=600\nResolution Mode=310\nX Resolution=5\nY Resolution=900\n");
    EXPECT_EQ(setup->header.xResolution, 5);
    EXPECT_EQ(setup->header.yResolution, 900);
    EXPECT_EQ(setup->width, 30.0);
    EXPECT_EQ(setup->height, 0.01);
}

TEST_F(LoadProfileTest, DisplayResolutionIsCheckedWithAnotherSize) {
    SetDisplayInfo(1000, 500, 5, 900);
    const SetupRecord *setup = Load("Size Mode=603\nResolution Mode=307\n");
    EXPECT_EQ(setup->header.xResolution, 96);
    EXPECT_EQ(setup->header.yResolution, 96);
}

TEST_F(LoadProfileTest, SizesAreKeptInRange) {
    EXPECT_EQ(Load("Width=22\n")->width, 22.0);
    EXPECT_EQ(Load("Width=22.01\n")->width, 6.67);
    EXPECT_EQ(Load("Width=0.03125\n")->width, 0.03125);
    EXPECT_EQ(Load("Height=0.03\n")->height, 5.0);
    EXPECT_EQ(Load("Height=0.03125\n")->height, 0.03125);
    EXPECT_EQ(Load("Height=22.0\n")->height, 22.0);
    EXPECT_EQ(Load("Height=23\n")->height, 5.0);
}

TEST_F(LoadProfileTest, SizesThatAreNoNumbersAreReplaced) {
    for (const char *text : {"", "abc", "nan", "-nan", "inf", "-1", "1e999"}) {
        const SetupRecord *setup =
            Load("Width=" + std::string(text) + "\nHeight=" + std::string(text) + "\n");
        EXPECT_EQ(setup->width, 6.67) << text;
        EXPECT_EQ(setup->height, 5.0) << text;
    }
}

TEST_F(LoadProfileTest, ASizeIsReadUpToItsFirstStrangeCharacter) {
    EXPECT_EQ(Load("Width=3.5in\n")->width, 3.5);
    EXPECT_EQ(Load("Width=1e1\n")->width, 10.0);
    EXPECT_EQ(Load("Width=.36.67\n")->width, 0.36);
}

// 28 zeros and "12.5": the 30 characters that are read say 12.
TEST_F(LoadProfileTest, ASizeIsReadFromItsFirst30Characters) {
    EXPECT_EQ(Load("Width=" + std::string(28, '0') + "12.5\n")->width, 12.0);
}

TEST(SaveProfile, DoesNothing) {
    EXPECT_EQ(SaveProfile(), 1);
}

class RangeTest : public testing::Test {
protected:
    void SetUp() override { lpRaster = &setup; }
    void TearDown() override { lpRaster = nullptr; }

    int32_t Check(int xResolution, int yResolution, double width, double height) {
        setup.header.xResolution = static_cast<int16_t>(xResolution);
        setup.header.yResolution = static_cast<int16_t>(yResolution);
        setup.width = width;
        setup.height = height;
        return LimitCheck();
    }

    void Expect(int xResolution, int yResolution, double width, double height) {
        EXPECT_EQ(setup.header.xResolution, xResolution);
        EXPECT_EQ(setup.header.yResolution, yResolution);
        EXPECT_EQ(setup.width, width);
        EXPECT_EQ(setup.height, height);
    }

    SetupRecord setup = {};
};

using LimitCheckTest = RangeTest;
using QualityCheckTest = RangeTest;

TEST_F(LimitCheckTest, TheLimitsThemselvesPass) {
    EXPECT_EQ(Check(32, 400, 0.03125, 22.0), 0);
    Expect(32, 400, 0.03125, 22.0);
    EXPECT_EQ(Check(400, 32, 22.0, 0.03125), 0);
    Expect(400, 32, 22.0, 0.03125);
}

TEST_F(LimitCheckTest, EachResolutionIsReset) {
    EXPECT_EQ(Check(31, 100, 1, 1), -62);
    Expect(96, 100, 1, 1);
    EXPECT_EQ(Check(100, 401, 1, 1), -62);
    Expect(100, 96, 1, 1);
    EXPECT_EQ(Check(-1, 0, 1, 1), -62);
    Expect(96, 96, 1, 1);
}

TEST_F(LimitCheckTest, EachSizeIsReset) {
    EXPECT_EQ(Check(100, 100, 0.03124, 1), -63);
    Expect(100, 100, 6.67, 1);
    EXPECT_EQ(Check(100, 100, 1, 22.01), -63);
    Expect(100, 100, 1, 5.0);
}

TEST_F(LimitCheckTest, ASizeWinsOverAResolution) {
    EXPECT_EQ(Check(31, 401, 23, 0), -63);
    Expect(96, 96, 6.67, 5.0);
}

TEST_F(LimitCheckTest, WhatIsNoNumberIsReset) {
    EXPECT_EQ(Check(100, 100, std::nan(""), 1), -63);
    Expect(100, 100, 6.67, 1);
    EXPECT_EQ(Check(100, 100, 1, -std::numeric_limits<double>::infinity()), -63);
    Expect(100, 100, 1, 5.0);
}

TEST_F(LimitCheckTest, WithoutCurrentSetupNothingIsReset) {
    lpRaster = nullptr;
    EXPECT_EQ(Check(0, 0, 0, 0), 0);
    Expect(0, 0, 0, 0);
}

TEST_F(QualityCheckTest, OutOfRangeBecomesHundred) {
    for (const int quality : {-32768, -1, 0, 101, 32767}) {
        setup.quality = static_cast<int16_t>(quality);
        EXPECT_EQ(QualityCheck(), -62) << quality;
        EXPECT_EQ(setup.quality, 100) << quality;
    }
}

TEST_F(QualityCheckTest, TheRangePasses) {
    for (int quality = 1; quality <= 100; ++quality) {
        setup.quality = static_cast<int16_t>(quality);
        EXPECT_EQ(QualityCheck(), 0) << quality;
        EXPECT_EQ(setup.quality, quality);
    }
}

TEST_F(QualityCheckTest, WithoutCurrentSetupNothingIsReset) {
    lpRaster = nullptr;
    EXPECT_EQ(QualityCheck(), 0);
    EXPECT_EQ(setup.quality, 0);
}

} // namespace
} // namespace kowen
