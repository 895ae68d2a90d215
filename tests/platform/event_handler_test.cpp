#include "event_handler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "virtual_clock.h"

namespace OHOS::AppExecFwk {
namespace {

using Emulator::ScopedVirtualClock;
using P = EventQueue::Priority;
using Labels = std::vector<std::string>;

constexpr int64_t kStartMs = 1700000000000;
constexpr int64_t kDayMs = 86400000;

class VirtualEventHandlerTest : public testing::Test {
protected:
    void Post(const std::string& label, int64_t delayMs, P priority = P::LOW, const std::string& name = "")
    {
        handler_->PostTask([this, label] { ran_.push_back(label); }, name, delayMs, priority);
    }
    int64_t Now() { return clock_.Get().WallTimeMs(); }

    ScopedVirtualClock clock_{kStartMs};
    std::shared_ptr<EventHandler> handler_ = EventHandler::CreateVirtual(clock_.Shared());
    Labels ran_;
};

TEST_F(VirtualEventHandlerTest, RunsByDueTimeThenPriorityThenPostingOrder)
{
    Post("late-low-1", 10, P::LOW);
    Post("now-low-1", 0, P::LOW);
    Post("late-high", 10, P::HIGH);
    Post("late-low-2", 10, P::LOW);
    Post("now-vip", 0, P::VIP);
    Post("now-low-2", -5, P::LOW);
    Post("late-idle", 10, P::IDLE);
    Post("late-immediate", 10, P::IMMEDIATE);

    handler_->FastForwardBy(10);

    EXPECT_EQ(ran_, (Labels{"now-vip", "now-low-1", "now-low-2", "late-immediate", "late-high", "late-low-1",
                        "late-low-2", "late-idle"}));
}

// Counts the copies made of it; runs as a task.
struct CopyCountingTask {
    std::shared_ptr<int> copies = std::make_shared<int>(0);
    CopyCountingTask() = default;
    CopyCountingTask(const CopyCountingTask& other) : copies(other.copies) { ++*copies; }
    CopyCountingTask(CopyCountingTask&&) = default;
    CopyCountingTask& operator=(const CopyCountingTask&) = delete;
    CopyCountingTask& operator=(CopyCountingTask&&) = delete;
    void operator()() const {}
};

// A task made for the call is queued without copying what it holds; a kept one is copied once.
TEST_F(VirtualEventHandlerTest, TaskMadeForTheCallIsNotCopied)
{
    CopyCountingTask made;
    const std::shared_ptr<int> madeCopies = made.copies;
    handler_->PostTask(EventHandler::Callback(std::move(made)), "made");

    const EventHandler::Callback kept = CopyCountingTask();
    const int keptCopiesBefore = *kept.target<CopyCountingTask>()->copies;
    handler_->PostTask(kept, "kept");

    EXPECT_EQ(*madeCopies, 0);
    EXPECT_EQ(*kept.target<CopyCountingTask>()->copies - keptCopiesBefore, 1);
    handler_->RunUntilIdle();
    EXPECT_EQ(handler_->PendingTaskCount(), 0U);
}

TEST_F(VirtualEventHandlerTest, DelayedTaskRunsAtItsDueTimeWhateverTheWallClockDoes)
{
    int64_t ranAt = -1;
    handler_->PostTask([this, &ranAt] { ranAt = Now(); }, "", 5000);
    Post("now", 0);
    handler_->AdvanceTo(kStartMs - 1000); // a target in the past runs what is due and keeps the clock
    EXPECT_EQ(ran_, Labels{"now"});
    EXPECT_EQ(Now(), kStartMs);

    handler_->FastForwardBy(4999);
    EXPECT_EQ(ranAt, -1);
    EXPECT_EQ(handler_->NextPendingTaskDelay(), 1);
    clock_.Get().SetWallTimeMs(kStartMs - 3600000);
    handler_->FastForwardBy(60000);
    EXPECT_EQ(ranAt, kStartMs - 3600000 + 1);
    EXPECT_EQ(Now(), kStartMs - 3600000 + 60000);
}

TEST_F(VirtualEventHandlerTest, RunningTasksPostTasksAndRemoveEveryPendingTaskOfANameOnly)
{
    Post("a1", 10, P::LOW, "a");
    Post("b", 10, P::LOW, "b");
    Post("a2", 20, P::LOW, "a");
    Post("unnamed", 30);
    handler_->PostTask([this] {
        ran_.push_back("first");
        Post("posted-now", 0);
        Post("posted-later", 50);
        handler_->RemoveTask("a");
        handler_->RemoveTask("");
    });
    EXPECT_TRUE(handler_->HasTask("a"));
    EXPECT_FALSE(handler_->HasTask(""));

    handler_->RunUntilIdle();
    EXPECT_EQ(ran_, (Labels{"first", "posted-now"}));
    EXPECT_EQ(Now(), kStartMs);
    EXPECT_FALSE(handler_->HasTask("a"));
    EXPECT_EQ(handler_->PendingTaskCount(), 3u);
    handler_->FastForwardBy(50);
    EXPECT_EQ(ran_, (Labels{"first", "posted-now", "b", "unnamed", "posted-later"}));
}

// Many tasks posted in a scrambled order, some names removed before the run and by a running task
// that posts more: the survivors run by due time, then priority, then posting order, whatever the
// queue's layout.
TEST_F(VirtualEventHandlerTest, ManyTasksRunInOrderAfterRemovalsBetweenRuns)
{
    struct Expected {
        int64_t dueMs;
        int priority;
        int sequence;
        std::string label;
    };
    const P priorities[] = {P::VIP, P::IMMEDIATE, P::HIGH, P::LOW, P::IDLE};
    std::vector<Expected> survivors;
    int sequence = 0;
    auto postBatch = [&]() {
        for (int i = 0; i < 60; ++i) {
            const int64_t delayMs = (i * 37) % 23;
            const int priority = (i * 7) % 5;
            const std::string name = "n" + std::to_string(i % 6);
            const std::string label = name + "#" + std::to_string(sequence);
            Post(label, delayMs, priorities[priority], name);
            if (name != "n2" && name != "n5") {
                survivors.push_back({delayMs, priority, sequence, label});
            }
            ++sequence;
        }
    };
    postBatch();
    handler_->RemoveTask("n2");
    handler_->PostTask([&] {
        ran_.push_back("remover");
        handler_->RemoveTask("n5");
        postBatch(); // at the same moment: due times as in the first batch
        handler_->RemoveTask("n2");
        handler_->RemoveTask("n5");
    }, "", 0, P::VIP);
    survivors.push_back({0, 0, sequence++, "remover"});

    handler_->FastForwardBy(30);

    std::sort(survivors.begin(), survivors.end(), [](const Expected& a, const Expected& b) {
        return std::tie(a.dueMs, a.priority, a.sequence) < std::tie(b.dueMs, b.priority, b.sequence);
    });
    Labels expected;
    for (const Expected& task : survivors) {
        expected.push_back(task.label);
    }
    EXPECT_EQ(ran_, expected);
    EXPECT_EQ(handler_->PendingTaskCount(), 0u);
}

TEST_F(VirtualEventHandlerTest, TenSecondRepeatingTaskRunsExactlyOncePerPeriodOverADay)
{
    constexpr int64_t periodMs = 10000;
    int runs = 0;
    std::function<void()> tick = [&] {
        ++runs;
        handler_->PostTask(tick, "tick", periodMs);
    };
    handler_->PostTask(tick, "tick", periodMs);

    handler_->FastForwardBy(kDayMs);

    EXPECT_EQ(runs, kDayMs / periodMs);
    EXPECT_EQ(Now(), kStartMs + kDayMs);
    EXPECT_EQ(handler_->NextPendingTaskDelay(), periodMs);
}

TEST_F(VirtualEventHandlerTest, WorkPostedByOtherThreadsDuringQuiescenceRunsBeforeTimeMoves)
{
    constexpr int kThreads = 4;
    constexpr int kPostsPerThread = 25;
    std::promise<void> go;
    std::shared_future<void> started = go.get_future().share();
    std::atomic<int> done{0};
    int doneWhenLaterRan = -1;
    std::vector<std::thread> workers;
    for (int i = 0; i < kThreads; ++i) {
        workers.emplace_back([this, started, &done] {
            started.wait();
            for (int k = 0; k < kPostsPerThread; ++k) {
                handler_->PostTask([&done] { ++done; });
            }
        });
    }
    // The background work starts only once the driver is about to move time, and must be awaited.
    handler_->SetQuiescenceWait([&go, &workers] {
        for (std::thread& worker : workers) {
            if (worker.joinable()) {
                go.set_value();
                break;
            }
        }
        for (std::thread& worker : workers) {
            if (worker.joinable()) {
                worker.join();
            }
        }
    });
    handler_->PostTask([&] { doneWhenLaterRan = done; }, "", 1);

    handler_->FastForwardBy(1);

    EXPECT_EQ(doneWhenLaterRan, kThreads * kPostsPerThread);
}

// Background work a task starts finishes before the next task runs, at the same moment or after the
// clock has moved, and before the run call returns, so that what both write comes in the same order
// on every run.
TEST_F(VirtualEventHandlerTest, BackgroundWorkStartedByATaskSettlesBeforeTheNextTask)
{
    for (int64_t secondTaskDelayMs : {0, 1}) {
        std::vector<std::string> order;
        std::promise<void> release;
        std::thread background;
        handler_->SetQuiescenceWait([&] {
            if (background.joinable()) {
                release.set_value();
                background.join();
            }
        });
        handler_->PostTask([&] {
            order.push_back("first task");
            background = std::thread([&order, released = release.get_future()] {
                released.wait();
                order.push_back("background");
            });
        });
        handler_->PostTask([&] { order.push_back("second task"); }, "", secondTaskDelayMs);

        handler_->FastForwardBy(secondTaskDelayMs);
        const bool settledByTheRun = !background.joinable();
        if (!settledByTheRun) {
            release.set_value();
            background.join();
        }

        EXPECT_TRUE(settledByTheRun) << "second task after " << secondTaskDelayMs << " ms";
        EXPECT_EQ(order, (std::vector<std::string>{"first task", "background", "second task"}))
            << "second task after " << secondTaskDelayMs << " ms";
    }
}

TEST_F(VirtualEventHandlerTest, RemoveAllEventsDropsEveryPendingTaskAndWhatItHolds)
{
    auto held = std::make_shared<int>(0);
    std::weak_ptr<int> watch = held;
    handler_->PostTask([held] { ++*held; }, "named", 100);
    handler_->PostTask([held] { ++*held; }, "", 0, P::VIP);
    held.reset();
    ASSERT_FALSE(watch.expired());

    handler_->RemoveAllEvents();

    EXPECT_TRUE(watch.expired());
    EXPECT_EQ(handler_->PendingTaskCount(), 0u);
    EXPECT_EQ(handler_->NextPendingTaskDelay(), -1);
}

TEST(RealTimeEventHandlerTest, RunsTasksOnItsThreadInDueOrderAndSurvivesReleasingItselfThere)
{
    auto handler = EventHandler::CreateRealTime("rt-test");
    std::mutex mutex;
    Labels ran;
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
    EXPECT_EQ(ran, (Labels{"now", "15ms", "30ms"}));

    // The task's copy becomes the last reference and is dropped on the handler's own thread.
    std::promise<void> released;
    handler->PostTask([self = handler, &released]() mutable {
        self->PostTask([] {}, "", 60000);
        released.set_value();
    });
    handler.reset();
    EXPECT_EQ(released.get_future().wait_for(std::chrono::seconds(5)), std::future_status::ready);
}

} // namespace
} // namespace OHOS::AppExecFwk
