#include "event_handler.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "virtual_clock.h"

namespace OHOS::AppExecFwk {
namespace {

using Emulator::ScopedVirtualClock;

constexpr int64_t kStartMs = 1700000000000;
constexpr int64_t kDayMs = 86400000;

class VirtualEventHandlerTest : public testing::Test {
protected:
    ScopedVirtualClock clock_{kStartMs};
    std::shared_ptr<EventHandler> handler_ = EventHandler::CreateVirtual(clock_.Shared());
    std::vector<std::string> ran_;

    void Post(const std::string& label, int64_t delayMs, EventQueue::Priority priority = EventQueue::Priority::LOW,
        const std::string& name = "")
    {
        handler_->PostTask([this, label] { ran_.push_back(label); }, name, delayMs, priority);
    }
};

TEST_F(VirtualEventHandlerTest, RunsByDueTimeThenPriorityThenPostingOrder)
{
    using P = EventQueue::Priority;
    Post("late-low-1", 10, P::LOW);
    Post("now-low-1", 0, P::LOW);
    Post("late-high", 10, P::HIGH);
    Post("late-low-2", 10, P::LOW);
    Post("now-vip", 0, P::VIP);
    Post("now-low-2", -5, P::LOW);
    Post("late-idle", 10, P::IDLE);
    Post("late-immediate", 10, P::IMMEDIATE);

    handler_->FastForwardBy(10);

    EXPECT_EQ(ran_, (std::vector<std::string>{"now-vip", "now-low-1", "now-low-2", "late-immediate", "late-high",
                        "late-low-1", "late-low-2", "late-idle"}));
}

TEST_F(VirtualEventHandlerTest, DelayedTaskRunsAtItsDueTimeAndClockEndsAtTarget)
{
    int64_t ranAt = -1;
    handler_->PostTask([&ranAt] { ranAt = Emulator::CurrentClock()->WallTimeMs(); }, "", 5000);

    handler_->RunUntilIdle();
    handler_->FastForwardBy(4999);
    EXPECT_EQ(ranAt, -1);
    EXPECT_EQ(handler_->NextPendingTaskDelay(), 1);

    handler_->FastForwardBy(60000);
    EXPECT_EQ(ranAt, kStartMs + 5000);
    EXPECT_EQ(clock_.Get().WallTimeMs(), kStartMs + 4999 + 60000);
    EXPECT_EQ(handler_->NextPendingTaskDelay(), -1);
}

TEST_F(VirtualEventHandlerTest, AdvanceToThePastRunsOnlyDueTasksAndKeepsTheClock)
{
    Post("now", 0);
    Post("later", 100);
    handler_->AdvanceTo(kStartMs - 1000);
    EXPECT_EQ(ran_, std::vector<std::string>{"now"});
    EXPECT_EQ(clock_.Get().WallTimeMs(), kStartMs);
    handler_->AdvanceTo(kStartMs + 100);
    EXPECT_EQ(ran_, (std::vector<std::string>{"now", "later"}));
}

TEST_F(VirtualEventHandlerTest, RemoveTaskDropsEveryPendingTaskOfThatNameOnly)
{
    Post("a1", 10, EventQueue::Priority::LOW, "a");
    Post("b", 10, EventQueue::Priority::LOW, "b");
    Post("a2", 20, EventQueue::Priority::LOW, "a");
    Post("unnamed", 30);
    EXPECT_TRUE(handler_->HasTask("a"));
    EXPECT_FALSE(handler_->HasTask(""));

    handler_->RemoveTask("a");
    handler_->RemoveTask("");

    EXPECT_FALSE(handler_->HasTask("a"));
    EXPECT_EQ(handler_->PendingTaskCount(), 2u);
    handler_->FastForwardBy(30);
    EXPECT_EQ(ran_, (std::vector<std::string>{"b", "unnamed"}));
}

TEST_F(VirtualEventHandlerTest, TasksPostAndRemoveTasksWhileRunning)
{
    handler_->PostTask([this] {
        ran_.push_back("first");
        Post("posted-now", 0);
        Post("posted-later", 50);
        handler_->RemoveTask("victim");
    });
    Post("victim", 0, EventQueue::Priority::LOW, "victim");

    handler_->RunUntilIdle();
    EXPECT_EQ(ran_, (std::vector<std::string>{"first", "posted-now"}));
    EXPECT_EQ(clock_.Get().WallTimeMs(), kStartMs);

    handler_->FastForwardBy(50);
    EXPECT_EQ(ran_.back(), "posted-later");
}

TEST_F(VirtualEventHandlerTest, TenSecondRepeatingTaskRunsExactlyOncePerPeriodOverADay)
{
    constexpr int64_t periodMs = 10000;
    int runs = 0;
    int64_t lastRunMs = 0;
    std::function<void()> tick = [&] {
        ++runs;
        lastRunMs = clock_.Get().WallTimeMs();
        handler_->PostTask(tick, "tick", periodMs);
    };
    handler_->PostTask(tick, "tick", periodMs);

    handler_->FastForwardBy(kDayMs);

    EXPECT_EQ(runs, kDayMs / periodMs);
    EXPECT_EQ(lastRunMs, kStartMs + kDayMs);
    EXPECT_EQ(clock_.Get().WallTimeMs(), kStartMs + kDayMs);
    EXPECT_EQ(handler_->PendingTaskCount(), 1u);
    EXPECT_EQ(handler_->NextPendingTaskDelay(), periodMs);
}

TEST_F(VirtualEventHandlerTest, WallClockChangesDoNotDelayPendingTasks)
{
    Post("after-one-second", 1000);
    clock_.Get().SetWallTimeMs(kStartMs - 3600000);
    handler_->FastForwardBy(1000);
    EXPECT_EQ(ran_, std::vector<std::string>{"after-one-second"});
    EXPECT_EQ(clock_.Get().WallTimeMs(), kStartMs - 3600000 + 1000);
}

TEST_F(VirtualEventHandlerTest, QuiescenceWaitRunsBeforeEveryClockMoveAndItsWorkRunsFirst)
{
    std::vector<int64_t> waitedAt;
    handler_->SetQuiescenceWait([&] {
        waitedAt.push_back(clock_.Get().WallTimeMs());
        if (waitedAt.size() == 1) {
            // Background work that finishes just now and posts its result for "now".
            Post("background-result", 0);
        }
    });
    Post("at-100", 100);

    handler_->RunUntilIdle();
    EXPECT_TRUE(waitedAt.empty());

    handler_->FastForwardBy(200);
    EXPECT_EQ(ran_, (std::vector<std::string>{"background-result", "at-100"}));
    ASSERT_GE(waitedAt.size(), 3u);
    EXPECT_EQ(waitedAt[0], kStartMs);
    EXPECT_EQ(waitedAt.back(), kStartMs + 100);
}

TEST_F(VirtualEventHandlerTest, PostsFromManyThreadsAreAllRunOnTheDrivingThread)
{
    constexpr int threads = 4;
    constexpr int postsPerThread = 250;
    std::atomic<int> runs{0};
    std::atomic<bool> offDriver{false};
    const auto driver = std::this_thread::get_id();
    std::vector<std::thread> posters;
    for (int t = 0; t < threads; ++t) {
        posters.emplace_back([&] {
            for (int i = 0; i < postsPerThread; ++i) {
                handler_->PostTask([&] {
                    ++runs;
                    offDriver = offDriver || std::this_thread::get_id() != driver;
                });
            }
        });
    }
    for (auto& poster : posters) {
        poster.join();
    }
    handler_->RunUntilIdle();
    EXPECT_EQ(runs, threads * postsPerThread);
    EXPECT_FALSE(offDriver);
}

TEST(RealTimeEventHandlerTest, RunsTasksOnItsThreadInDueOrder)
{
    auto handler = EventHandler::CreateRealTime("rt-test");
    std::mutex mutex;
    std::vector<std::string> ran;
    std::atomic<bool> onCaller{false};
    const auto caller = std::this_thread::get_id();
    auto record = [&](const std::string& label) {
        return [&, label] {
            onCaller = onCaller || std::this_thread::get_id() == caller;
            std::lock_guard<std::mutex> lock(mutex);
            ran.push_back(label);
        };
    };
    handler->PostTask(record("30ms"), "", 30);
    handler->PostTask(record("removed"), "gone", 10);
    handler->PostTask(record("now"));
    handler->PostTask(record("15ms"), "", 15);
    handler->RemoveTask("gone");

    ASSERT_TRUE(handler->WaitIdle(5000));
    EXPECT_FALSE(onCaller);
    std::lock_guard<std::mutex> lock(mutex);
    EXPECT_EQ(ran, (std::vector<std::string>{"now", "15ms", "30ms"}));
}

TEST(RealTimeEventHandlerTest, SurvivesReleasingItsLastReferenceFromItsOwnTask)
{
    auto handler = EventHandler::CreateRealTime("rt-self");
    std::promise<void> ran;
    handler->PostTask([self = handler, &ran]() mutable {
        self->PostTask([] {}, "", 60000);
        ran.set_value();
    });
    handler.reset();
    EXPECT_EQ(ran.get_future().wait_for(std::chrono::seconds(5)), std::future_status::ready);
}

} // namespace
} // namespace OHOS::AppExecFwk
