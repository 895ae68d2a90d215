#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "os_account_manager.h"

namespace OHOS::AccountSA {
namespace {

TEST(OsAccountTest, AnswersFromTheSimulatedDevice)
{
    struct Case {
        const char* name;
        std::function<void()> arrange;
        int32_t foregroundResult;
        int32_t foregroundId; // -7: untouched
        int32_t activeResult;
        std::vector<int32_t> activeIds; // {-7}: untouched
    };
    const Case cases[] = {{"DefaultOneUser", [] {}, 0, 100, 0, {100}},
        {"SwitchToANewUser", [] { Emulator::SetForegroundOsAccount(101); }, 0, 101, 0, {101, 100}},
        {"NoneActive", [] { Emulator::SetActiveOsAccountIds({}); }, 0, 100, 0, {}},
        {"NoForegroundUser", [] { Emulator::SetForegroundOsAccount(-1); }, ERR_OSACCOUNT_NO_FOREGROUND, -7, 0, {100}},
        {"ForegroundQueryFails", [] { Emulator::SetForegroundOsAccountQueryFails(true); },
            ERR_OSACCOUNT_SERVICE_UNAVAILABLE, -7, 0, {100}},
        {"ActiveQueryFails", [] { Emulator::SetActiveOsAccountQueryFails(true); }, 0, 100,
            ERR_OSACCOUNT_SERVICE_UNAVAILABLE, {-7}}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        Emulator::ResetOsAccounts();
        c.arrange();
        int32_t localId = -7;
        std::vector<int32_t> ids = {-7};
        EXPECT_EQ(OsAccountManager::GetForegroundOsAccountLocalId(localId), c.foregroundResult);
        EXPECT_EQ(localId, c.foregroundId);
        EXPECT_EQ(OsAccountManager::QueryActiveOsAccountIds(ids), c.activeResult);
        EXPECT_EQ(ids, c.activeIds);
    }
    Emulator::ResetOsAccounts();
}

} // namespace
} // namespace OHOS::AccountSA
