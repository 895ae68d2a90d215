#include <tuple>

#include <gtest/gtest.h>

#include "data_root.h"
#include "hilog.h"
#include "iservice_registry.h"
#include "os_account_manager.h"
#include "settings_store.h"
#include "standby_datashare_helper.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int32_t SETTINGS_SA_ID = 1914;
const std::string ALARM_KEY = "nearestAlarmingTime";
const std::string ALARM_URI =
    "datashare:///com.ohos.settingsdata/entry/settingsdata/SETTINGSDATA?Proxy=true&key=nearestAlarmingTime";
const std::string LOCKSCREEN_KEY = "lockscreen_sounds_enabled";

class StandbyDataShareHelperTest : public testing::Test {
protected:
    void SetUp() override { ResetAll(); }
    void TearDown() override { ResetAll(); }
    static void ResetAll()
    {
        Emulator::ResetDataShareFaults();
        Emulator::ResetSystemAbilities();
        Emulator::ResetOsAccounts();
        Emulator::ClearSettingsObservers();
    }

    Emulator::ScopedDataRoot root_;
};

TEST_F(StandbyDataShareHelperTest, ReadsTheNextAlarmAtItsExactUri)
{
    ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, ALARM_KEY, "1700000000000"));
    StandbyDataShareHelper helper(SETTINGS_SA_ID);
    EXPECT_EQ(helper.AssembleUri(ALARM_KEY), ALARM_URI);

    Emulator::LogCapture capture;
    Uri uri(ALARM_URI);
    std::string value;
    ASSERT_EQ(helper.Query(uri, ALARM_KEY, value), ERR_OK);
    EXPECT_EQ(value, "1700000000000");
    EXPECT_TRUE(capture.HasText("StandbyDataShareHelper query success,value[1700000000000]"));
    int64_t alarm = 0;
    ASSERT_EQ(helper.GetLongValue(ALARM_KEY, alarm), ERR_OK);
    EXPECT_EQ(alarm, 1700000000000LL);
}

struct UserCase {
    const char* name;
    std::function<void()> arrange;
    std::string table;
};

class PerUserUriTest : public StandbyDataShareHelperTest, public testing::WithParamInterface<UserCase> {};

TEST_P(PerUserUriTest, PerUserKeysGoToTheFirstActiveUsersTable)
{
    GetParam().arrange();
    StandbyDataShareHelper helper(SETTINGS_SA_ID);
    EXPECT_EQ(helper.AssembleUri(LOCKSCREEN_KEY), "datashare:///com.ohos.settingsdata/entry/settingsdata/" +
                                                      GetParam().table + "?Proxy=true&key=" + LOCKSCREEN_KEY);
    ASSERT_EQ(helper.PutBoolValue(LOCKSCREEN_KEY, true), ERR_OK);
    EXPECT_EQ(Emulator::GetSetting(GetParam().table, LOCKSCREEN_KEY), "true");
    EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, LOCKSCREEN_KEY), std::nullopt);
}

INSTANTIATE_TEST_SUITE_P(Users, PerUserUriTest,
    testing::Values(UserCase{"DefaultUser", [] {}, "USER_SETTINGSDATA_100"},
        UserCase{"SwitchedUser", [] { Emulator::SetForegroundOsAccount(101); }, "USER_SETTINGSDATA_101"},
        UserCase{"FirstOfSeveral",
            [] {
                Emulator::SetActiveOsAccountIds({102, 100});
            },
            "USER_SETTINGSDATA_102"},
        UserCase{"NoActiveUser", [] { Emulator::SetActiveOsAccountIds({}); }, "USER_SETTINGSDATA_100"},
        UserCase{"AccountQueryFails", [] { Emulator::SetActiveOsAccountQueryFails(true); }, "USER_SETTINGSDATA_100"}),
    [](const testing::TestParamInfo<UserCase>& info) { return info.param.name; });

// What the four typed getters answer for one key, each output starting from a sentinel value.
struct TypedRead {
    std::vector<ErrCode> codes;
    std::string text = "untouched";
    int64_t asLong = -7;
    int32_t asInt = -7;
    bool asBool = true;
    auto Values() const { return std::make_tuple(text, asLong, asInt, asBool); }
};

