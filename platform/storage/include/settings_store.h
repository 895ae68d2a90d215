#ifndef PLATFORM_INCLUDE_SETTINGS_STORE_H
#define PLATFORM_INCLUDE_SETTINGS_STORE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "data_ability_observer_stub.h"
#include "datashare_predicates.h"
#include "datashare_result_set.h"
#include "datashare_values_bucket.h"
#include "refbase.h"

// The device's settings store behind the data-share service: one SQLite file under the data root
// with a KEYWORD/VALUE table per settings table name, and the observers of settings URIs. The
// simulator and tests write settings here as the settings app would; observers hear of it.
// Thread-safe. Observers are called on the writing thread after the write, with no lock held.
namespace OHOS::Emulator {

// The global settings table and the per-user ones.
inline const std::string SETTINGS_TABLE = "SETTINGSDATA";
std::string UserSettingsTable(int32_t userId);
// The phone path of the store's file.
inline const std::string SETTINGS_DATABASE_PATH = "/data/service/el1/public/database/settingsdata/settingsdata.db";

// Table and key named by a settings URI: the last path segment and the "key" query parameter
// (empty when absent). nullopt when the table name is missing or not an identifier.
struct SettingsUriParts {
    std::string table;
    std::string key;
};
std::optional<SettingsUriParts> ParseSettingsUri(const std::string& uri);

// Writes a setting as the settings app would and notifies its observers. False when the store
// cannot be written.
bool PutSetting(const std::string& table, const std::string& key, const std::string& value);
// Removes a setting and notifies its observers. False when the store cannot be written.
bool DeleteSetting(const std::string& table, const std::string& key);
// The stored text of a setting; nullopt when absent or unreadable.
std::optional<std::string> GetSetting(const std::string& table, const std::string& key);
// Forgets every observer.
void ClearSettingsObservers();

// The store's operations as the data-share service uses them; E_ERROR / nullptr on failure.
std::shared_ptr<DataShare::DataShareResultSet> QuerySettings(const std::string& table,
    const DataShare::DataSharePredicates& predicates, const std::vector<std::string>& columns);
int UpdateSettings(const std::string& table, const DataShare::DataSharePredicates& predicates,
    const DataShare::DataShareValuesBucket& values);
int InsertSettings(const std::string& table, const DataShare::DataShareValuesBucket& values);
void AddSettingsObserver(const std::string& uri, const sptr<AAFwk::IDataAbilityObserver>& observer);
bool RemoveSettingsObserver(const std::string& uri, const sptr<AAFwk::IDataAbilityObserver>& observer);
// Calls OnChange of every observer whose URI names `table` and either `key` or no key.
void NotifySettingsChange(const std::string& table, const std::string& key);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_SETTINGS_STORE_H
