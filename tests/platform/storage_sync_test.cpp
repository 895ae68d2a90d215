// The disk-sync switch of the stores: SQLite runs unsynced while it is off, and every store still
// writes real files that read back, including after the switch changes under an open store.
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "data_root.h"
#include "preferences_file.h"
#include "rdb_helper.h"
#include "rdb_sql_utils.h"
#include "result_set.h"
#include "settings_store.h"
#include "storage_sync.h"

namespace OHOS {
namespace {

class NoTables : public NativeRdb::RdbOpenCallback {
public:
    int OnCreate(NativeRdb::RdbStore& /* store */) override { return NativeRdb::E_OK; }
    int OnUpgrade(NativeRdb::RdbStore& /* store */, int /* current */, int /* target */) override
    {
        return NativeRdb::E_OK;
    }
};

class StorageSyncTest : public testing::Test {
protected:
    void TearDown() override
    {
        Emulator::SetStorageSyncEnabled(true);
        NativeRdb::RdbHelper::ClearCache();
    }
    Emulator::ScopedDataRoot root_;
};

TEST_F(StorageSyncTest, RelationalStoreRunsUnsyncedOnlyWhileTheSwitchIsOff)
{
    struct Case {
        bool syncEnabled;
        std::string configuredMode;
        std::string expected; // PRAGMA synchronous: 0 OFF, 1 NORMAL, 2 FULL
    };
    const std::vector<Case> cases = {
        {true, "NORMAL", "1"}, {true, "FULL", "2"}, {false, "FULL", "0"}, {false, "", "0"}};
    int number = 0;
    for (const Case& test : cases) {
        SCOPED_TRACE(test.configuredMode + (test.syncEnabled ? " synced" : " unsynced"));
        Emulator::SetStorageSyncEnabled(test.syncEnabled);
        int errCode = NativeRdb::E_OK;
        const std::string path = NativeRdb::RdbSqlUtils::GetDefaultDatabasePath(
            "/data/service/el3/100/test", "s" + std::to_string(++number) + ".db", errCode);
        const NativeRdb::RdbStoreConfig config(
            path, NativeRdb::StorageMode::MODE_DISK, false, {}, "", test.configuredMode);
        NoTables callback;
        auto store = NativeRdb::RdbHelper::GetRdbStore(config, 1, callback, errCode);
        ASSERT_NE(store, nullptr);
        ASSERT_EQ(store->ExecuteSql("CREATE TABLE t (n INTEGER)"), NativeRdb::E_OK);
        ASSERT_EQ(store->BeginTransaction(), NativeRdb::E_OK); // queries then run on the writing connection
        auto result = store->QuerySql("PRAGMA synchronous");
        std::string mode;
        ASSERT_NE(result, nullptr);
        ASSERT_EQ(result->GoToFirstRow(), NativeRdb::E_OK);
        result->GetString(0, mode);
        EXPECT_EQ(mode, test.expected);
        result.reset();
        EXPECT_EQ(store->RollBack(), NativeRdb::E_OK);
    }
}

TEST_F(StorageSyncTest, PreferencesAndSettingsAreWrittenAndReadBackWithEitherSetting)
{
    const std::string prefs = Emulator::MapPhonePath("/data/service/el1/public/test_prefs/prefs.xml");
    for (bool syncEnabled : {true, false, true}) {
        SCOPED_TRACE(syncEnabled ? "synced" : "unsynced");
        Emulator::SetStorageSyncEnabled(syncEnabled);
        const NativePreferences::PreferencesMap written = {{"k", int64_t{syncEnabled ? 1 : 2}}};
        ASSERT_EQ(NativePreferences::WritePreferencesFile(prefs, written), NativePreferences::E_OK);
        NativePreferences::PreferencesMap read;
        ASSERT_EQ(NativePreferences::ReadPreferencesFile(prefs, read), NativePreferences::E_OK);
        EXPECT_EQ(read, written);

        const std::string value = syncEnabled ? "synced" : "unsynced";
        ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "key", value));
        EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, "key"), value);
    }
}

TEST_F(StorageSyncTest, SettingsFollowTheirFileWhenItIsRemovedOrTheDataRootMoves)
{
    ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "key", "first"));
    std::filesystem::remove(Emulator::MapPhonePath(Emulator::SETTINGS_DATABASE_PATH));
    EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, "key"), std::nullopt);
    ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "key", "second"));
    {
        Emulator::ScopedDataRoot other;
        EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, "key"), std::nullopt);
        ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "key", "elsewhere"));
    }
    EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, "key"), "second");
}

} // namespace
} // namespace OHOS
