#include "test_files.h"

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

namespace OHOS::Emulator {

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

namespace {

bool EndsWith(const std::string& text, const std::string& end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

} // namespace

std::map<std::string, std::string> ReadTree(const std::string& folder)
{
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        const std::string name = entry.path().string();
        if (entry.is_regular_file() && !EndsWith(name, "-wal") && !EndsWith(name, "-shm")) {
            files[std::filesystem::relative(entry.path(), folder).string()] = ReadFile(name);
        }
    }
    return files;
}

void ExpectSameTrees(const std::string& expected, const std::string& actual)
{
    const auto want = ReadTree(expected);
    const auto got = ReadTree(actual);
    ASSERT_FALSE(want.empty());
    for (const auto& [name, bytes] : got) {
        EXPECT_EQ(want.count(name), 1U) << name << " is not in " << expected;
    }
    for (const auto& [name, bytes] : want) {
        SCOPED_TRACE(name);
        ASSERT_EQ(got.count(name), 1U) << "missing from " << actual;
        EXPECT_TRUE(got.at(name) == bytes) << "differs from " << expected;
    }
}

} // namespace OHOS::Emulator
