// A folder to export in, and looks at what is in it afterwards.
#pragma once

#include "support/jpeg_decode.h"
#include "support/temp_directory.h"
#include "tools/picture_files.h"
#include "tools/program.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

namespace kowen::test {

class ExportFixture : public testing::Test {
protected:
    /// Runs "kowen export" in the folder.
    ProgramResult Export(std::vector<std::string> arguments, ProgramSetting setting = {}) {
        arguments.insert(arguments.begin(), "export");
        return Kowen(arguments, setting);
    }

    /// Runs any command in the folder.
    ProgramResult Kowen(const std::vector<std::string> &arguments, ProgramSetting setting = {}) {
        if (setting.directory.empty())
            setting.directory = directory.Path();
        result = RunKowen(arguments, setting);
        return result;
    }

    /// Exports bytes as a picture, which must succeed. The result is out.jpg, decoded.
    DecodedJpeg Decode(const std::string &picture, std::vector<std::string> options = {}) {
        options.insert(options.begin(), {directory.Write("in", picture), "-o", "out.jpg"});
        Export(options);
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        file = ReadJpegFile(directory.File("out.jpg"));
        return DecodeJpeg(file);
    }

    DecodedJpeg DecodeFile(const std::string &name) const {
        return DecodeJpeg(ReadJpegFile(directory.File(name)));
    }

    /// The names in a folder of the folder, in order, a space between them.
    std::string Listing(const std::string &folder = ".") const {
        std::set<std::string> names;
        for (const auto &entry : std::filesystem::directory_iterator(directory.File(folder)))
            names.insert(entry.path().filename().string());
        std::string list;
        for (const std::string &name : names)
            list += (list.empty() ? "" : " ") + name;
        return list;
    }

    /// A small picture, written under a name.
    std::string WritePicture(const std::string &name, int width = 24, int height = 16) const {
        return directory.Write(name, Ppm(MakeSoftPicture(width, height)));
    }

    const TempDirectory directory;
    ProgramResult result;
    std::vector<uint8_t> file;
};

/// Whether a text has another one in it.
inline bool Has(const std::string &text, const std::string &part) {
    return text.find(part) != std::string::npos;
}

} // namespace kowen::test
