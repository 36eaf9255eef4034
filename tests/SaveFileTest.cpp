// SPDX-License-Identifier: MIT
#include "console/SaveFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <stdlib.h>

namespace {

/// A directory of its own, which is gone afterwards.
class SaveFile : public testing::Test {
protected:
    void SetUp() override {
        std::string name = testing::TempDir() + "/gatecast-XXXXXX";
        ASSERT_NE(nullptr, ::mkdtemp(name.data()));
        directory_ = name;
    }
    void TearDown() override { std::filesystem::remove_all(directory_); }

    static std::string content_of(const std::string& name) {
        std::ifstream file(name, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    std::string directory_;
};

} // namespace

TEST_F(SaveFile, WritesEveryByte) {
    const std::string bytes("\xFF\xD8\0\r\n\x1A end", 10);
    EXPECT_EQ("", console::saveFile(directory_ + "/a.jpg", bytes));
    EXPECT_EQ(bytes, content_of(directory_ + "/a.jpg"));
}

TEST_F(SaveFile, ReplacesTheFileThatIsThere) {
    console::saveFile(directory_ + "/a.jpg", "a long one");
    EXPECT_EQ("", console::saveFile(directory_ + "/a.jpg", "new"));
    EXPECT_EQ("new", content_of(directory_ + "/a.jpg"));
}

TEST_F(SaveFile, SaysWhyAFileCannotBeWritten) {
    EXPECT_EQ(std::strerror(ENOENT), console::saveFile(directory_ + "/none/a.jpg", "a"));
    EXPECT_EQ(std::strerror(EISDIR), console::saveFile(directory_, "a"));
    EXPECT_EQ(std::strerror(ENOENT), console::saveFile("", "a"));
}

TEST_F(SaveFile, NoticesAFullDisk) {
    EXPECT_EQ(std::strerror(ENOSPC), console::saveFile("/dev/full", "a"));
    EXPECT_EQ(std::strerror(ENOSPC), console::saveFile("/dev/full", std::string(1 << 20, 'a')));
}
