#include "datashare_helper.h"

#include <algorithm>
#include <map>
#include <set>

#include "call_fault.h"
#include "settings_store.h"

namespace OHOS::DataShare {
namespace {

struct FaultSwitches {
    std::mutex mutex;
    std::set<Emulator::DataShareFault> on;
    std::map<Emulator::DataShareFault, Emulator::CallFault> calls;
};

FaultSwitches& Faults()
{
    static FaultSwitches faults;
    return faults;
}

// Counts one call that `fault` can hit; true when the call must fail.
bool FaultOn(Emulator::DataShareFault fault)
{
    FaultSwitches& faults = Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    const bool armedHit = faults.calls[fault].OnCall();
    return armedHit || faults.on.count(fault) != 0;
}

// The table a URI names, or empty when it names none.
std::string TableOf(const Uri& uri)
{
    std::optional<Emulator::SettingsUriParts> parts = Emulator::ParseSettingsUri(uri.ToString());
    return parts.has_value() ? parts->table : std::string();
}

} // namespace

std::shared_ptr<DataShareHelper> DataShareHelper::Creator(
    const sptr<IRemoteObject>& token, const std::string& /*strUri*/, const std::string& /*extUri*/, int /*waitTime*/)
{
    if (token == nullptr || FaultOn(Emulator::DataShareFault::CREATOR_FAILS)) {
        return nullptr;
    }
    return std::shared_ptr<DataShareHelper>(new DataShareHelper());
}

DataShareHelper::~DataShareHelper()
{
    DropRegistrations();
}

bool DataShareHelper::IsUsable() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return !released_;
}

void DataShareHelper::DropRegistrations()
{
    std::vector<std::pair<std::string, sptr<AAFwk::IDataAbilityObserver>>> registrations;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        registrations.swap(registrations_);
    }
    for (const auto& [uri, observer] : registrations) {
        Emulator::RemoveSettingsObserver(uri, observer);
    }
}

std::shared_ptr<DataShareResultSet> DataShareHelper::Query(
    Uri& uri, const DataSharePredicates& predicates, std::vector<std::string>& columns)
{
    std::string table = TableOf(uri);
    if (!IsUsable() || table.empty() || FaultOn(Emulator::DataShareFault::QUERY_FAILS)) {
        return nullptr;
    }
    return Emulator::QuerySettings(table, predicates, columns);
}

int DataShareHelper::Update(Uri& uri, const DataSharePredicates& predicates, const DataShareValuesBucket& value)
{
    std::string table = TableOf(uri);
    if (!IsUsable() || table.empty() || FaultOn(Emulator::DataShareFault::UPDATE_FAILS)) {
        return E_ERROR;
    }
    return Emulator::UpdateSettings(table, predicates, value);
}

int DataShareHelper::Insert(Uri& uri, const DataShareValuesBucket& value)
{
    std::string table = TableOf(uri);
    if (!IsUsable() || table.empty() || FaultOn(Emulator::DataShareFault::INSERT_FAILS)) {
        return E_ERROR;
    }
    return Emulator::InsertSettings(table, value);
}

void DataShareHelper::NotifyChange(const Uri& uri)
{
    std::optional<Emulator::SettingsUriParts> parts = Emulator::ParseSettingsUri(uri.ToString());
    if (!IsUsable() || !parts.has_value()) {
        return;
    }
    Emulator::NotifySettingsChange(parts->table, parts->key);
}

int DataShareHelper::RegisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& dataObserver)
{
    if (dataObserver == nullptr || FaultOn(Emulator::DataShareFault::REGISTER_FAILS)) {
        return E_ERROR;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (released_) {
            return E_ERROR;
        }
        registrations_.emplace_back(uri.ToString(), dataObserver);
    }
    Emulator::AddSettingsObserver(uri.ToString(), dataObserver);
    return E_OK;
}

int DataShareHelper::UnregisterObserver(const Uri& uri, const sptr<AAFwk::IDataAbilityObserver>& dataObserver)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        auto it = std::find(registrations_.begin(), registrations_.end(), std::make_pair(uri.ToString(), dataObserver));
        if (it == registrations_.end()) {
            return E_ERROR;
        }
        registrations_.erase(it);
    }
    Emulator::RemoveSettingsObserver(uri.ToString(), dataObserver);
    return E_OK;
}

bool DataShareHelper::Release()
{
    if (FaultOn(Emulator::DataShareFault::RELEASE_FAILS)) {
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if (released_) {
            return false;
        }
        released_ = true;
    }
    DropRegistrations();
    return true;
}

} // namespace OHOS::DataShare

namespace OHOS::Emulator {

void SetDataShareFault(DataShareFault fault, bool on)
{
    auto& faults = DataShare::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    if (on) {
        faults.on.insert(fault);
    } else {
        faults.on.erase(fault);
    }
}

void ResetDataShareFaults()
{
    auto& faults = DataShare::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    faults.on.clear();
    faults.calls.clear();
}

void FailNthDataShareCall(DataShareFault fault, int nth, bool persistent)
{
    auto& faults = DataShare::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    faults.calls[fault].FailNth(nth, persistent);
}

int DataShareCallCount(DataShareFault fault)
{
    auto& faults = DataShare::Faults();
    std::lock_guard<std::mutex> lock(faults.mutex);
    auto it = faults.calls.find(fault);
    return it == faults.calls.end() ? 0 : it->second.Calls();
}

} // namespace OHOS::Emulator
