#include "standby_service_impl.h"

#include <gtest/gtest.h>

#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "standby_host_globals.h"
#include "virtual_clock.h"

namespace OHOS::DevStandbyMgr {
namespace {

using Log = std::vector<std::string>;

// Records what the host hands it, with the thread each message arrived on.
class RecordingStrategy : public IBaseStrategy {
public:
    void HandleEvent(const StandbyMessage& message) override
    {
        std::lock_guard<std::mutex> lock(mutex);
        threads.push_back(std::this_thread::get_id());
        log.push_back("strategy:" + std::to_string(message.eventId) + ":" + message.action + ":" +
                      std::to_string(message.want ? message.want->GetLongParam("wakeupTime", -1) : -1));
    }
    ErrCode OnCreated() override { return 11; }
    ErrCode OnDestroy() override { return 12; }
    void ShellDump(const std::vector<std::string>& argsInStr, std::string& result) override
    {
        for (const std::string& word : argsInStr) {
            result += word + ";";
        }
    }

    std::mutex mutex;
    std::vector<std::thread::id> threads;
    Log log;
};

class StandbyServiceImplTest : public testing::Test {
protected:
    void SetUp() override
    {
        service_->Reset();
        service_->SetHandler(handler_);
        service_->SetMessageObserver([this](const StandbyMessage& message) {
            strategy_->log.push_back("observer:" + std::to_string(message.eventId));
        });
    }
    void TearDown() override { service_->Reset(); }

    std::shared_ptr<StandbyServiceImpl> service_ = StandbyServiceImpl::GetInstance();
    Emulator::ScopedVirtualClock clock_{1000};
    std::shared_ptr<AppExecFwk::EventHandler> handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
    std::shared_ptr<RecordingStrategy> strategy_ = std::make_shared<RecordingStrategy>();
};

TEST_F(StandbyServiceImplTest, MessageFromAnotherThreadIsHandledOnTheHandlerObserverFirst)
{
    service_->RegisterStrategy(strategy_);
    std::thread sender([] {
        AAFwk::Want want;
        want.SetParam("wakeupTime", static_cast<int64_t>(123456));
        StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(2003, "", want));
        StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(1, "usual.event.SCREEN_OFF"));
    });
    sender.join();
    EXPECT_TRUE(strategy_->log.empty());

    handler_->RunUntilIdle();
    EXPECT_EQ(strategy_->log,
        (Log{"observer:2003", "strategy:2003::123456", "observer:1", "strategy:1:usual.event.SCREEN_OFF:-1"}));
    EXPECT_EQ(strategy_->threads, (std::vector<std::thread::id>(2, std::this_thread::get_id())));
}

TEST_F(StandbyServiceImplTest, LifecycleAndDumpPassThroughToTheRegisteredStrategyOnly)
{
    std::string dump;
    service_->DispatchEvent(StandbyMessage(2005));
    handler_->RunUntilIdle();
    EXPECT_EQ(strategy_->log, Log{"observer:2005"});
    EXPECT_NE(service_->OnCreated(), ERR_OK);
    EXPECT_NE(service_->OnDestroy(), ERR_OK);
    EXPECT_NE(service_->ShellDump({"-D"}, dump), ERR_OK);

    service_->RegisterStrategy(strategy_);
    EXPECT_EQ(service_->OnCreated(), 11);
    EXPECT_EQ(service_->OnDestroy(), 12);
    EXPECT_EQ(service_->ShellDump({DUMP_STRATGY_DETAIL, DUMP_DETAIL_INFO}, dump), ERR_OK);
    EXPECT_EQ(dump, "--strategy;-D;");
}

TEST(StandbyServiceImplRealTimeTest, DefaultHandlerRunsMessagesOnItsOwnThread)
{
    auto service = StandbyServiceImpl::GetInstance();
    service->Reset();
    auto strategy = std::make_shared<RecordingStrategy>();
    service->RegisterStrategy(strategy);
    service->DispatchEvent(StandbyMessage(2001));
    ASSERT_TRUE(service->GetHandler()->WaitIdle(5000));
    service->Reset();
    ASSERT_EQ(strategy->threads.size(), 1u);
    EXPECT_NE(strategy->threads[0], std::this_thread::get_id());
}

} // namespace
} // namespace OHOS::DevStandbyMgr
