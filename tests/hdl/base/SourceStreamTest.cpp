#include "hdl/base/SourceStream.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using namespace hdl;

namespace {
std::vector<std::string> opened;
SourceStream* traced(const char* name) {
    opened.push_back(name);
    return new SourceStream(new std::istringstream(std::string("text of ") + name));
}
} // namespace

TEST(SourceStreamTest, CallbackDecidesWhatIsRead) {
    opened.clear();
    auto s = OpenSourceStream(traced, "virtual.v");
    std::string text;
    ASSERT_TRUE(s->ReadAll(text));
    EXPECT_EQ(text, "text of virtual.v");
    EXPECT_EQ(opened, std::vector<std::string>{"virtual.v"});
}

TEST(SourceStreamTest, DiskFallbackAndMissingFiles) {
    std::string path = ::testing::TempDir() + "/hdl_base_stream.v";
    { std::ofstream(path) << "module m; endmodule\n"; }
    auto s = OpenSourceStream(nullptr, path.c_str());
    std::string text;
    ASSERT_TRUE(s->ReadAll(text));
    EXPECT_EQ(text, "module m; endmodule\n");
    std::remove(path.c_str());

    auto missing = OpenSourceStream(nullptr, "/no/such/file.v");
    EXPECT_FALSE(missing->is_open());
    EXPECT_FALSE(missing->ReadAll(text));
    auto dir = OpenSourceStream(nullptr, "/tmp");
    EXPECT_FALSE(dir->is_open()) << "a directory is not a source";
    EXPECT_FALSE(OpenSourceStream(nullptr, "/dev/zero")->is_open()) << "a device that never ends";
    auto null = OpenSourceStream(nullptr, "/dev/null");
    ASSERT_TRUE(null->is_open());
    text.clear();
    EXPECT_TRUE(null->ReadAll(text));
    EXPECT_EQ(text, "");
}

TEST(SourceStreamTest, PathHelpers) {
    EXPECT_EQ(FileSystem::DirectoryPath("a/b/c.v"), "a/b");
    EXPECT_EQ(FileSystem::DirectoryPath("c.v"), ".");
    EXPECT_EQ(FileSystem::DirectoryPath("/c.v"), "/");
    EXPECT_EQ(FileSystem::Join("inc", "defs.vh"), "inc/defs.vh");
    EXPECT_EQ(FileSystem::Join("inc/", "/abs.vh"), "/abs.vh");
}
