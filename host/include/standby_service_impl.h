#ifndef HOST_INCLUDE_STANDBY_SERVICE_IMPL_H
#define HOST_INCLUDE_STANDBY_SERVICE_IMPL_H

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "event_handler.h"
#include "ibase_strategy.h"
#include "standby_message.h"

namespace OHOS::DevStandbyMgr {

// Returned by the lifecycle and dump calls when no strategy is registered.
constexpr ErrCode ERR_STRATEGY_NOT_REGISTERED = -1;

// The standby host emulator: owns the handler every strategy runs on and routes messages to the
// one registered strategy. Process-wide singleton.
class StandbyServiceImpl {
public:
    static std::shared_ptr<StandbyServiceImpl> GetInstance();

    // The host's handler. Unless SetHandler installed one, a real-time handler is made on first use.
    std::shared_ptr<AppExecFwk::EventHandler> GetHandler();
    // Queues `message` as a task on the handler; when it runs, the strategy's HandleEvent gets it.
    // May be called from any thread. Messages with no strategy registered are dropped.
    void DispatchEvent(const StandbyMessage& message);

    // Emulator calls for tests and the simulator.
    // Uses `handler` for everything from now on (e.g. a virtual-time handler).
    void SetHandler(std::shared_ptr<AppExecFwk::EventHandler> handler);
    // Makes `strategy` the one that receives messages (replacing any other); nullptr unregisters.
    void RegisterStrategy(std::shared_ptr<IBaseStrategy> strategy);
    std::shared_ptr<IBaseStrategy> GetStrategy();
    // Passes the lifecycle and dump calls to the strategy; an error code when none is registered.
    ErrCode OnCreated();
    ErrCode OnDestroy();
    ErrCode ShellDump(const std::vector<std::string>& argsInStr, std::string& result);
    // Sees every message just before the strategy does (on the handler thread): the simulator's
    // timeline and tests use it. nullptr removes it.
    void SetMessageObserver(std::function<void(const StandbyMessage&)> observer);
    // Unregisters the strategy and observer and forgets the handler.
    void Reset();

private:
    // Runs on the handler: the observer, then the strategy.
    void DeliverMessage(const StandbyMessage& message);

    std::mutex mutex_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::shared_ptr<IBaseStrategy> strategy_;
    std::function<void(const StandbyMessage&)> observer_;
};

} // namespace OHOS::DevStandbyMgr

#endif // HOST_INCLUDE_STANDBY_SERVICE_IMPL_H
