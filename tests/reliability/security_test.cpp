// What leaves the plug-in's hands is protected: its files are its owner's alone, text from outside
// never becomes part of a database statement, and no path leads out of the data root. (That its
// state events reach only permitted subscribers, every strategy test checks.)
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <vector>

#include "data_root.h"
#include "engine_test_world.h"
#include "fault_week.h"
#include "hilog.h"
#include "preferences_file.h"
#include "preferences_helper.h"
#include "scoped_time_zone.h"
#include "settings_store.h"
#include "sleep_history_builder.h"
#include "sleep_reporter.h"
#include "sleep_shared_pref.h"

namespace OHOS::DevStandbyMgr {
namespace {

namespace fs = std::filesystem;

constexpr int64_t kHourMs = 3600000;
constexpr int64_t kMinuteMs = 60000;

std::vector<fs::path> FindFiles(const fs::path& root, const std::string& name)
{
    std::vector<fs::path> found;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        if (entry.path().filename() == name) {
            found.push_back(entry.path());
        }
    }
    return found;
}

// ---- Files and folders ----

// The process umask for one scope. The owner-only checks run under the permissive 022, so a file
// created without owner-only modes shows whatever umask the caller runs the tests with.
class ScopedUmask {
public:
    explicit ScopedUmask(mode_t mask) : previous_(umask(mask)) {}
    ~ScopedUmask() { umask(previous_); }
    ScopedUmask(const ScopedUmask&) = delete;
    ScopedUmask& operator=(const ScopedUmask&) = delete;

private:
    mode_t previous_;
};

TEST(SecurityTest, EveryFileAndFolderTheServicesWriteIsReadableByItsOwnerOnly)
{
    const ScopedUmask permissive{022};
    Emulator::ScopedTimeZone zone{"CST-8"};
    EngineTestWorld world(Emulator::LocalTimeMs(2024, 3, 12, 13, 0));
    ASSERT_TRUE(Emulator::SleepHistoryBuilder(Emulator::SleepHabit{}, 3).Write(world.Now(), {3, 0, 0}));
    SleepSharedPref::UpdateBoolSettings(SleepSharedPref::USER_SLEEPING, true);
    ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "next_alarm", "1"));
    SleepReporter::WritePowerBrainStateHiSysEvent(1, 1, world.Now());

    const fs::path root = Emulator::GetDataRoot();
    size_t files = 0;
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
        const fs::perms mode = entry.symlink_status().permissions() & fs::perms::all;
        if (entry.is_directory()) {
            EXPECT_EQ(mode, fs::perms::owner_all) << entry.path();
        } else {
            ++files;
            EXPECT_EQ(mode, fs::perms::owner_read | fs::perms::owner_write) << entry.path();
        }
    }
    // The database (with its write-ahead log), the preferences, the settings store, the events.
    EXPECT_GE(files, 4u);
    EXPECT_EQ(FindFiles(root, "sleep.db").size(), 1u);
    EXPECT_EQ(FindFiles(root, "sleep_shared_pref.xml").size(), 1u);
}

// ---- Text from outside and the database ----

