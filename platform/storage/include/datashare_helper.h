#ifndef PLATFORM_INCLUDE_DATASHARE_HELPER_H
#define PLATFORM_INCLUDE_DATASHARE_HELPER_H

#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "data_ability_observer_stub.h"
#include "datashare_predicates.h"
#include "datashare_result_set.h"
#include "datashare_values_bucket.h"
#include "iremote_object.h"
#include "refbase.h"
#include "uri.h"

namespace OHOS::DataShare {

// A connection to the settings data provider. URIs name a table by their last path segment
// ("datashare:///com.ohos.settingsdata/entry/settingsdata/SETTINGSDATA?Proxy=true&key=k" is table
// "SETTINGSDATA", key "k"); the rows are KEYWORD/VALUE text pairs. Thread-safe. Once released, or
// when destroyed, the observers registered through it are dropped and every call fails.
class DataShareHelper {
public:
    // Connects through `token` (a remote object of the system-ability manager). nullptr when the
    // token is empty or the provider refuses.
    static std::shared_ptr<DataShareHelper> Creator(
        const sptr<IRemoteObject>& token, const std::string& strUri, const std::string& extUri = "", int waitTime = 2);
    ~DataShareHelper();
    DataShareHelper(const DataShareHelper&) = delete;
    DataShareHelper& operator=(const DataShareHelper&) = delete;

    // The rows of the URI's table matching `predicates`, with `columns` (all when empty); nullptr on
    // failure (bad URI or column, store unreadable, fault).
    std::shared_ptr<DataShareResultSet> Query(
        Uri& uri, const DataSharePredicates& predicates, std::vector<std::string>& columns);
    // Sets `value`'s columns in the matching rows. The number of rows changed, or E_ERROR.
    int Update(Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& value);
    // Adds one row. The new row's id (positive), or E_ERROR (e.g. the key already exists).
    int Insert(Uri& uri, const DataShareValuesBucket& value);
    // Tells the observers of the URI's table and key that it changed.
    void NotifyChange(const Uri& uri);
    // Observers of a URI with a key hear of changes to that key; without a key, to the whole table.
    int RegisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& dataObserver);
    // E_ERROR when the pair was not registered through this helper.
    int UnregisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& dataObserver);
    // Disconnects. False when already released or the provider refuses.
    bool Release();

private:
    DataShareHelper() = default;
    bool IsUsable() const;
    void DropRegistrations();

    mutable std::mutex mutex_;
    bool released_ = false;
    std::vector<std::pair<std::string, sptr<AAFwk::IDataAbilityObserver>>> registrations_;
};

} // namespace OHOS::DataShare

namespace OHOS::Emulator {

// Failures of the data-share service that tests switch on.
enum class DataShareFault {
    CREATOR_FAILS,  // Creator answers nullptr
    QUERY_FAILS,    // Query answers nullptr
    UPDATE_FAILS,   // Update answers E_ERROR
    INSERT_FAILS,   // Insert answers E_ERROR
    REGISTER_FAILS, // RegisterObserver answers E_ERROR
    RELEASE_FAILS,  // Release answers false (the helper stays connected)
};
void SetDataShareFault(DataShareFault fault, bool on);
void ResetDataShareFaults();
// Makes the nth call that `fault` names from now fail, and with `persistent` every later one;
// restarts its count. nth <= 0 disarms.
void FailNthDataShareCall(DataShareFault fault, int nth, bool persistent);
// Calls that `fault` names, counted since it was last armed.
int DataShareCallCount(DataShareFault fault);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_DATASHARE_HELPER_H
