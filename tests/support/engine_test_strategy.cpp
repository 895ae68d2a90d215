#include "engine_test_strategy.h"

#include "time_provider_ext.h"

namespace OHOS::DevStandbyMgr {
namespace {

constexpr int32_t EVENT_FINISH_COLLECT = 2000;
constexpr int32_t EVENT_FINISH_TRAIN = 2001;

} // namespace

EngineTestStrategy::EngineTestStrategy(std::shared_ptr<SleepDetection> engine) : engine_(std::move(engine)) {}

void EngineTestStrategy::HandleEvent(const StandbyMessage& message)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        received_.push_back({TimeProviderExt::GetCurMsecTimestamp(), message});
    }
    if (message.eventId == EVENT_FINISH_COLLECT) {
        SleepDataRecord record = DecodeRecord(message);
        engine_->HandleFinishCollect(record);
    } else if (message.eventId == EVENT_FINISH_TRAIN) {
        engine_->HandleFinishTrain(message.want);
    }
}

ErrCode EngineTestStrategy::OnCreated()
{
    return ERR_OK;
}

ErrCode EngineTestStrategy::OnDestroy()
{
    return ERR_OK;
}

void EngineTestStrategy::ShellDump(const std::vector<std::string>&, std::string&) {}

std::vector<StandbyMessage> EngineTestStrategy::Messages() const
{
    std::vector<StandbyMessage> messages;
    for (const Received& received : ReceivedMessages()) {
        messages.push_back(received.message);
    }
    return messages;
}

std::vector<EngineTestStrategy::Received> EngineTestStrategy::ReceivedMessages() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

std::vector<StandbyMessage> EngineTestStrategy::MessagesWithId(int32_t eventId) const
{
    std::vector<StandbyMessage> selected;
    for (const StandbyMessage& message : Messages()) {
        if (message.eventId == eventId) {
            selected.push_back(message);
        }
    }
    return selected;
}

void EngineTestStrategy::ClearMessages()
{
    std::lock_guard<std::mutex> lock(mutex_);
    received_.clear();
}

SleepDataRecord EngineTestStrategy::DecodeRecord(const StandbyMessage& message)
{
    SleepDataRecord record;
    const AAFwk::Want want = message.want.value_or(AAFwk::Want());
    record.timestamp = want.GetLongParam("timestamp", -1);
    record.weekType = want.GetIntParam("weekType", -1);
    record.screenOffDuration = want.GetIntParam("scrOffDuration", -1);
    record.lastUserStationaryStartDuration = want.GetIntParam("lastUserStationaryStartDuration", -1);
    record.stationaryDuration = want.GetIntParam("userStationaryDuration", -1);
    record.userMoveDuration = want.GetIntParam("userMoveDuration", -1);
    record.chargeState = want.GetIntParam("chargeState", -1);
    record.light = want.GetDoubleParam("light", -1.0);
    record.proximityOrigin = want.GetDoubleParam("proximityOri", -1.0);
    record.proximity = want.GetDoubleParam("proximity", -1.0);
    record.unlockTimestamp = want.GetLongParam("unlockTimestamp", -1);
    record.screenOnCount = want.GetIntParam("scrOnCount", -1);
    record.lightDarkDuration = want.GetIntParam("lightDarkDuration", -1);
    record.proximityErrorSize = want.GetIntParam("proximityErrSize", 0);
    record.proximityListSize = want.GetIntParam("proximityListSize", 0);
    record.nextAlarmClockTime = want.GetLongParam("nextAlarmClockTriggerTime", -1);
    return record;
}

} // namespace OHOS::DevStandbyMgr
