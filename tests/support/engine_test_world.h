#ifndef TESTS_SUPPORT_ENGINE_TEST_WORLD_H
#define TESTS_SUPPORT_ENGINE_TEST_WORLD_H

#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "data_root.h"
#include "event_handler.h"
#include "ibase_strategy.h"
#include "sleep_data_record.h"
#include "sleep_detection.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {

// A minimal strategy for driving the detection engine without the real one: it forwards the
// observation message (2000) and the training-finished message (2001) to the engine and records
// every message it is handed, with the virtual wall time at which it arrived.
class EngineTestStrategy : public IBaseStrategy {
public:
    struct Received {
        int64_t timeMs = 0;
        StandbyMessage message;
    };

    explicit EngineTestStrategy(std::shared_ptr<SleepDetection> engine) : engine_(std::move(engine)) {}
    void HandleEvent(const StandbyMessage& message) override;
    ErrCode OnCreated() override { return ERR_OK; }
    ErrCode OnDestroy() override { return ERR_OK; }
    void ShellDump(const std::vector<std::string>&, std::string&) override {}

    std::vector<Received> ReceivedMessages() const;
    std::vector<StandbyMessage> MessagesWithId(int32_t eventId) const;
    void ClearMessages();

private:
    std::shared_ptr<SleepDetection> engine_;
    mutable std::mutex mutex_;
    std::vector<Received> received_;
};

// Everything the detection engine needs on this machine, on a virtual clock: a scratch data root,
// a virtual host handler that waits for training threads before it moves time, a reset simulated
// phone, and the engine registered with the host behind EngineTestStrategy. Screen events are fed
// the way the strategy feeds them.
class EngineTestWorld {
public:
    // Starts the clock at `startMs`; the engine is created at once unless `createEngine` is false
    // (so that a test can write preferences or history first).
    explicit EngineTestWorld(int64_t startMs, bool createEngine = true);
    ~EngineTestWorld();
    EngineTestWorld(const EngineTestWorld&) = delete;
    EngineTestWorld& operator=(const EngineTestWorld&) = delete;

    // (Re)creates the engine and its strategy, as a restart of the service would.
    void CreateEngine();

    SleepDetection& Engine() { return *engine_; }
    EngineTestStrategy& Strategy() { return *strategy_; }
    AppExecFwk::EventHandler& Handler() { return *handler_; }
    Emulator::VirtualClock& Clock() { return clock_.Get(); }
    int64_t Now() const { return clock_.Get().WallTimeMs(); }

    // The device state hears of the screen-off 1 ms before the engine does (dispatch latency).
    void ScreenOff();
    void ScreenOn();
    void Unlock();
    // Runs every task due up to `wallMs` and sets the clock there.
    void RunUntil(int64_t wallMs) { handler_->AdvanceTo(wallMs); }

private:
    Emulator::ScopedDataRoot root_;
    Emulator::ScopedVirtualClock clock_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::shared_ptr<SleepDetection> engine_;
    std::shared_ptr<EngineTestStrategy> strategy_;
};

} // namespace OHOS::DevStandbyMgr

#endif // TESTS_SUPPORT_ENGINE_TEST_WORLD_H