TypedRead ReadTyped(const std::string& key)
{
    StandbyDataShareHelper helper(SETTINGS_SA_ID);
    TypedRead read;
    read.codes = {helper.GetStringValue(key, read.text), helper.GetLongValue(key, read.asLong),
        helper.GetIntValue(key, read.asInt), helper.GetBoolValue(key, read.asBool)};
    return read;
}

struct ConversionCase {
    std::string stored;
    int64_t asLong;
    int32_t asInt;
    bool asBool;
};

TEST_F(StandbyDataShareHelperTest, TypedGettersConvertTheStoredText)
{
    const ConversionCase cases[] = {{"123abc", 123, 123, false}, {"abc", 0, 0, false}, {"", 0, 0, false},
        {" -42", -42, -42, false}, {"4294967297", 4294967297LL, 1, false}, {"true", 0, 0, true}, {"True", 0, 0, false},
        {"1", 1, 1, false}};
    for (const ConversionCase& c : cases) {
        SCOPED_TRACE(c.stored);
        ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, "k", c.stored));
        TypedRead read = ReadTyped("k");
        EXPECT_EQ(read.codes, std::vector<ErrCode>(4, ERR_OK));
        EXPECT_EQ(read.Values(), std::make_tuple(c.stored, c.asLong, c.asInt, c.asBool));
    }
}

TEST_F(StandbyDataShareHelperTest, PutsInsertAMissingRowThenUpdateIt)
{
    StandbyDataShareHelper helper(SETTINGS_SA_ID);
    Emulator::LogCapture capture;
    ASSERT_EQ(helper.PutLongValue(ALARM_KEY, 1234567890123LL), ERR_OK);
    EXPECT_TRUE(capture.HasText("no data exist, insert one row"));
    EXPECT_TRUE(capture.HasText("StandbyDataShareHelper Update success,value[1234567890123]"));
    capture.Clear();
    ASSERT_EQ(helper.PutIntValue(ALARM_KEY, -5), ERR_OK);
    EXPECT_FALSE(capture.HasText("no data exist, insert one row"));
    EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, ALARM_KEY), "-5");
    ASSERT_EQ(helper.PutBoolValue(ALARM_KEY, false), ERR_OK);
    EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, ALARM_KEY), "false");
}

TEST_F(StandbyDataShareHelperTest, ObserversHearChangesOfTheirKeyUntilUnregistered)
{
    StandbyDataShareHelper helper(SETTINGS_SA_ID);
    std::vector<std::string> heard;
    std::function<void(const std::string&)> onChange = [&heard](const std::string& key) { heard.push_back(key); };
    sptr<StandbySettingsObserver> observer = helper.CreateObserver(ALARM_KEY, onChange);
    ASSERT_NE(observer, nullptr);
    EXPECT_EQ(observer->GetKey(), ALARM_KEY);

    Emulator::LogCapture capture;
    ASSERT_EQ(helper.RegisterObserver(observer), ERR_OK);
    EXPECT_TRUE(capture.HasText("succeed to register observer of key=nearestAlarmingTime"));
    Emulator::PutSetting(Emulator::SETTINGS_TABLE, ALARM_KEY, "1");   // the clock app sets an alarm
    Emulator::PutSetting(Emulator::SETTINGS_TABLE, "other_key", "1"); // not ours
    helper.PutStringValue(ALARM_KEY, "2", true);                      // notifies
    helper.PutStringValue(ALARM_KEY, "3", false);                     // silent
    EXPECT_EQ(heard, std::vector<std::string>({ALARM_KEY, ALARM_KEY}));

    ASSERT_EQ(helper.UnRegisterObserver(observer), ERR_OK);
    EXPECT_TRUE(capture.HasText("succeed to unregister observer of key=nearestAlarmingTime"));
    Emulator::PutSetting(Emulator::SETTINGS_TABLE, ALARM_KEY, "4");
    EXPECT_EQ(heard.size(), 2u);
    StandbySettingsObserver withoutFunction; // a change reaching it does nothing, and does not crash
    withoutFunction.OnChange();
}

struct HelperFailure {
    const char* name;
    std::function<void()> arrange;
    std::string key;
    ErrCode code;
    std::vector<std::string> logTexts;
};

