#include "engine_test_strategy.h"

#include "time_provider_ext.h"

namespace OHOS::DevStandbyMgr {

void EngineTestStrategy::HandleEvent(const StandbyMessage& message)
{
    {
        std::lock_guard<std::mutex> lock(mutex_);
        received_.push_back({TimeProviderExt::GetCurMsecTimestamp(), message});
    }
    if (message.eventId == 2000) {
        SleepDataRecord record = DecodeRecord(message);
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
