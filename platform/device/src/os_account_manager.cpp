#include "os_account_manager.h"

#include <algorithm>
#include <mutex>

namespace OHOS::AccountSA {
namespace {

// The simulated device's users.
struct AccountState {
    std::mutex mutex;
    int32_t foregroundId = Emulator::DEFAULT_OS_ACCOUNT_ID;
    std::vector<int32_t> activeIds{Emulator::DEFAULT_OS_ACCOUNT_ID};
    bool foregroundQueryFails = false;
    bool activeQueryFails = false;
};

AccountState& Accounts()
{
    static AccountState state;
    return state;
}

} // namespace

int32_t OsAccountManager::GetForegroundOsAccountLocalId(int32_t& localId)
{
    AccountState& state = Accounts();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.foregroundQueryFails) {
        return ERR_OSACCOUNT_SERVICE_UNAVAILABLE;
    }
    if (state.foregroundId < 0) {
        return ERR_OSACCOUNT_NO_FOREGROUND;
    }
    localId = state.foregroundId;
    return 0;
}

int32_t OsAccountManager::QueryActiveOsAccountIds(std::vector<int32_t>& ids)
{
    AccountState& state = Accounts();
    std::lock_guard<std::mutex> lock(state.mutex);
    if (state.activeQueryFails) {
        return ERR_OSACCOUNT_SERVICE_UNAVAILABLE;
    }
    ids = state.activeIds;
    return 0;
}

} // namespace OHOS::AccountSA

namespace OHOS::Emulator {

void SetForegroundOsAccount(int32_t localId)
{
    auto& state = AccountSA::Accounts();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.foregroundId = localId;
    if (localId < 0) {
        return;
    }
    auto& ids = state.activeIds;
    ids.erase(std::remove(ids.begin(), ids.end(), localId), ids.end());
    ids.insert(ids.begin(), localId);
}

void SetActiveOsAccountIds(const std::vector<int32_t>& ids)
{
    auto& state = AccountSA::Accounts();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.activeIds = ids;
}

void SetForegroundOsAccountQueryFails(bool fail)
{
    auto& state = AccountSA::Accounts();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.foregroundQueryFails = fail;
}

void SetActiveOsAccountQueryFails(bool fail)
{
    auto& state = AccountSA::Accounts();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.activeQueryFails = fail;
}

void ResetOsAccounts()
{
    auto& state = AccountSA::Accounts();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.foregroundId = DEFAULT_OS_ACCOUNT_ID;
    state.activeIds = {DEFAULT_OS_ACCOUNT_ID};
    state.foregroundQueryFails = false;
    state.activeQueryFails = false;
}

} // namespace OHOS::Emulator
