#include <atomic>
#include <filesystem>
#include <functional>
#include <optional>

#include <gtest/gtest.h>
#include <sqlite3.h>

#include "data_root.h"
#include "datashare_helper.h"
#include "iservice_registry.h"
#include "settings_store.h"

namespace OHOS::DataShare {
namespace {

using Emulator::DataShareFault;
using Emulator::SETTINGS_TABLE;

const std::string TABLE_URI = "datashare:///com.ohos.settingsdata/entry/settingsdata/SETTINGSDATA?Proxy=true";
const std::string USER_URI = "datashare:///com.ohos.settingsdata/entry/settingsdata/USER_SETTINGSDATA_100?Proxy=true";

class CountingObserver : public AAFwk::DataAbilityObserverStub {
public:
    void OnChange() override { ++changes; }
    std::atomic<int> changes{0};
};

DataSharePredicates KeyIs(const std::string& key)
{
    DataSharePredicates predicates;
    predicates.EqualTo("KEYWORD", key);
    return predicates;
}

DataShareValuesBucket Row(const std::string& key, const std::string& value)
{
    DataShareValuesBucket bucket;
    bucket.Put("KEYWORD", key);
    bucket.Put("VALUE", value);
    return bucket;
}

// Writes the store's file as another process would, with a connection of its own.
void WriteFromAnotherConnection(const std::string& sql)
{
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(Emulator::MapPhonePath(Emulator::SETTINGS_DATABASE_PATH).c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
    sqlite3_close(db);
}

class DataShareTest : public testing::Test {
protected:
    void SetUp() override
    {
        ResetAll();
        auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        ASSERT_NE(manager, nullptr);
        helper_ =
            DataShareHelper::Creator(manager->GetSystemAbility(Emulator::SETTINGS_DATA_SYSTEM_ABILITY_ID), TABLE_URI);
        ASSERT_NE(helper_, nullptr);
    }
    void TearDown() override { ResetAll(); }
    static void ResetAll()
    {
        Emulator::ResetDataShareFaults();
        Emulator::ResetSystemAbilities();
        Emulator::ClearSettingsObservers();
    }

    Emulator::ScopedDataRoot root_;
    std::shared_ptr<DataShareHelper> helper_;
};

TEST_F(DataShareTest, RowsLiveInOneTablePerUriInAnOwnerOnlyFile)
{
    Uri global(TABLE_URI + "&key=k");
    Uri user100(USER_URI + "&key=k");
    EXPECT_GT(helper_->Insert(global, Row("k", "global")), 0);
    EXPECT_EQ(helper_->Insert(global, Row("k", "again")), E_ERROR) << "one row per key";
    EXPECT_GT(helper_->Insert(user100, Row("k", "user")), 0);
    EXPECT_EQ(helper_->Update(global, KeyIs("k"), Row("k", "changed")), 1);
    EXPECT_EQ(helper_->Update(global, KeyIs("absent"), Row("absent", "x")), 0);

    EXPECT_EQ(Emulator::GetSetting(SETTINGS_TABLE, "k"), "changed");
    EXPECT_EQ(Emulator::GetSetting(Emulator::UserSettingsTable(100), "k"), "user");
    EXPECT_EQ(Emulator::GetSetting(SETTINGS_TABLE, "absent"), std::nullopt);
    EXPECT_EQ(std::filesystem::status(Emulator::MapPhonePath(Emulator::SETTINGS_DATABASE_PATH)).permissions(),
        std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

// A read repeated after any kind of write sees the write, and a query fault still fails every call.
TEST_F(DataShareTest, RepeatedReadsSeeEveryWriteAndEveryFault)
{
    Uri uri(TABLE_URI + "&key=k");
    struct Step {
        const char* what;
        std::function<void()> write;
        std::optional<std::string> expected;
    };
    const std::vector<Step> steps = {
        {"insert", [&] { helper_->Insert(uri, Row("k", "inserted")); }, "inserted"},
        {"update", [&] { helper_->Update(uri, KeyIs("k"), Row("k", "updated")); }, "updated"},
        {"put", [] { Emulator::PutSetting(SETTINGS_TABLE, "k", "put"); }, "put"},
        {"delete", [] { Emulator::DeleteSetting(SETTINGS_TABLE, "k"); }, std::nullopt},
        {"put again", [] { Emulator::PutSetting(SETTINGS_TABLE, "k", "back"); }, "back"},
        {"another connection", [] { WriteFromAnotherConnection("UPDATE SETTINGSDATA SET VALUE = 'other'"); },
            "other"},
        // A file in write-ahead-log mode commits into the log, not the main file's header.
        {"another connection in WAL mode",
            [] { WriteFromAnotherConnection("PRAGMA journal_mode = WAL; UPDATE SETTINGSDATA SET VALUE = 'wal'"); },
            "wal"},
        {"WAL again", [] { WriteFromAnotherConnection("UPDATE SETTINGSDATA SET VALUE = 'wal again'"); }, "wal again"},
        {"file removed", [] { std::filesystem::remove(Emulator::MapPhonePath(Emulator::SETTINGS_DATABASE_PATH)); },
            std::nullopt},
    };
    std::vector<std::string> columns = {"VALUE"};
    for (const Step& step : steps) {
        step.write();
        for (int read = 0; read < 2; ++read) {
            EXPECT_EQ(Emulator::GetSetting(SETTINGS_TABLE, "k"), step.expected) << step.what << " read " << read;
        }
        Emulator::FailNthDataShareCall(DataShareFault::QUERY_FAILS, 1, false);
        EXPECT_EQ(helper_->Query(uri, KeyIs("k"), columns), nullptr) << step.what;
        EXPECT_NE(helper_->Query(uri, KeyIs("k"), columns), nullptr) << step.what;
    }
}

TEST_F(DataShareTest, MalformedCallsAndFaultsAreRefusedAndWriteNothing)
{
    std::vector<std::string> columns = {"VALUE"};
    for (const std::string text : {"", "datashare:///a/b/?key=k", "datashare:///a/T;DROP TABLE x?key=k"}) {
        Uri uri(text);
        EXPECT_EQ(helper_->Query(uri, KeyIs("k"), columns), nullptr) << text;
        EXPECT_EQ(helper_->Insert(uri, Row("k", "v")), E_ERROR) << text;
    }
    Uri good(TABLE_URI);
    std::vector<std::string> badColumns = {"VALUE FROM x"};
    EXPECT_EQ(helper_->Query(good, KeyIs("k"), badColumns), nullptr);
    DataSharePredicates badPredicate;
    badPredicate.EqualTo("1=1 OR KEYWORD", "k");
    EXPECT_EQ(helper_->Update(good, badPredicate, Row("k", "v")), E_ERROR);

    Uri uri(TABLE_URI + "&key=k");
    Emulator::SetDataShareFault(DataShareFault::INSERT_FAILS, true);
    EXPECT_EQ(helper_->Insert(uri, Row("k", "v")), E_ERROR);
    Emulator::SetDataShareFault(DataShareFault::UPDATE_FAILS, true);
    EXPECT_EQ(helper_->Update(uri, KeyIs("k"), Row("k", "v")), E_ERROR);
    Emulator::SetDataShareFault(DataShareFault::REGISTER_FAILS, true);
    EXPECT_EQ(helper_->RegisterObserver(uri, std::make_shared<CountingObserver>()), E_ERROR);

    Emulator::ResetDataShareFaults();
    EXPECT_EQ(Emulator::GetSetting(SETTINGS_TABLE, "k"), std::nullopt);
    EXPECT_TRUE(helper_->Release());
    EXPECT_FALSE(helper_->Release());
    EXPECT_EQ(helper_->Insert(uri, Row("k", "v")), E_ERROR) << "released";
}

TEST_F(DataShareTest, ObserversHearTheirKeyOrTheirWholeTable)
{
    auto alarm = std::make_shared<CountingObserver>();
    auto wholeTable = std::make_shared<CountingObserver>();
    Uri alarmUri(TABLE_URI + "&key=nearestAlarmingTime");
    ASSERT_EQ(helper_->RegisterObserver(alarmUri, alarm), E_OK);
    ASSERT_EQ(helper_->RegisterObserver(Uri(TABLE_URI), wholeTable), E_OK);

    ASSERT_TRUE(Emulator::PutSetting(SETTINGS_TABLE, "nearestAlarmingTime", "1000"));
    ASSERT_TRUE(Emulator::PutSetting(SETTINGS_TABLE, "screen_off_timeout", "30"));
    helper_->NotifyChange(alarmUri);
    ASSERT_TRUE(Emulator::DeleteSetting(SETTINGS_TABLE, "nearestAlarmingTime"));
    EXPECT_EQ(alarm->changes, 3);
    EXPECT_EQ(wholeTable->changes, 4);

    EXPECT_EQ(helper_->UnregisterObserver(alarmUri, alarm), E_OK);
    EXPECT_EQ(helper_->UnregisterObserver(alarmUri, alarm), E_ERROR);
    helper_.reset(); // a destroyed connection drops what it registered
    ASSERT_TRUE(Emulator::PutSetting(SETTINGS_TABLE, "nearestAlarmingTime", "2000"));
    EXPECT_EQ(alarm->changes, 3);
    EXPECT_EQ(wholeTable->changes, 4);
}

// An observer that unregisters itself from inside its notification hears that change only; the others
// registered on the key still hear every change.
class UnregisteringObserver : public CountingObserver {
public:
    UnregisteringObserver(DataShareHelper& helper, const Uri& uri) : helper_(helper), uri_(uri) {}
    void OnChange() override
    {
        ++changes;
        unregistered = helper_.UnregisterObserver(uri_, self.lock());
    }
    std::weak_ptr<UnregisteringObserver> self;
    int unregistered = E_ERROR;

private:
    DataShareHelper& helper_;
    Uri uri_;
};

TEST_F(DataShareTest, ObserverMayUnregisterItselfWhileBeingNotified)
{
    Uri alarmUri(TABLE_URI + "&key=nearestAlarmingTime");
    auto leaving = std::make_shared<UnregisteringObserver>(*helper_, alarmUri);
    leaving->self = leaving;
    auto staying = std::make_shared<CountingObserver>();
    ASSERT_EQ(helper_->RegisterObserver(alarmUri, leaving), E_OK);
    ASSERT_EQ(helper_->RegisterObserver(alarmUri, staying), E_OK);
    ASSERT_TRUE(Emulator::PutSetting(SETTINGS_TABLE, "nearestAlarmingTime", "1000"));
    ASSERT_TRUE(Emulator::PutSetting(SETTINGS_TABLE, "nearestAlarmingTime", "2000"));
    EXPECT_EQ(leaving->unregistered, E_OK);
    EXPECT_EQ(leaving->changes, 1);
    EXPECT_EQ(staying->changes, 2);
}

} // namespace
} // namespace OHOS::DataShare
