#include <cmath>
#include <dirent.h>
#include <fstream>
#include <limits>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "preferences_helper.h"

namespace OHOS::NativePreferences {
namespace {

const std::string PHONE_PATH = "/data/service/el1/public/test_prefs/prefs.xml";

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::stringstream content;
    content << in.rdbuf();
    return content.str();
}

void WriteFile(const std::string& path, const std::string& content)
{
    ASSERT_TRUE(Emulator::MakeDirectories(path.substr(0, path.find_last_of('/'))));
    std::ofstream(path, std::ios::binary) << content;
}

// Names in the file's folder other than the file itself (left-over temporary files).
std::vector<std::string> StrayFiles(const std::string& path)
{
    std::string folder = path.substr(0, path.find_last_of('/'));
    std::string name = path.substr(path.find_last_of('/') + 1);
    std::vector<std::string> stray;
    DIR* dir = opendir(folder.c_str());
    if (dir == nullptr) {
        return stray;
    }
    while (dirent* entry = readdir(dir)) {
        std::string entryName = entry->d_name;
        if (entryName != "." && entryName != ".." && entryName != name) {
            stray.push_back(entryName);
        }
    }
    closedir(dir);
    return stray;
}

class PreferencesTest : public testing::Test {
protected:
    void SetUp() override
    {
        Emulator::ResetPreferencesFaults();
        Emulator::ClearPreferencesCache();
        realPath_ = Emulator::MapPhonePath(PHONE_PATH);
    }
    void TearDown() override
    {
        Emulator::ResetPreferencesFaults();
        Emulator::ClearPreferencesCache();
    }

    std::shared_ptr<Preferences> Open(int& errCode)
    {
        return PreferencesHelper::GetPreferences(Options(PHONE_PATH), errCode);
    }
    std::shared_ptr<Preferences> OpenOk()
    {
        int errCode = -1;
        auto pref = Open(errCode);
        EXPECT_EQ(errCode, E_OK);
        return pref;
    }
    // Drops the cached object and reads the file again, as a restarted process would.
    std::shared_ptr<Preferences> Reopen()
    {
        EXPECT_EQ(PreferencesHelper::RemovePreferencesFromCache(PHONE_PATH), E_OK);
        return OpenOk();
    }

