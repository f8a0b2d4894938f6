#include "io/file_handle.h"

#include <gtest/gtest.h>

#include <string>

namespace kowen {
namespace {

std::string DirectoryOf(const char *path) {
    char out[64] = "unset";
    s_getpath(out, path);
    return out;
}

std::string NameOf(const char *path) {
    char out[64] = "unset";
    s_getname(out, path);
    return out;
}

TEST(SGetpath, KeepsTheLastSlash) {
    EXPECT_EQ(DirectoryOf("/a/b/c.txt"), "/a/b/");
    EXPECT_EQ(DirectoryOf("/c"), "/");
    EXPECT_EQ(DirectoryOf("/a/b/"), "/a/b/");
}

TEST(SGetpath, KeepsTheLastBackslash) {
    EXPECT_EQ(DirectoryOf("c:\\dir\\file.ext"), "c:\\dir\\");
}

TEST(SGetpath, ABackslashWinsOverALaterSlash) {
    EXPECT_EQ(DirectoryOf("a\\b/c"), "a\\");
}

TEST(SGetpath, IsEmptyWithoutASeparator) {
    EXPECT_EQ(DirectoryOf("name.txt"), "");
    EXPECT_EQ(DirectoryOf("c:name.txt"), "");
    EXPECT_EQ(DirectoryOf(""), "");
}

TEST(SGetpath, WorksInPlace) {
    char path[] = "/a/b.txt";
    s_getpath(path, path);
    EXPECT_STREQ(path, "/a/");
}

TEST(SGetname, DropsDirectoryAndExtension) {
    EXPECT_EQ(NameOf("c:\\dir\\file.ext"), "file");
    EXPECT_EQ(NameOf("/a/b/c.txt"), "c");
    EXPECT_EQ(NameOf("name"), "name");
}

TEST(SGetname, ABackslashWinsOverALaterSlashAndASlashOverAColon) {
    EXPECT_EQ(NameOf("a\\b/c.d"), "b/c");
    EXPECT_EQ(NameOf("/a/b:c.d"), "b:c");
    EXPECT_EQ(NameOf("c:name.txt"), "name");
}

TEST(SGetname, CutsAtTheLastPeriodOnly) {
    EXPECT_EQ(NameOf("/x/a.b.c"), "a.b");
    EXPECT_EQ(NameOf("/x/.ini"), "");
    EXPECT_EQ(NameOf("/x.y/name"), "name");
}

TEST(SGetname, IsEmptyForADirectory) {
    EXPECT_EQ(NameOf("/a/b/"), "");
    EXPECT_EQ(NameOf(""), "");
}

TEST(SGetname, WorksInPlace) {
    char path[] = "/a/long name.txt";
    s_getname(path, path);
    EXPECT_STREQ(path, "long name");
}

} // namespace
} // namespace kowen
