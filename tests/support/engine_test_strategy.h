#ifndef TESTS_SUPPORT_ENGINE_TEST_STRATEGY_H
#define TESTS_SUPPORT_ENGINE_TEST_STRATEGY_H

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ibase_strategy.h"
#include "sleep_data_record.h"
#include "sleep_detection.h"

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

    // The observation a 2000 message carries, read with the keys the collector writes.
    static SleepDataRecord DecodeRecord(const StandbyMessage& message);

private:
    std::shared_ptr<SleepDetection> engine_;
    mutable std::mutex mutex_;
    std::vector<Received> received_;
};

} // namespace OHOS::DevStandbyMgr

#endif // TESTS_SUPPORT_ENGINE_TEST_STRATEGY_H
