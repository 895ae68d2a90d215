#include "parameters.h"

#include <map>
#include <mutex>

#include "virtual_clock.h"

namespace OHOS::Emulator {
namespace {

struct ParameterState {
    std::mutex mutex;
    std::map<std::string, std::string> values;
    std::vector<SystemParameters::Change> changes;
    std::function<void(const SystemParameters::Change&)> listener;
    bool fails = false;
};

ParameterState& Parameters()
{
    static ParameterState state;
    return state;
}

} // namespace

SystemParameters& SystemParameters::GetInstance()
{
    static SystemParameters instance;
    return instance;
}

std::vector<SystemParameters::Change> SystemParameters::Changes() const
{
    ParameterState& state = Parameters();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.changes;
}

void SystemParameters::SetListener(std::function<void(const Change&)> listener)
{
    ParameterState& state = Parameters();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.listener = std::move(listener);
}

void SystemParameters::SetFails(bool fails)
{
    ParameterState& state = Parameters();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.fails = fails;
}

void SystemParameters::Reset()
{
    ParameterState& state = Parameters();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.values.clear();
    state.changes.clear();
    state.listener = nullptr;
    state.fails = false;
}

} // namespace OHOS::Emulator

namespace OHOS::system {

bool SetParameter(const std::string& key, const std::string& value)
{
    Emulator::ParameterState& state = Emulator::Parameters();
    Emulator::SystemParameters::Change change{Emulator::CurrentWallTimeMs(), key, value};
    std::function<void(const Emulator::SystemParameters::Change&)> listener;
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        if (state.fails) {
            return false;
        }
        state.values[key] = value;
        state.changes.push_back(change);
        listener = state.listener;
    }
    if (listener) {
        listener(change);
    }
    return true;
}

std::string GetParameter(const std::string& key, const std::string& def)
{
    Emulator::ParameterState& state = Emulator::Parameters();
    std::lock_guard<std::mutex> lock(state.mutex);
    auto it = state.values.find(key);
    return it != state.values.end() ? it->second : def;
}

} // namespace OHOS::system
