#include <atomic>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "data_root.h"
#include "datashare_helper.h"
#include "iservice_registry.h"
#include "settings_store.h"

namespace OHOS::DataShare {
namespace {

using Emulator::DataShareFault;

const std::string TABLE_URI = "datashare:///com.ohos.settingsdata/entry/settingsdata/SETTINGSDATA?Proxy=true";

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

class DataShareTest : public testing::Test {
protected:
    void SetUp() override { ResetAll(); }
    void TearDown() override { ResetAll(); }
    static void ResetAll()
    {
        Emulator::ResetDataShareFaults();
        Emulator::ResetSystemAbilities();
        Emulator::ClearSettingsObservers();
    }

    static std::shared_ptr<DataShareHelper> Connect()
    {
        auto manager = SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager();
        return manager == nullptr
                   ? nullptr
                   : DataShareHelper::Creator(
                         manager->GetSystemAbility(Emulator::SETTINGS_DATA_SYSTEM_ABILITY_ID), TABLE_URI);
    }

    // The VALUE of `key` read through `helper`, or "<none>".
    static std::string ValueOf(DataShareHelper& helper, const std::string& uriText, const std::string& key)
    {
        Uri uri(uriText);
        std::vector<std::string> columns = {"VALUE"};
        auto result = helper.Query(uri, KeyIs(key), columns);
        std::string value = "<none>";
        if (result != nullptr && result->GoToFirstRow() == E_OK) {
            result->GetString(0, value);
        }
        return value;
    }

    Emulator::ScopedDataRoot root_;
};

TEST_F(DataShareTest, ConnectionNeedsTheManagerTheRunningServiceAndAWillingProvider)
{
    EXPECT_NE(Connect(), nullptr);
    Emulator::SetSystemAbilityManagerUnavailable(true);
    EXPECT_EQ(SystemAbilityManagerClient::GetInstance().GetSystemAbilityManager(), nullptr);
    Emulator::SetSystemAbilityManagerUnavailable(false);
    Emulator::SetSystemAbilityRunning(Emulator::SETTINGS_DATA_SYSTEM_ABILITY_ID, false);
    EXPECT_EQ(Connect(), nullptr);
    Emulator::SetSystemAbilityRunning(Emulator::SETTINGS_DATA_SYSTEM_ABILITY_ID, true);
    Emulator::SetDataShareFault(DataShareFault::CREATOR_FAILS, true);
    EXPECT_EQ(Connect(), nullptr);
}

TEST_F(DataShareTest, RowsLiveInOneTablePerUriInAnOwnerOnlyFile)
{
    auto helper = Connect();
    ASSERT_NE(helper, nullptr);
    Uri global(TABLE_URI + "&key=k");
    Uri user100("datashare:///com.ohos.settingsdata/entry/settingsdata/USER_SETTINGSDATA_100?Proxy=true&key=k");
    EXPECT_GT(helper->Insert(global, Row("k", "global")), 0);
    EXPECT_EQ(helper->Insert(global, Row("k", "again")), E_ERROR) << "one row per key";
    EXPECT_GT(helper->Insert(user100, Row("k", "user")), 0);
    EXPECT_EQ(helper->Update(global, KeyIs("k"), Row("k", "changed")), 1);
    EXPECT_EQ(helper->Update(global, KeyIs("absent"), Row("absent", "x")), 0);

    EXPECT_EQ(ValueOf(*helper, global.ToString(), "k"), "changed");
    EXPECT_EQ(ValueOf(*helper, user100.ToString(), "k"), "user");
    EXPECT_EQ(Emulator::GetSetting(Emulator::UserSettingsTable(100), "k"), "user");
    EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, "absent"), std::nullopt);

