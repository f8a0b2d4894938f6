// A fresh directory that disappears with everything in it at the end of its life.
//
//     TempDirectory directory;
//     directory.Write("QIV.INI", "[A]\nKey=1\n");
//     EXPECT_EQ(directory.Read("QIV.INI"), "[A]\nKey=1\n");
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

class TempDirectory {
public:
    TempDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "kowen-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            std::abort();
        path = name;
    }
    ~TempDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TempDirectory(const TempDirectory &) = delete;
    TempDirectory &operator=(const TempDirectory &) = delete;

    const std::string &Path() const { return path; }
    std::string File(const std::string &name) const { return path + "/" + name; }
    bool Has(const std::string &name) const { return std::filesystem::exists(File(name)); }

    /// Replaces the file's bytes. Returns its path.
    std::string Write(const std::string &name, const std::string &bytes) const {
        std::FILE *file = std::fopen(File(name).c_str(), "wb");
        if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())
            std::abort();
        std::fclose(file);
        return File(name);
    }

    /// The file's bytes; empty when there is no such file.
    std::string Read(const std::string &name) const {
        std::string bytes;
        if (std::FILE *file = std::fopen(File(name).c_str(), "rb")) {
            char piece[4096];
            for (std::size_t n; (n = std::fread(piece, 1, sizeof piece, file)) != 0;)
                bytes.append(piece, n);
            std::fclose(file);
        }
        return bytes;
    }

private:
    std::string path;
};
