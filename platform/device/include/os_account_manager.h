#ifndef PLATFORM_INCLUDE_OS_ACCOUNT_MANAGER_H
#define PLATFORM_INCLUDE_OS_ACCOUNT_MANAGER_H

#include <cstdint>
#include <vector>

namespace OHOS::AccountSA {

// Returned when the account service cannot answer (made to fail on demand by the emulator).
constexpr int32_t ERR_OSACCOUNT_SERVICE_UNAVAILABLE = 12300001;
// Returned by GetForegroundOsAccountLocalId when no account is in the foreground.
constexpr int32_t ERR_OSACCOUNT_NO_FOREGROUND = 12300002;

// The OS account service: which user is in front and which users are running. Reads the simulated
// device's accounts (by default one user, id 100, in the foreground). Thread-safe.
class OsAccountManager {
public:
    // The local id of the foreground user. 0 on success; on failure `localId` is untouched.
    static int32_t GetForegroundOsAccountLocalId(int32_t& localId);
    // The ids of the running users, foreground user first. 0 on success (the list may be empty);
    // on failure `ids` is untouched.
    static int32_t QueryActiveOsAccountIds(std::vector<int32_t>& ids);
};

} // namespace OHOS::AccountSA

namespace OHOS::Emulator {

// The user id the device starts with.
constexpr int32_t DEFAULT_OS_ACCOUNT_ID = 100;

// Makes `localId` the foreground user; it joins the active users (at the front) if not there.
// A negative id means no user is in the foreground.
void SetForegroundOsAccount(int32_t localId);
// Replaces the list of running users (the foreground user is not changed).
void SetActiveOsAccountIds(const std::vector<int32_t>& ids);
// Makes GetForegroundOsAccountLocalId / QueryActiveOsAccountIds fail with
// ERR_OSACCOUNT_SERVICE_UNAVAILABLE while `fail` is true.
void SetForegroundOsAccountQueryFails(bool fail);
void SetActiveOsAccountQueryFails(bool fail);
// Back to one user, id 100, in the foreground, and no faults.
void ResetOsAccounts();

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_OS_ACCOUNT_MANAGER_H
