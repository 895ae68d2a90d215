#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "preferences_helper.h"
#include "test_files.h"

namespace OHOS::NativePreferences {
namespace {

using Emulator::ReadFile;

const std::string PHONE_PATH = "/data/service/el1/public/test_prefs/prefs.xml";

// Entries in the file's folder: 1 when no temporary file was left behind.
long FolderEntries(const std::string& path)
{
    const auto folder = std::filesystem::path(path).parent_path();
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

class PreferencesTest : public testing::Test {
protected:
    void SetUp() override { ResetAll(); }
    void TearDown() override { ResetAll(); }
    static void ResetAll()
    {
        Emulator::ResetPreferencesFaults();
        Emulator::ClearPreferencesCache();
    }

    static std::shared_ptr<Preferences> Open(int& errCode)
    {
        return PreferencesHelper::GetPreferences(Options(PHONE_PATH), errCode);
    }
    static std::shared_ptr<Preferences> OpenOk()
    {
        int errCode = -1;
        auto pref = Open(errCode);
        EXPECT_EQ(errCode, E_OK);
        return pref;
    }
    // Drops the cached object and reads the file again, as a restarted process would.
    static std::shared_ptr<Preferences> Reopen()
    {
        EXPECT_EQ(PreferencesHelper::RemovePreferencesFromCache(PHONE_PATH), E_OK);
        return OpenOk();
    }

    Emulator::ScopedDataRoot root_;
    const std::string realPath_ = Emulator::MapPhonePath(PHONE_PATH);
};

TEST_F(PreferencesTest, MissingFileStartsEmptyAndIsOnlyCreatedByAFlush)
{
    auto pref = OpenOk();
    ASSERT_NE(pref, nullptr);
    EXPECT_FALSE(pref->HasKey("a"));
    EXPECT_EQ(OpenOk(), pref) << "the cache hands out one object per path";
    EXPECT_EQ(pref->FlushSync(), E_OK);
    EXPECT_FALSE(std::filesystem::exists(realPath_)) << "nothing changed, nothing written";

    pref->PutInt("a", 1);
    ASSERT_EQ(pref->FlushSync(), E_OK);
    EXPECT_EQ(std::filesystem::status(realPath_).permissions(),
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

TEST_F(PreferencesTest, EveryTypeSurvivesAReopenExactly)
{
    const std::vector<std::string> strings = {"", " padded  ", "line\nbreak\r\ttab", "<&\"'> ünïcødé ☾"};
    const std::vector<float> floats = {0.1f, -0.0f, 3.4028235e38f, 1e-45f};
    const std::vector<int64_t> longs = {
        std::numeric_limits<int64_t>::min(), -1, 0, std::numeric_limits<int64_t>::max()};
    const std::vector<int32_t> ints = {std::numeric_limits<int32_t>::min(), 0, std::numeric_limits<int32_t>::max()};
    auto key = [](char type, size_t i) { return type + std::to_string(i); };
    auto pref = OpenOk();
    pref->PutString("a key with spaces & <marks>", "v");
    for (size_t i = 0; i < strings.size(); ++i) {
        pref->PutString(key('s', i), strings[i]);
    }
    for (size_t i = 0; i < floats.size(); ++i) {
        pref->PutFloat(key('f', i), floats[i]);
    }
    for (size_t i = 0; i < longs.size(); ++i) {
        pref->PutLong(key('l', i), longs[i]);
        pref->PutBool(key('b', i), i % 2 == 0);
    }
    for (size_t i = 0; i < ints.size(); ++i) {
        pref->PutInt(key('i', i), ints[i]);
    }
    ASSERT_EQ(pref->FlushSync(), E_OK);

    auto again = Reopen();
    EXPECT_EQ(again->GetString("a key with spaces & <marks>"), "v");
    for (size_t i = 0; i < strings.size(); ++i) {
        EXPECT_EQ(again->GetString(key('s', i), "default"), strings[i]) << i;
    }
    for (size_t i = 0; i < floats.size(); ++i) {
        const float read = again->GetFloat(key('f', i), 99.0f);
        EXPECT_EQ(read, floats[i]) << i;
        EXPECT_EQ(std::signbit(read), std::signbit(floats[i])) << i;
    }
    for (size_t i = 0; i < longs.size(); ++i) {
        EXPECT_EQ(again->GetLong(key('l', i), 7), longs[i]) << i;
        EXPECT_EQ(again->GetBool(key('b', i), i % 2 != 0), i % 2 == 0) << i;
    }
    for (size_t i = 0; i < ints.size(); ++i) {
        EXPECT_EQ(again->GetInt(key('i', i), 7), ints[i]) << i;
    }
    // A getter asked for another type answers its default; a put replaces a value of any type.
    EXPECT_EQ(again->GetLong("i0", 7), 7);
    EXPECT_EQ(again->GetInt("l0", 7), 7);
    EXPECT_EQ(again->GetString("f0", "d"), "d");
    EXPECT_EQ(again->PutLong("i0", 6), E_OK);
    EXPECT_EQ(again->GetInt("i0", 7), 7);
    EXPECT_EQ(again->PutBool("", true), E_INVALID_ARGS);
    EXPECT_EQ(again->Delete("i0"), E_OK);
    EXPECT_FALSE(again->HasKey("i0"));
}

TEST_F(PreferencesTest, CorruptUnreadableOrRefusedFileFailsWithItsCodeAndIsLeftAlone)
{
    const std::string head = "<?xml version=\"1.0\"?><preferences version=\"1\">";
    const std::string badFiles[] = {"", "garbage {]", head + "<int key=\"a\" value=\"1\"/><long key=\"b\" val",
        "<settings><int key=\"a\" value=\"1\"/></settings>", head + "<bool key=\"a\" value=\"yes\"/></preferences>",
        head + "<int key=\"a\" value=\"2147483648\"/></preferences>",
        head + "<long key=\"a\" value=\"12x\"/></preferences>", head + "<double key=\"a\" value=\"1\"/></preferences>",
        head + "<int value=\"1\"/></preferences>",
        head + "<int key=\"a\" value=\"1\"/><int key=\"a\" value=\"2\"/></preferences>"};
    ASSERT_TRUE(Emulator::MakeDirectories(std::filesystem::path(realPath_).parent_path()));
    int errCode = E_OK;
    for (const std::string& content : badFiles) {
        std::ofstream(realPath_, std::ios::binary) << content;
        EXPECT_EQ(Open(errCode), nullptr) << content;
        EXPECT_EQ(errCode, E_FILE_CORRUPT) << content;
        EXPECT_EQ(ReadFile(realPath_), content);
    }

    std::filesystem::remove(realPath_);
    ASSERT_TRUE(Emulator::MakeDirectories(realPath_)); // a folder where the file should be
    EXPECT_EQ(Open(errCode), nullptr);
    EXPECT_EQ(errCode, E_FILE_UNREADABLE);
    EXPECT_EQ(PreferencesHelper::GetPreferences(Options("relative/prefs.xml"), errCode), nullptr);
    EXPECT_EQ(errCode, E_INVALID_ARGS);
    Emulator::SetPreferencesOpenFails(true);
    EXPECT_EQ(Open(errCode), nullptr);
    EXPECT_EQ(errCode, E_OPEN_FAILED);
}

// Fails the N-th file-system step of a flush for N = 1, 2, ... until a flush gets through, once with
// only that step failing and once with every later step failing too. After each failure the file
// must hold exactly the old values and no temporary file may be left behind.
TEST_F(PreferencesTest, AFlushNeverLeavesATornFile)
{
    for (bool persistent : {false, true}) {
        auto pref = OpenOk();
        pref->Clear();
        pref->PutString("old", std::string(10000, 'o'));
        pref->PutLong("count", 1);
        ASSERT_EQ(pref->FlushSync(), E_OK);
        const std::string oldContent = ReadFile(realPath_);

        pref->PutString("new", std::string(20000, 'n')); // several blocks to write
        pref->PutLong("count", 2);
        int failures = 0;
        for (int step = 1; step < 100; ++step) {
            Emulator::FailPreferencesWriteStep(step, persistent);
            const int result = pref->FlushSync();
            if (result == E_OK) {
                break;
            }
            ++failures;
            EXPECT_EQ(result, E_WRITE_FAILED);
            // Only the last step (syncing the folder) comes after the rename.
            const bool renamed = ReadFile(realPath_) != oldContent;
            EXPECT_TRUE(renamed || FolderEntries(realPath_) == 1) << "step " << step;
            auto onDisk = Reopen();
            ASSERT_NE(onDisk, nullptr) << "step " << step;
            EXPECT_EQ(onDisk->GetLong("count"), renamed ? 2 : 1) << "step " << step;
            EXPECT_EQ(onDisk->HasKey("new"), renamed) << "step " << step;
            ASSERT_EQ(PreferencesHelper::RemovePreferencesFromCache(PHONE_PATH), E_OK);
        }
        EXPECT_GE(failures, 8) << "create, 5 blocks, sync, close, rename, folder sync";
        Emulator::FailPreferencesWriteStep(0, false);
        auto done = Reopen();
        EXPECT_EQ(done->GetLong("count"), 2);
        EXPECT_EQ(done->GetString("new"), std::string(20000, 'n'));
        EXPECT_EQ(FolderEntries(realPath_), 1);
    }
}

// Threads sharing the file's object put and flush at once: every key of every thread is on disk.
TEST_F(PreferencesTest, ConcurrentWritersLoseNoKey)
{
    constexpr int threads = 4;
    constexpr int keysPerThread = 50;
    std::vector<std::thread> writers;
    for (int t = 0; t < threads; ++t) {
        writers.emplace_back([t] {
            auto own = OpenOk();
            for (int i = 0; i < keysPerThread; ++i) {
                own->PutInt("k" + std::to_string(t) + "_" + std::to_string(i), i);
                EXPECT_EQ(own->FlushSync(), E_OK);
            }
        });
    }
    for (std::thread& writer : writers) {
        writer.join();
    }
    auto onDisk = Reopen();
    for (int t = 0; t < threads; ++t) {
        for (int i = 0; i < keysPerThread; ++i) {
            EXPECT_EQ(onDisk->GetInt("k" + std::to_string(t) + "_" + std::to_string(i), -1), i) << t << " " << i;
        }
    }
    EXPECT_EQ(FolderEntries(realPath_), 1);
}

} // namespace
} // namespace OHOS::NativePreferences
