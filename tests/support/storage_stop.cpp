#include "storage_stop.h"

#include <csignal>
#include <mutex>
#include <vector>

namespace OHOS::Sim {
namespace {

struct StopState {
    std::mutex mutex;
    StopKind kind = StopKind::COUNT_ONLY;
    int nth = 0;
    int calls = 0;
    std::function<void(int)> observer;
    std::vector<std::function<void(bool)>> layers;
};

StopState& State()
{
    static StopState state;
    return state;
}

} // namespace

void StorageStop::Arm(StopKind kind, int nth, std::function<void(int call)> observer)
{
    StopState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.kind = kind;
    state.nth = nth;
    state.calls = 0;
    state.observer = std::move(observer);
}

int StorageStop::Calls()
{
    StopState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    return state.calls;
}

void StorageStop::Reached()
{
    StopState& state = State();
    std::unique_lock<std::mutex> lock(state.mutex);
    ++state.calls;
    if (state.observer) {
        state.observer(state.calls);
    }
    if (state.kind == StopKind::COUNT_ONLY || state.calls != state.nth) {
        return;
    }
    // The lock stays held: other threads making storage calls wait here until the process ends.
    if (state.kind != StopKind::KILL) {
        for (const auto& dropUnsynced : state.layers) {
            dropUnsynced(state.kind == StopKind::TORN_POWER_CUT);
        }
    }
    raise(SIGKILL);
}

void StorageStop::OnPowerCut(std::function<void(bool tear)> dropUnsynced)
{
    StopState& state = State();
    std::lock_guard<std::mutex> lock(state.mutex);
    state.layers.push_back(std::move(dropUnsynced));
}

} // namespace OHOS::Sim
