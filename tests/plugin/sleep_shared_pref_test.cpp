#include <fstream>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "data_root.h"
#include "hilog.h"
#include "preferences_helper.h"
#include "sleep_shared_pref.h"
#include "test_files.h"

namespace OHOS::DevStandbyMgr {
namespace {

using Emulator::ReadFile;

class SleepSharedPrefTest : public testing::Test {
protected:
    void SetUp() override
    {
        Emulator::ResetPreferencesFaults();
        Emulator::ClearPreferencesCache();
        realPath_ = Emulator::MapPhonePath(SleepSharedPref::SLEEP_SHARED_PREF_PATH);
    }
    void TearDown() override
    {
        Emulator::ResetPreferencesFaults();
        Emulator::ClearPreferencesCache();
    }

    Emulator::ScopedDataRoot root_;
    std::string realPath_;
};

// Writes every type in a child process; this process, which never opened the file, reads them back.
TEST_F(SleepSharedPrefTest, UpdatesAreOnDiskForTheNextProcess)
{
    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_SLEEPING_AI, true);
        SleepSharedPref::UpdateFloatSettings(SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKDAY, 0.35f);
        SleepSharedPref::UpdateInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKEND, 1700000123456LL);
        SleepSharedPref::UpdateInt32Settings("counter", -42);
        SleepSharedPref::UpdateStringSettings("note", "a <b> & c");
        _exit(0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

    EXPECT_TRUE(SleepSharedPref::GetBoolSettings(SleepSharedPref::USER_SLEEPING_AI, false));
    EXPECT_EQ(SleepSharedPref::GetFloatSettings(SleepSharedPref::HAS_NOTIFICATION_PROBABILITY_WEEKDAY, 0.0f), 0.35f);
    EXPECT_EQ(SleepSharedPref::GetInt64Settings(SleepSharedPref::THREE_SIGMA_TIMESTAMP_WEEKEND, 0), 1700000123456LL);
    EXPECT_EQ(SleepSharedPref::GetInt32Settings("counter", 0), -42);
    EXPECT_EQ(SleepSharedPref::GetStringSettings("note", ""), "a <b> & c");
    // Keys never written give exactly the default.
    EXPECT_EQ(SleepSharedPref::GetStringSettings("absent", "fallback"), "fallback");
    EXPECT_TRUE(SleepSharedPref::GetBoolSettings("absent", true));
    EXPECT_EQ(SleepSharedPref::GetFloatSettings("absent", -1.25f), -1.25f);
    EXPECT_EQ(SleepSharedPref::GetInt64Settings("absent", INT64_MIN), INT64_MIN);
    EXPECT_EQ(SleepSharedPref::GetInt32Settings("absent", 9), 9);
}

// Every operation against a file that cannot be opened gives the default, writes nothing and logs one
// error; the string getter's text has one space before "errCode", all others two.
TEST_F(SleepSharedPrefTest, EveryOperationDegradesToTheDefaultAndLogsWhenTheFileCannotBeOpened)
{
    Emulator::SetPreferencesOpenFails(true);
    Emulator::LogCapture capture;
    EXPECT_EQ(SleepSharedPref::GetStringSettings("k", "dflt"), "dflt");
    const std::string code = std::to_string(NativePreferences::E_OPEN_FAILED);
    EXPECT_EQ(capture.Texts(), std::vector<std::string>{"pref is nullptr, errCode: " + code});
    capture.Clear();
    SleepSharedPref::UpdateStringSettings("k", "v");
    EXPECT_TRUE(SleepSharedPref::GetBoolSettings("k", true));
    SleepSharedPref::UpdateBoolSettings("k", true);
    EXPECT_EQ(SleepSharedPref::GetFloatSettings("k", 0.5f), 0.5f);
    SleepSharedPref::UpdateFloatSettings("k", 1.0f);
    EXPECT_EQ(SleepSharedPref::GetInt64Settings("k", 77), 77);
    SleepSharedPref::UpdateInt64Settings("k", 1);
    EXPECT_EQ(SleepSharedPref::GetInt32Settings("k", -3), -3);
    SleepSharedPref::UpdateInt32Settings("k", 1);
    EXPECT_EQ(capture.Texts(), std::vector<std::string>(9, "pref is nullptr,  errCode: " + code));
    for (const auto& record : capture.Records()) {
        EXPECT_EQ(record.level, LOG_ERROR) << record.message;
    }
    Emulator::SetPreferencesOpenFails(false);
    EXPECT_FALSE(SleepSharedPref::GetBoolSettings("k", false)) << "an updater wrote through a failed open";
}

TEST_F(SleepSharedPrefTest, AFailedOpenDropsTheCacheSoTheNextCallRereadsTheFile)
{
    SleepSharedPref::UpdateInt64Settings(SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, 1);
    // Another writer changes the file behind the cached object.
    auto other = std::make_shared<NativePreferences::Preferences>(realPath_, NativePreferences::PreferencesMap{});
    other->PutLong(SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, 2);
    ASSERT_EQ(other->FlushSync(), NativePreferences::E_OK);
    EXPECT_EQ(SleepSharedPref::GetInt64Settings(SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, 0), 1)
        << "still the cached object";

    Emulator::SetPreferencesOpenFails(true);
    EXPECT_EQ(SleepSharedPref::GetInt64Settings(SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, 0), 0);
    Emulator::SetPreferencesOpenFails(false);
    EXPECT_EQ(SleepSharedPref::GetInt64Settings(SleepSharedPref::START_NEGATIVE_FEEDBACK_MODE_TIMESTAMP, 0), 2);
}

TEST_F(SleepSharedPrefTest, ACorruptFileIsNeverOverwritten)
{
    ASSERT_TRUE(Emulator::MakeDirectories(realPath_.substr(0, realPath_.find_last_of('/'))));
    const std::string corrupt = "<preferences><bool key=\"user_sleeping_AI\" value=\"tr";
    std::ofstream(realPath_) << corrupt;
    Emulator::LogCapture capture;
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_SLEEPING_AI, false);
    EXPECT_TRUE(SleepSharedPref::GetBoolSettings(SleepSharedPref::USER_SLEEPING_AI, true));
    EXPECT_TRUE(capture.HasText("pref is nullptr,  errCode: " + std::to_string(NativePreferences::E_FILE_CORRUPT)));
    EXPECT_EQ(ReadFile(realPath_), corrupt);
}

TEST_F(SleepSharedPrefTest, AFailedFlushLeavesTheFileAsItWas)
{
    SleepSharedPref::UpdateInt32Settings("n", 1);
    const std::string before = ReadFile(realPath_);
    Emulator::SetPreferencesFlushFails(true);
    SleepSharedPref::UpdateInt32Settings("n", 2);
    EXPECT_EQ(ReadFile(realPath_), before);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