// Every row of every table (schema included) as text, and the preferences file.
std::string SnapshotOfStoredData()
{
    const fs::path root = Emulator::GetDataRoot();
    std::ostringstream out;
    auto print = [&out](const std::vector<std::vector<std::string>>& rows) {
        for (const auto& row : rows) {
            for (const std::string& value : row) {
                out << value << '|';
            }
            out << '\n';
        }
    };
    for (const fs::path& path : FindFiles(root, "sleep.db")) {
        print(Sim::QueryDatabase(path, "SELECT type, name, sql FROM sqlite_master ORDER BY name"));
        for (const auto& table :
            Sim::QueryDatabase(path, "SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
            out << "== " << table[0] << '\n';
            print(Sim::QueryDatabase(path, "SELECT * FROM \"" + table[0] + "\" ORDER BY rowid"));
        }
    }
    for (const fs::path& path : FindFiles(root, "sleep_shared_pref.xml")) {
        out << std::ifstream(path).rdbuf();
    }
    return out.str();
}

AAFwk::Want WantWithTextIn(const std::vector<std::string>& keys, const std::string& text)
{
    AAFwk::Want want;
    for (const std::string& key : keys) {
        want.SetParam(key, text);
    }
    return want;
}

// A trained history, then one night in which `text` arrives everywhere outside text can enter:
// notification package names, the manual-prediction dump word, every parameter of an observation
// and of a training result; then the buffers are saved and the model is trained again.
std::string StoredDataAfterANightWith(const std::string& text)
{
    Emulator::LogCapture quiet;
    Emulator::ScopedTimeZone zone{"CST-8"};
    EngineTestWorld world(Emulator::LocalTimeMs(2024, 3, 12, 13, 0));
    EXPECT_TRUE(Emulator::SleepHistoryBuilder(Emulator::SleepHabit{}, 5).Write(world.Now(), {20, 0, 0}));
    world.Engine().SleepModelTrainTest();
    world.Handler().RunUntilIdle();
    world.RunUntil(world.Now() + 10 * kHourMs);
    world.ScreenOff();

    SleepDetection& engine = world.Engine();
    AAFwk::Want notification;
    notification.SetParam("timestamp", world.Now()).SetParam("pkg", text);
    engine.HandleAddNotificationInfo(notification);
    engine.HandleCancelNotificationInfo(notification.SetParam("timestamp", world.Now() + kMinuteMs));
    engine.HandleNotificationAfterStopSleep();
    engine.SleepPredictManualTest(text);
    engine.SleepPredictManualTest(text + "/" + text + "/0/0/0/0/0/0/0/0/0/0/0/0/0");
    SleepDataRecord record = SleepDataRecord::FromWant(
        WantWithTextIn({"timestamp", "weekType", "scrOffDuration", "userStationaryDuration", "light", "proximity",
                           "unlockTimestamp", "nextAlarmClockTriggerTime"},
            text));
    engine.HandleFinishCollect(record);
    AAFwk::Want trained = WantWithTextIn(
        {"notiProbWeekday", "notiProbWeekend", "weekdayThreeSigmaTimestamp", "weekendThreeSigmaTimestamp"}, text);
    engine.HandleFinishTrain(trained.SetParam("isTrainSuccess", true));
    engine.SaveDataToDatabase();
    world.RunUntil(world.Now() + 8 * kHourMs);
    engine.SleepModelTrainTest();
    world.Handler().RunUntilIdle();
    SleepDetection::WaitForTrainingThreads(); // the training prunes rows on its own thread
    return SnapshotOfStoredData();
}

TEST(SecurityTest, QuotesAndStatementsInOutsideTextLeaveTheStoredDataExactlyAsPlainTextDoes)
{
    const std::string plain = StoredDataAfterANightWith("plain.package.name");
    ASSERT_NE(plain.find("== sleep_environment"), std::string::npos);
    const std::string hostile[] = {"x'); DROP TABLE sleep_environment; --", "0 OR 1=1",
        "1; DELETE FROM raw_screen_state", "x\" , label = 9 WHERE \"1\"=\"1",
        "%s%n' || (SELECT sql FROM sqlite_master) || '"};
    for (const std::string& text : hostile) {
        EXPECT_EQ(StoredDataAfterANightWith(text), plain) << text;
    }
}

// ---- The data root ----

class DataRootConfinementTest : public testing::Test {
protected:
    void SetUp() override
    {
        fs::create_directories(root_.Path() + "/data/real");
        fs::create_directory_symlink(outside_.Path(), root_.Path() + "/data/out");
        fs::create_directory_symlink(root_.Path() + "/data/real", root_.Path() + "/data/in");
        fs::create_symlink(outside_.Path() + "/created-by-link", root_.Path() + "/data/dangling");
    }

    // A second scratch folder stands for the rest of the machine; the root is the current one.
    Emulator::ScopedDataRoot outside_, root_;
};

TEST_F(DataRootConfinementTest, PathsThatCouldLeadOutOfTheRootAreRefused)
{
    const std::string root = root_.Path();
    // Accepted: inside the root, through a link that stays inside, or already under the root.
    const std::pair<std::string, std::string> cases[] = {{"/data/service/x.db", root + "/data/service/x.db"},
        {"/data/real/x", root + "/data/real/x"}, {"/data/in/x", root + "/data/in/x"},
        {"/data/..hidden/x", root + "/data/..hidden/x"}, {root + "/data/x", root + "/data/x"},
        {"/data/../../etc/passwd", ""}, {"/data/service/..", ""}, {root + "/../x", ""}, {"data/x", ""},
        {"/data/out/x", ""}, {"/data/out", ""}, {"/data/out/deeper/still/x", ""}, {"/data/dangling", ""},
        {"/data/dangling/x", ""}};
    for (const auto& [phonePath, expected] : cases) {
        EXPECT_EQ(Emulator::MapPhonePath(phonePath), expected) << phonePath;
    }
}

TEST_F(DataRootConfinementTest, ServicesWriteNothingThroughALinkThatLeavesTheRoot)
{
    int errCode = 0;
    EXPECT_EQ(NativePreferences::PreferencesHelper::GetPreferences({"/data/out/prefs.xml"}, errCode), nullptr);
    EXPECT_NE(errCode, 0);
    EXPECT_NE(NativePreferences::WritePreferencesFile(Emulator::MapPhonePath("/data/dangling"), {{"k", 1}}),
        NativePreferences::E_OK);
    EXPECT_TRUE(fs::is_empty(outside_.Path()));
}

} // namespace
} // namespace OHOS::DevStandbyMgr