class HelperFailureTest : public StandbyDataShareHelperTest, public testing::WithParamInterface<HelperFailure> {};

TEST_P(HelperFailureTest, GettersAnswerTheCodeAndLeaveTheValue)
{
    ASSERT_TRUE(Emulator::PutSetting(Emulator::SETTINGS_TABLE, ALARM_KEY, "55"));
    Emulator::LogCapture capture;
    GetParam().arrange();
    TypedRead read = ReadTyped(GetParam().key);
    EXPECT_EQ(read.codes, std::vector<ErrCode>(4, GetParam().code));
    EXPECT_EQ(read.Values(), TypedRead().Values());
    for (const auto& logText : GetParam().logTexts) {
        EXPECT_TRUE(capture.HasText(logText)) << logText;
    }
}

const std::string NULL_HELPER_TEXT = "StandbyDataShareHelper query error, dataShareHelper_ is nullptr";
INSTANTIATE_TEST_SUITE_P(Failures, HelperFailureTest,
    testing::Values(HelperFailure{"NoManager", [] { Emulator::SetSystemAbilityManagerUnavailable(true); }, ALARM_KEY,
                        980001004, {"CreateDataShareHelper GetSystemAbilityManager failed.", NULL_HELPER_TEXT}},
        HelperFailure{"ServiceStopped", [] { Emulator::SetSystemAbilityRunning(SETTINGS_SA_ID, false); }, ALARM_KEY,
            980001004, {"CreateDataShareHelper GetSystemAbility Service failed.", NULL_HELPER_TEXT}},
        HelperFailure{"CreatorFails",
            [] { Emulator::SetDataShareFault(Emulator::DataShareFault::CREATOR_FAILS, true); }, ALARM_KEY, 980001004,
            {"CreateDataShareHelper creator. systemAbilityId:1914", NULL_HELPER_TEXT}},
        HelperFailure{"QueryFails", [] { Emulator::SetDataShareFault(Emulator::DataShareFault::QUERY_FAILS, true); },
            ALARM_KEY, 980001005, {"StandbyDataShareHelper query error, result is null"}},
        HelperFailure{
            "MissingKey", [] {}, "absent", 980001005, {"StandbyDataShareHelper query failed,go to first row error"}}),
    [](const testing::TestParamInfo<HelperFailure>& info) { return info.param.name; });

TEST_F(StandbyDataShareHelperTest, WithoutAHelperNothingIsWritten)
{
    Emulator::SetSystemAbilityManagerUnavailable(true);
    StandbyDataShareHelper helper(SETTINGS_SA_ID);
    Emulator::LogCapture capture;
    EXPECT_EQ(helper.PutStringValue(ALARM_KEY, "1", true), StandbyDataShareHelper::ERR_DATASHARE_HELPER_NULL);
    EXPECT_TRUE(capture.HasText("StandbyDataShareHelper update error, dataShareHelper_ is nullptr"));
    std::function<void(const std::string&)> onChange = [](const std::string&) {};
    EXPECT_EQ(helper.RegisterObserver(helper.CreateObserver(ALARM_KEY, onChange)),
        StandbyDataShareHelper::ERR_DATASHARE_HELPER_NULL);
    EXPECT_EQ(Emulator::GetSetting(Emulator::SETTINGS_TABLE, ALARM_KEY), std::nullopt);
}

TEST_F(StandbyDataShareHelperTest, ReleaseFailureIsLoggedAndASuccessfulReleaseEndsUse)
{
    StandbyDataShareHelper helper(SETTINGS_SA_ID);
    Emulator::SetDataShareFault(Emulator::DataShareFault::RELEASE_FAILS, true);
    Emulator::LogCapture capture;
    EXPECT_FALSE(helper.ReleaseDataShareHelper());
    EXPECT_TRUE(capture.HasText("release data share helper fail."));
    Emulator::SetDataShareFault(Emulator::DataShareFault::RELEASE_FAILS, false);
    EXPECT_TRUE(helper.ReleaseDataShareHelper());
    std::string value;
    EXPECT_EQ(helper.GetStringValue(ALARM_KEY, value), StandbyDataShareHelper::ERR_DATASHARE_HELPER_NULL);
}

} // namespace
} // namespace OHOS::DevStandbyMgr
