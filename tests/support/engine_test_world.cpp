#include "engine_test_world.h"

#include "device_state.h"
#include "hisysevent.h"
#include "rdb_faults.h"
#include "simulated_phone.h"
#include "sleep_database_manager.h"
#include "standby_service_impl.h"
#include "time_provider_ext.h"
#include "write_controller.h"

namespace OHOS::DevStandbyMgr {
namespace {

void ResetPlatform(const std::shared_ptr<AppExecFwk::EventHandler>& handler)
{
    Emulator::RdbFaults::Reset();
    Emulator::SetSysEventWriteFails(false);
    Emulator::ResetSysEventRateLimit();
    Emulator::SimulatedPhone::GetInstance().Reset();
    Emulator::SimulatedPhone::GetInstance().SetEventHandler(handler);
    // The database of another data root must not stay open.
    SleepDatabaseManager::GetInstance()->OnUserSwitched();
}

} // namespace

void EngineTestStrategy::HandleEvent(const StandbyMessage& message)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        received_.push_back({TimeProviderExt::GetCurMsecTimestamp(), message});
    }
    if (message.eventId == 2000) {
        SleepDataRecord record = SleepDataRecord::FromWant(message.want.value_or(AAFwk::Want()));
        engine_->HandleFinishCollect(record);
    } else if (message.eventId == 2001) {
        engine_->HandleFinishTrain(message.want);
    }
}

std::vector<EngineTestStrategy::Received> EngineTestStrategy::ReceivedMessages() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

std::vector<StandbyMessage> EngineTestStrategy::MessagesWithId(int32_t eventId) const
{
    std::vector<StandbyMessage> selected;
    for (const Received& received : ReceivedMessages()) {
        if (received.message.eventId == eventId) {
            selected.push_back(received.message);
        }
    }
    return selected;
}

void EngineTestStrategy::ClearMessages()
{
    std::lock_guard<std::mutex> lock(mutex_);
    received_.clear();
}

EngineTestWorld::EngineTestWorld(int64_t startMs, bool createEngine)
    : clock_(startMs), handler_(AppExecFwk::EventHandler::CreateVirtual(clock_.Shared()))
{
    handler_->SetQuiescenceWait(&SleepDetection::WaitForTrainingThreads);
    StandbyServiceImpl::GetInstance()->Reset();
    StandbyServiceImpl::GetInstance()->SetHandler(handler_);
    ResetPlatform(handler_);
    if (createEngine) {
        CreateEngine();
    }
}

EngineTestWorld::~EngineTestWorld()
{
    SleepDetection::WaitForTrainingThreads();
    handler_->RemoveAllEvents(); // pending tasks hold the engine, which holds the handler
    StandbyServiceImpl::GetInstance()->Reset();
    strategy_.reset();
    engine_.reset();
    ResetPlatform(nullptr);
}

void EngineTestWorld::CreateEngine()
{
    engine_ = std::make_shared<SleepDetection>();
    strategy_ = std::make_shared<EngineTestStrategy>(engine_);
    StandbyServiceImpl::GetInstance()->RegisterStrategy(strategy_);
}

void EngineTestWorld::ScreenOff()
{
    // On a phone the engine's task runs a moment after the device state noted the screen-off; with
    // no latency at all, the 5-minute training check would see exactly 300000 ms and never train.
    DeviceState::GetInstance()->HandleScreenOff();
    handler_->FastForwardBy(1);
    engine_->HandleScreenOff();
    handler_->RunUntilIdle();
}

void EngineTestWorld::ScreenOn()
{
    engine_->HandleScreenOn();
    DeviceState::GetInstance()->HandleScreenOn();
    handler_->RunUntilIdle();
}

void EngineTestWorld::Unlock()
{
    engine_->HandleScreenUnlocked();
    DeviceState::GetInstance()->HandleScreenUnlocked();
    handler_->RunUntilIdle();
}

} // namespace OHOS::DevStandbyMgr
