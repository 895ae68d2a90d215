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

// Records what the host hands it, with the thread each message arrived on.
class RecordingStrategy : public IBaseStrategy {
public:
    explicit RecordingStrategy(std::vector<std::string>& log) : log_(log) {}
    void HandleEvent(const StandbyMessage& message) override
    {
        std::lock_guard<std::mutex> lock(mutex_);
        threads.push_back(std::this_thread::get_id());
        log_.push_back("strategy:" + std::to_string(message.eventId) + ":" + message.action + ":" +
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

    std::mutex mutex_;
    std::vector<std::thread::id> threads;

private:
    std::vector<std::string>& log_;
};

class StandbyServiceImplTest : public testing::Test {
protected:
    void SetUp() override
    {
        service_->Reset();
        service_->SetHandler(handler_);
    }
    void TearDown() override { service_->Reset(); }

    std::shared_ptr<StandbyServiceImpl> service_ = StandbyServiceImpl::GetInstance();
    Emulator::ScopedVirtualClock clock_{1000};
    std::shared_ptr<AppExecFwk::EventHandler> handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_.Shared());
    std::vector<std::string> log_;
};

TEST_F(StandbyServiceImplTest, MessageFromAnotherThreadIsHandledOnTheHandlerObserverFirst)
{
    auto strategy = std::make_shared<RecordingStrategy>(log_);
    service_->RegisterStrategy(strategy);
    service_->SetMessageObserver(
        [this](const StandbyMessage& message) { log_.push_back("observer:" + std::to_string(message.eventId)); });

    std::thread sender([this] {
        AAFwk::Want want;
        want.SetParam("wakeupTime", static_cast<int64_t>(123456));
        StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(2003, "", want));
        StandbyServiceImpl::GetInstance()->DispatchEvent(StandbyMessage(1, "usual.event.SCREEN_OFF"));
    });
    sender.join();
    EXPECT_TRUE(log_.empty());
    EXPECT_EQ(service_->GetHandler(), handler_);

    handler_->RunUntilIdle();
    EXPECT_EQ(log_, (std::vector<std::string>{"observer:2003", "strategy:2003::123456", "observer:1",
                        "strategy:1:usual.event.SCREEN_OFF:-1"}));
    ASSERT_EQ(strategy->threads.size(), 2u);
    EXPECT_EQ(strategy->threads[0], std::this_thread::get_id());
}

TEST_F(StandbyServiceImplTest, WithoutStrategyMessagesReachOnlyTheObserverAndCallsFail)
{
    service_->SetMessageObserver(
        [this](const StandbyMessage& message) { log_.push_back("observer:" + std::to_string(message.eventId)); });
    service_->DispatchEvent(StandbyMessage(2005));
    handler_->RunUntilIdle();
    EXPECT_EQ(log_, std::vector<std::string>{"observer:2005"});

    std::string dump;
    EXPECT_NE(service_->OnCreated(), ERR_OK);
    EXPECT_NE(service_->OnDestroy(), ERR_OK);
    EXPECT_NE(service_->ShellDump({"-D"}, dump), ERR_OK);
    EXPECT_TRUE(dump.empty());
}

TEST_F(StandbyServiceImplTest, LifecycleAndDumpPassThroughToTheRegisteredStrategy)
{
    service_->RegisterStrategy(std::make_shared<RecordingStrategy>(log_));
    EXPECT_EQ(service_->OnCreated(), 11);
    EXPECT_EQ(service_->OnDestroy(), 12);
    std::string dump;
    EXPECT_EQ(service_->ShellDump({DUMP_STRATGY_DETAIL, DUMP_DETAIL_INFO}, dump), ERR_OK);
    EXPECT_EQ(dump, "--strategy;-D;");

    service_->RegisterStrategy(nullptr);
    EXPECT_EQ(service_->GetStrategy(), nullptr);
}

TEST(StandbyServiceImplRealTimeTest, DefaultHandlerRunsMessagesOnItsOwnThread)
{
    auto service = StandbyServiceImpl::GetInstance();
    service->Reset();
    std::vector<std::string> log;
    auto strategy = std::make_shared<RecordingStrategy>(log);
    service->RegisterStrategy(strategy);
    service->DispatchEvent(StandbyMessage(2001));
    ASSERT_TRUE(service->GetHandler()->WaitIdle(5000));
    {
        std::lock_guard<std::mutex> lock(strategy->mutex_);
        ASSERT_EQ(strategy->threads.size(), 1u);
        EXPECT_NE(strategy->threads[0], std::this_thread::get_id());
    }
    service->Reset();
}

} // namespace
} // namespace OHOS::DevStandbyMgr
