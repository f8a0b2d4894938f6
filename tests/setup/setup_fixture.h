// A process without profile, display information or current setup, and profiles in a fresh
// directory.
#pragma once

#include "platform/global_memory.h"
#include "setup/display_info.h"
#include "setup/identity.h"
#include "setup/setup.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace kowen {

class SetupFixture : public testing::Test {
protected:
    void SetUp() override { Reset(); }
    void TearDown() override { Reset(); }

    /// A setup from a profile with these lines after the line "Driver=d" of section "S".
    SetupRecord *Load(const std::string &lines) {
        return Create(directory.Write("p.ini", "[S]\nDriver=d\n" + lines), "S");
    }

    /// A setup that the fixture destroys.
    SetupRecord *Create(const std::string &path, const char *section,
                        const char *filterName = nullptr) {
        if (handle != 0)
            DestroySetup(handle);
        handle = CreateSetup(0, path.c_str(), section, filterName);
        EXPECT_NE(handle, MemoryHandle{0});
        return Lock<SetupRecord>(handle);
    }

    SetupRecord *CreateWithoutProfile() { return Create(directory.File("absent.ini"), "S"); }

    void SetModulePath(const std::string &path) {
        std::memset(export_szDLLName, 0, sizeof export_szDLLName);
        std::memcpy(export_szDLLName, path.data(), path.size());
    }

    TempDirectory directory;
    MemoryHandle handle = 0;

private:
    void Reset() {
        if (handle != 0)
            DestroySetup(handle);
        handle = 0;
        hRaster = 0;
        lpRaster = nullptr;
        SetDisplayInfo(0, 0, 0, 0);
        SetPrinterInfo(0, 0, 0, 0);
        SetModulePath("");
    }

    ScopedEnvironment noProfileDirectory{"INIDIR", nullptr};
    ScopedEnvironment noDisplay{"DISPLAYINFO", nullptr};
};

} // namespace kowen