    Emulator::ScopedDataRoot root_;
    std::string realPath_;
};

TEST_F(PreferencesTest, MissingFileStartsEmptyAndIsOnlyCreatedByAFlush)
{
    auto pref = OpenOk();
    ASSERT_NE(pref, nullptr);
    EXPECT_FALSE(pref->HasKey("a"));
    EXPECT_EQ(pref->GetLong("a", -5), -5);
    EXPECT_EQ(OpenOk(), pref) << "the cache hands out one object per path";
    EXPECT_EQ(pref->FlushSync(), E_OK);
    struct stat info {};
    EXPECT_NE(stat(realPath_.c_str(), &info), 0) << "nothing changed, nothing written";

    pref->PutInt("a", 1);
    ASSERT_EQ(pref->FlushSync(), E_OK);
    ASSERT_EQ(stat(realPath_.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(PreferencesTest, EveryTypeSurvivesAReopenExactly)
{
    const std::vector<std::string> strings = {"", " padded  ", "line\nbreak\r\ttab", "<&\"'>", "ünïcødé ☾", "   "};
    const std::vector<float> floats = {0.1f, -0.0f, 3.4028235e38f, 1e-45f, 0.333333343f};
    const std::vector<int64_t> longs = {
        std::numeric_limits<int64_t>::min(), -1, 0, std::numeric_limits<int64_t>::max()};
    const std::vector<int32_t> ints = {std::numeric_limits<int32_t>::min(), 0, std::numeric_limits<int32_t>::max()};
    auto pref = OpenOk();
    for (size_t i = 0; i < strings.size(); ++i) {
        pref->PutString("s" + std::to_string(i), strings[i]);
    }
    for (size_t i = 0; i < floats.size(); ++i) {
        pref->PutFloat("f" + std::to_string(i), floats[i]);
    }
    for (size_t i = 0; i < longs.size(); ++i) {
        pref->PutLong("l" + std::to_string(i), longs[i]);
    }
    for (size_t i = 0; i < ints.size(); ++i) {
        pref->PutInt("i" + std::to_string(i), ints[i]);
    }
    pref->PutBool("yes", true);
    pref->PutBool("no", false);
    pref->PutString("a key with spaces & <marks>", "v");
    ASSERT_EQ(pref->FlushSync(), E_OK);

    auto again = Reopen();
    ASSERT_NE(again, pref);
    for (size_t i = 0; i < strings.size(); ++i) {
        EXPECT_EQ(again->GetString("s" + std::to_string(i), "default"), strings[i]) << i;
    }
    for (size_t i = 0; i < floats.size(); ++i) {
        float read = again->GetFloat("f" + std::to_string(i), 99.0f);
        EXPECT_EQ(read, floats[i]) << i;
        EXPECT_EQ(std::signbit(read), std::signbit(floats[i])) << i;
    }
    for (size_t i = 0; i < longs.size(); ++i) {
        EXPECT_EQ(again->GetLong("l" + std::to_string(i), 7), longs[i]) << i;
    }
    for (size_t i = 0; i < ints.size(); ++i) {
        EXPECT_EQ(again->GetInt("i" + std::to_string(i), 7), ints[i]) << i;
    }
    EXPECT_TRUE(again->GetBool("yes", false));
    EXPECT_FALSE(again->GetBool("no", true));
    EXPECT_EQ(again->GetString("a key with spaces & <marks>"), "v");
}

TEST_F(PreferencesTest, ValuesAreTypedAndAPutReplacesAnyType)
{
    auto pref = OpenOk();
    pref->PutInt("n", 5);
    EXPECT_EQ(pref->GetLong("n", -1), -1) << "an int is not a long";
    EXPECT_EQ(pref->GetFloat("n", 2.5f), 2.5f);
    EXPECT_EQ(pref->GetString("n", "d"), "d");
    EXPECT_EQ(pref->PutLong("n", 6), E_OK);
    EXPECT_EQ(pref->GetInt("n", -1), -1);
    EXPECT_EQ(pref->GetLong("n", -1), 6);
    EXPECT_EQ(pref->PutBool("", true), E_INVALID_ARGS);
    EXPECT_EQ(pref->Delete("n"), E_OK);
    EXPECT_FALSE(pref->HasKey("n"));
}

struct BadFile {
    const char* name;
    std::string content;
};

class CorruptPreferencesTest : public PreferencesTest, public testing::WithParamInterface<BadFile> {};

TEST_P(CorruptPreferencesTest, FailsWithACodeAndLeavesTheFileAlone)
{
    WriteFile(realPath_, GetParam().content);
    for (int attempt = 0; attempt < 2; ++attempt) {
        int errCode = E_OK;
        EXPECT_EQ(Open(errCode), nullptr);
        EXPECT_EQ(errCode, E_FILE_CORRUPT);
    }
    EXPECT_EQ(ReadFile(realPath_), GetParam().content);
}

const std::string HEAD = "<?xml version=\"1.0\"?><preferences version=\"1\">";
INSTANTIATE_TEST_SUITE_P(BadFiles, CorruptPreferencesTest,
    testing::Values(BadFile{"Empty", ""}, BadFile{"NotXml", "garbage {]"},
        BadFile{"Truncated", HEAD + "<int key=\"a\" value=\"1\"/><long key=\"b\" val"},
        BadFile{"WrongRoot", "<settings><int key=\"a\" value=\"1\"/></settings>"},
        BadFile{"BadBool", HEAD + "<bool key=\"a\" value=\"yes\"/></preferences>"},
        BadFile{"IntOverflow", HEAD + "<int key=\"a\" value=\"2147483648\"/></preferences>"},
        BadFile{"TrailingJunkInLong", HEAD + "<long key=\"a\" value=\"12x\"/></preferences>"},
        BadFile{"UnknownType", HEAD + "<double key=\"a\" value=\"1\"/></preferences>"},
        BadFile{"MissingKey", HEAD + "<int value=\"1\"/></preferences>"},
        BadFile{"DuplicateKey", HEAD + "<int key=\"a\" value=\"1\"/><int key=\"a\" value=\"2\"/></preferences>"}),
    [](const testing::TestParamInfo<BadFile>& info) { return info.param.name; });

TEST_F(PreferencesTest, UnreadableFileFailsWithItsOwnCode)
{
    ASSERT_TRUE(Emulator::MakeDirectories(realPath_)); // a folder where the file should be
    int errCode = E_OK;
    EXPECT_EQ(Open(errCode), nullptr);
    EXPECT_EQ(errCode, E_FILE_UNREADABLE);
}

TEST_F(PreferencesTest, ServiceFaultsAnswerWithTheirCodes)
{
    int errCode = E_OK;
    EXPECT_EQ(PreferencesHelper::GetPreferences(Options("relative/prefs.xml"), errCode), nullptr);
    EXPECT_EQ(errCode, E_INVALID_ARGS);

    Emulator::SetPreferencesOpenFails(true);
    EXPECT_EQ(Open(errCode), nullptr);
    EXPECT_EQ(errCode, E_OPEN_FAILED);
    Emulator::SetPreferencesOpenFails(false);

    auto pref = OpenOk();
    pref->PutInt("a", 1);
    Emulator::SetPreferencesFlushFails(true);
    EXPECT_EQ(pref->FlushSync(), E_WRITE_FAILED);
    struct stat info {};
    EXPECT_NE(stat(realPath_.c_str(), &info), 0);
    Emulator::SetPreferencesFlushFails(false);
    EXPECT_EQ(pref->FlushSync(), E_OK) << "a failed flush leaves the change pending";
    EXPECT_EQ(Reopen()->GetInt("a"), 1);
}

// Fails the N-th file-system step of a flush for N = 1, 2, ... until a flush gets through, once with
// only that step failing and once with every later step failing too. After each failure the file
// must hold exactly the old values and no temporary file may be left behind.
class FlushFaultLoopTest : public PreferencesTest, public testing::WithParamInterface<bool> {};

TEST_P(FlushFaultLoopTest, AFlushNeverLeavesATornFile)
{
    auto pref = OpenOk();
    pref->PutString("old", std::string(10000, 'o'));
    pref->PutLong("count", 1);
    ASSERT_EQ(pref->FlushSync(), E_OK);
    const std::string oldContent = ReadFile(realPath_);

    pref->PutString("new", std::string(20000, 'n')); // several blocks to write
    pref->PutLong("count", 2);
    int failures = 0;
    for (int step = 1;; ++step) {
        Emulator::FailPreferencesWriteStep(step, GetParam());
        int result = pref->FlushSync();
        if (result == E_OK) {
            break;
        }
        ++failures;
        ASSERT_LT(step, 100) << "the flush never got through";
        EXPECT_EQ(result, E_WRITE_FAILED);
        bool renamed = ReadFile(realPath_) != oldContent;
        if (!renamed) {
            EXPECT_TRUE(StrayFiles(realPath_).empty()) << "step " << step;
        }
        auto onDisk = Reopen();
        ASSERT_NE(onDisk, nullptr) << "step " << step;
        // Only the last step (syncing the folder) comes after the rename.
        EXPECT_EQ(onDisk->GetLong("count"), renamed ? 2 : 1) << "step " << step;
        EXPECT_EQ(onDisk->HasKey("new"), renamed) << "step " << step;
        ASSERT_TRUE(PreferencesHelper::RemovePreferencesFromCache(PHONE_PATH) == E_OK);
    }
    EXPECT_GE(failures, 8) << "create, 5 blocks, sync, close, rename, folder sync";
    Emulator::FailPreferencesWriteStep(0, false);
    auto done = Reopen();
    EXPECT_EQ(done->GetLong("count"), 2);
    EXPECT_EQ(done->GetString("new"), std::string(20000, 'n'));
    EXPECT_TRUE(StrayFiles(realPath_).empty());
}

INSTANTIATE_TEST_SUITE_P(SingleAndPersistent, FlushFaultLoopTest, testing::Bool());

TEST_F(PreferencesTest, ConcurrentPutsAndFlushesLoseNothing)
{
    constexpr int threads = 4;
    constexpr int keysPerThread = 25;
    auto pref = OpenOk();
    std::vector<std::thread> workers;
    for (int t = 0; t < threads; ++t) {
        workers.emplace_back([pref, t] {
            for (int k = 0; k < keysPerThread; ++k) {
                pref->PutInt("t" + std::to_string(t) + "k" + std::to_string(k), k);
                EXPECT_EQ(pref->FlushSync(), E_OK);
            }
        });
    }
    for (auto& worker : workers) {
        worker.join();
    }
    auto again = Reopen();
    for (int t = 0; t < threads; ++t) {
        for (int k = 0; k < keysPerThread; ++k) {
            EXPECT_EQ(again->GetInt("t" + std::to_string(t) + "k" + std::to_string(k), -1), k);
        }
    }
}

} // namespace
} // namespace OHOS::NativePreferences