    struct stat info {};
    ASSERT_EQ(stat(Emulator::MapPhonePath(Emulator::SETTINGS_DATABASE_PATH).c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST_F(DataShareTest, MalformedUrisAndColumnsAreRefusedNotRun)
{
    auto helper = Connect();
    ASSERT_NE(helper, nullptr);
    std::vector<std::string> columns = {"VALUE"};
    for (const std::string text : {"", "datashare:///a/b/?key=k", "datashare:///a/T;DROP TABLE x?key=k"}) {
        Uri uri(text);
        EXPECT_EQ(helper->Query(uri, KeyIs("k"), columns), nullptr) << text;
        EXPECT_EQ(helper->Insert(uri, Row("k", "v")), E_ERROR) << text;
    }
    Uri good(TABLE_URI);
    std::vector<std::string> badColumns = {"VALUE FROM x"};
    EXPECT_EQ(helper->Query(good, KeyIs("k"), badColumns), nullptr);
    DataSharePredicates badPredicate;
    badPredicate.EqualTo("1=1 OR KEYWORD", "k");
    EXPECT_EQ(helper->Update(good, badPredicate, Row("k", "v")), E_ERROR);
}

TEST_F(DataShareTest, EachFaultAnswersWithItsFailure)
{
    auto helper = Connect();
    ASSERT_NE(helper, nullptr);
    Uri uri(TABLE_URI + "&key=k");
    std::vector<std::string> columns = {"VALUE"};
    auto observer = std::make_shared<CountingObserver>();

    Emulator::SetDataShareFault(DataShareFault::QUERY_FAILS, true);
    EXPECT_EQ(helper->Query(uri, KeyIs("k"), columns), nullptr);
    Emulator::SetDataShareFault(DataShareFault::INSERT_FAILS, true);
    EXPECT_EQ(helper->Insert(uri, Row("k", "v")), E_ERROR);
    Emulator::SetDataShareFault(DataShareFault::UPDATE_FAILS, true);
    EXPECT_EQ(helper->Update(uri, KeyIs("k"), Row("k", "v")), E_ERROR);
    Emulator::SetDataShareFault(DataShareFault::REGISTER_FAILS, true);
    EXPECT_EQ(helper->RegisterObserver(uri, observer), E_ERROR);
    Emulator::SetDataShareFault(DataShareFault::RELEASE_FAILS, true);
    EXPECT_FALSE(helper->Release());

    Emulator::ResetDataShareFaults();
    EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, "k"), std::nullopt) << "failed calls wrote nothing";
    EXPECT_TRUE(helper->Release());
    EXPECT_FALSE(helper->Release());
    EXPECT_EQ(helper->Insert(uri, Row("k", "v")), E_ERROR) << "released";
}

TEST_F(DataShareTest, ObserversHearTheirKeyOrTheirWholeTable)
{
    auto helper = Connect();
    ASSERT_NE(helper, nullptr);
    auto alarm = std::make_shared<CountingObserver>();
    auto wholeTable = std::make_shared<CountingObserver>();
    auto otherTable = std::make_shared<CountingObserver>();
    Uri alarmUri(TABLE_URI + "&key=nearestAlarmingTime");
    ASSERT_EQ(helper->RegisterObserver(alarmUri, alarm), E_OK);
    ASSERT_EQ(helper->RegisterObserver(Uri(TABLE_URI), wholeTable), E_OK);
    ASSERT_EQ(
        helper->RegisterObserver(
            Uri("datashare:///com.ohos.settingsdata/entry/settingsdata/USER_SETTINGSDATA_100?Proxy=true"), otherTable),
        E_OK);

    ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "nearestAlarmingTime", "1000"));
    ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "screen_off_timeout", "30"));
    helper->NotifyChange(alarmUri);
    ASSERT_TRUE(Emulator::DeleteSetting(Emulator::SETTINGS_TABLE, "nearestAlarmingTime"));
    EXPECT_EQ(alarm->changes, 3);
    EXPECT_EQ(wholeTable->changes, 4);
    EXPECT_EQ(otherTable->changes, 0);

    EXPECT_EQ(helper->UnregisterObserver(alarmUri, alarm), E_OK);
    EXPECT_EQ(helper->UnregisterObserver(alarmUri, alarm), E_ERROR);
    helper.reset(); // a destroyed connection drops what it registered
    ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "nearestAlarmingTime", "2000"));
    EXPECT_EQ(alarm->changes, 3);
    EXPECT_EQ(wholeTable->changes, 4);
}

TEST_F(DataShareTest, AnObserverMayUnregisterItselfWhileNotified)
{
    auto helper = Connect();
    ASSERT_NE(helper, nullptr);
    Uri uri(TABLE_URI + "&key=k");
    struct SelfRemoving : AAFwk::DataAbilityObserverStub {
        std::function<void()> onChange;
        void OnChange() override { onChange(); }
    };
    auto observer = std::make_shared<SelfRemoving>();
    int calls = 0;
    observer->onChange = [&] {
        ++calls;
        helper->UnregisterObserver(uri, observer);
    };
    ASSERT_EQ(helper->RegisterObserver(uri, observer), E_OK);
    Emulator::PutSetting(Emulator::SETTINGS_TABLE, "k", "1");
    Emulator::PutSetting(Emulator::SETTINGS_TABLE, "k", "2");
    EXPECT_EQ(calls, 1);
    observer->onChange = nullptr;
}

TEST_F(DataShareTest, ResultSetGettersFailOutsideTheirRowsAndColumns)
{
    DataShareResultSet result({"KEYWORD", "VALUE"}, {{"a", "12"}, {"b", std::nullopt}});
    std::string text = "untouched";
    int64_t number = -9;
    int index = -1;
    EXPECT_EQ(result.GetString(0, text), E_ERROR) << "before the first row";
    ASSERT_EQ(result.GoToFirstRow(), E_OK);
    ASSERT_EQ(result.GetColumnIndex("VALUE", index), E_OK);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(result.GetColumnIndex("MISSING", index), E_ERROR);
    EXPECT_EQ(result.GetString(2, text), E_ERROR);
    EXPECT_EQ(result.GetLong(0, number), E_ERROR) << "not a number";
    EXPECT_EQ(text, "untouched");
    EXPECT_EQ(number, -9);
    EXPECT_EQ(result.GetLong(1, number), E_OK);
    EXPECT_EQ(number, 12);
    ASSERT_EQ(result.GoToNextRow(), E_OK);
    EXPECT_EQ(result.GetString(1, text), E_ERROR) << "NULL value";
    EXPECT_EQ(result.GoToNextRow(), E_ERROR);
    result.Close();
    int count = -1;
    EXPECT_EQ(result.GetRowCount(count), E_ERROR);
    EXPECT_EQ(result.GoToFirstRow(), E_ERROR);
}

} // namespace
} // namespace OHOS::DataShare
