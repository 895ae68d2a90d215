#include <gtest/gtest.h>

#include "os_account_manager.h"

namespace OHOS::AccountSA {
namespace {

struct AccountCase {
    const char* name;
    std::function<void()> arrange;
    int32_t foregroundResult;
    int32_t foregroundId; // -7: untouched
    int32_t activeResult;
    std::vector<int32_t> activeIds; // {-7}: untouched
};

class OsAccountTest : public testing::TestWithParam<AccountCase> {
protected:
    void SetUp() override { Emulator::ResetOsAccounts(); }
    void TearDown() override { Emulator::ResetOsAccounts(); }
};

TEST_P(OsAccountTest, AnswersFromTheSimulatedDevice)
{
    const AccountCase& c = GetParam();
    c.arrange();
    int32_t localId = -7;
    std::vector<int32_t> ids = {-7};
    EXPECT_EQ(OsAccountManager::GetForegroundOsAccountLocalId(localId), c.foregroundResult);
    EXPECT_EQ(localId, c.foregroundId);
    EXPECT_EQ(OsAccountManager::QueryActiveOsAccountIds(ids), c.activeResult);
    EXPECT_EQ(ids, c.activeIds);
}

INSTANTIATE_TEST_SUITE_P(Accounts, OsAccountTest,
    testing::Values(AccountCase{"DefaultOneUser", [] {}, 0, 100, 0, {100}},
        AccountCase{"SwitchToANewUser", [] { Emulator::SetForegroundOsAccount(101); }, 0, 101, 0, {101, 100}},
        AccountCase{"SwitchBack",
            [] {
                Emulator::SetForegroundOsAccount(101);
                Emulator::SetForegroundOsAccount(100);
            },
            0, 100, 0, {100, 101}},
        AccountCase{"NoneActive", [] { Emulator::SetActiveOsAccountIds({}); }, 0, 100, 0, {}},
        AccountCase{"NoForegroundUser", [] { Emulator::SetForegroundOsAccount(-1); }, ERR_OSACCOUNT_NO_FOREGROUND, -7,
            0, {100}},
        AccountCase{"ForegroundQueryFails", [] { Emulator::SetForegroundOsAccountQueryFails(true); },
            ERR_OSACCOUNT_SERVICE_UNAVAILABLE, -7, 0, {100}},
        AccountCase{"ActiveQueryFails", [] { Emulator::SetActiveOsAccountQueryFails(true); }, 0, 100,
            ERR_OSACCOUNT_SERVICE_UNAVAILABLE, {-7}}),
    [](const testing::TestParamInfo<AccountCase>& info) { return info.param.name; });

} // namespace
} // namespace OHOS::AccountSA
