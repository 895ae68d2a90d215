#include "task_runner.h"

#include <pthread.h>

#include <algorithm>
#include <chrono>
#include <thread>
#include <tuple>

#include "virtual_clock.h"

namespace OHOS::Emulator {
namespace {

constexpr int64_t kNsPerMs = 1000000;
constexpr size_t kMaxThreadNameLength = 15;

int64_t CeilToMs(int64_t ns)
{
    return (ns + kNsPerMs - 1) / kNsPerMs;
}

int64_t SteadyNowNs()
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

// Runs tasks on virtual time: nothing happens until the driver calls one of the Run/Advance calls.
class VirtualTaskRunner final : public TaskRunner {
public:
    explicit VirtualTaskRunner(std::shared_ptr<VirtualClock> clock) : clock_(std::move(clock)) {}

    void RunUntilIdle() override { RunUntilNs(NowNs()); }
    void AdvanceTo(int64_t wallMs) override { RunUntilNs(NowNs() + (wallMs - clock_->WallTimeMs()) * kNsPerMs); }
    void FastForwardBy(int64_t deltaMs) override { RunUntilNs(NowNs() + std::max<int64_t>(deltaMs, 0) * kNsPerMs); }

protected:
    int64_t NowNs() const override { return clock_->BootTimeNs(); }

private:
    // The one step everything is built on: run what is due, then move the clock to the next due
    // time (or the target), until the target is reached.
    //
    // Background work (a training thread) settles before each task and before the runner returns, so
    // it never runs alongside a task or the driver: what both write comes in one order on every run.
    // Only a task (or the driver, before the call) starts such work, so the wait follows the start of
    // the call and each task, not each move of the clock. The wait in force when the call starts
    // serves the whole call. Each task is destroyed before the next one is taken. Nothing waits on
    // this runner, so whether a task is running is not recorded.
    void RunUntilNs(int64_t targetNs)
    {
        const std::function<void()> waitForQuiescence = QuiescenceWait();
        bool settled = false;
        for (;;) {
            if (waitForQuiescence && !settled) {
                waitForQuiescence();
                settled = true;
            }
            std::optional<int64_t> nextDueNs;
            if (std::optional<TaskQueue::Callback> task = TakeDueTask(nextDueNs)) {
                (*task)();
                settled = false;
                continue;
            }
            const int64_t now = NowNs();
            if (now >= targetNs) {
                return;
            }
            const int64_t stopNs = nextDueNs ? std::min(*nextDueNs, targetNs) : targetNs;
            clock_->AdvanceMs(CeilToMs(stopNs - now));
        }
    }

    // The first task when it is due now; otherwise none, and `nextDueNs` says when the next one
    // falls due (empty when nothing is pending). One lock for both answers.
    std::optional<TaskQueue::Callback> TakeDueTask(std::optional<int64_t>& nextDueNs)
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        std::optional<TaskQueue::Callback> task = state_->queue.PopDue(NowNs());
        if (!task) {
            nextDueNs = state_->queue.NextDueNs();
        }
        return task;
    }

    std::function<void()> QuiescenceWait() const
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        return state_->quiescenceWait;
    }

    std::shared_ptr<VirtualClock> clock_;
};

// Runs tasks on a thread of its own when they fall due by the steady clock.
class RealTimeTaskRunner final : public TaskRunner {
public:
    explicit RealTimeTaskRunner(const std::string& threadName)
    {
        worker_ = std::thread([state = state_, threadName] {
            pthread_setname_np(pthread_self(), threadName.substr(0, kMaxThreadNameLength).c_str());
            WorkerLoop(*state);
        });
    }

    ~RealTimeTaskRunner() override
    {
        TaskQueue dropped;
        {
            std::lock_guard<std::mutex> lock(state_->mutex);
            state_->stopping = true;
            std::swap(dropped, state_->queue);
        }
        state_->changed.notify_all();
        // A task that releases the last reference to its handler destroys the runner on the worker.
        if (worker_.get_id() == std::this_thread::get_id()) {
            worker_.detach();
        } else {
            worker_.join();
        }
    }

    bool WaitIdle(int64_t timeoutMs) override
    {
        std::unique_lock<std::mutex> lock(state_->mutex);
        return state_->changed.wait_for(lock, std::chrono::milliseconds(std::max<int64_t>(timeoutMs, 0)),
            [this] { return state_->queue.Size() == 0 && !state_->running; });
    }

protected:
    int64_t NowNs() const override { return SteadyNowNs(); }

private:
    static void WorkerLoop(RunnerState& state)
    {
        std::unique_lock<std::mutex> lock(state.mutex);
        while (!state.stopping) {
            std::optional<int64_t> nextDue = state.queue.NextDueNs();
            if (!nextDue) {
                state.changed.wait(lock);
                continue;
            }
            const int64_t now = SteadyNowNs();
            if (*nextDue > now) {
                state.changed.wait_for(lock, std::chrono::nanoseconds(*nextDue - now));
                continue;
            }
            std::optional<TaskQueue::Callback> task = state.queue.PopDue(now);
            state.running = true;
            lock.unlock();
            (*task)();
            task.reset();
            lock.lock();
            state.running = false;
            state.changed.notify_all();
        }
    }

    std::thread worker_;
};

} // namespace

bool TaskQueue::IsBefore(const Entry& a, const Entry& b)
{
    return std::tie(a.dueNs, a.priority, a.sequence) < std::tie(b.dueNs, b.priority, b.sequence);
}

void TaskQueue::Push(int64_t dueNs, uint32_t priority, const std::string& name, Callback callback)
{
    uint32_t slot = 0;
    if (freeSlots_.empty()) {
        slot = static_cast<uint32_t>(slots_.size());
        slots_.emplace_back();
    } else {
        slot = freeSlots_.back();
        freeSlots_.pop_back();
    }
    slots_[slot].name.assign(name); // reuses the slot's buffer
    slots_[slot].callback = std::move(callback);
    heap_.push_back(Entry{dueNs, priority, slot, nextSequence_++});
    std::push_heap(heap_.begin(), heap_.end(), IsAfter);
}

TaskQueue::Callback TaskQueue::Release(uint32_t slot)
{
    Callback callback = std::move(slots_[slot].callback);
    slots_[slot].callback = nullptr;
    freeSlots_.push_back(slot);
    return callback;
}

template <typename Matches> std::vector<TaskQueue::Callback> TaskQueue::Extract(Matches matches)
{
    auto firstTaken = std::partition(
        heap_.begin(), heap_.end(), [this, &matches](const Entry& entry) { return !matches(slots_[entry.slot]); });
    if (firstTaken == heap_.end()) {
        return {};
    }
    std::sort(firstTaken, heap_.end(), IsBefore);
    std::vector<Callback> taken;
    taken.reserve(static_cast<size_t>(heap_.end() - firstTaken));
    for (auto it = firstTaken; it != heap_.end(); ++it) {
        taken.push_back(Release(it->slot));
    }
    heap_.erase(firstTaken, heap_.end());
    std::make_heap(heap_.begin(), heap_.end(), IsAfter);
    return taken;
}

std::vector<TaskQueue::Callback> TaskQueue::RemoveNamed(const std::string& name)
{
    if (name.empty()) {
        return {};
    }
    return Extract([&name](const Slot& slot) { return slot.name == name; });
}

std::vector<TaskQueue::Callback> TaskQueue::TakeAll()
{
    return Extract([](const Slot&) { return true; });
}

bool TaskQueue::HasNamed(const std::string& name) const
{
    return !name.empty() && std::any_of(heap_.begin(), heap_.end(),
                                [this, &name](const Entry& entry) { return slots_[entry.slot].name == name; });
}

std::optional<int64_t> TaskQueue::NextDueNs() const
{
    if (heap_.empty()) {
        return std::nullopt;
    }
    return heap_.front().dueNs;
}

std::optional<TaskQueue::Callback> TaskQueue::PopDue(int64_t nowNs)
{
    if (heap_.empty() || heap_.front().dueNs > nowNs) {
        return std::nullopt;
    }
    std::pop_heap(heap_.begin(), heap_.end(), IsAfter);
    const uint32_t slot = heap_.back().slot;
    heap_.pop_back();
    return Release(slot);
}

std::unique_ptr<TaskRunner> TaskRunner::CreateVirtual(std::shared_ptr<VirtualClock> clock)
{
    return std::make_unique<VirtualTaskRunner>(std::move(clock));
}

std::unique_ptr<TaskRunner> TaskRunner::CreateRealTime(const std::string& threadName)
{
    return std::make_unique<RealTimeTaskRunner>(threadName);
}

bool TaskRunner::PostTask(std::function<void()> task, const std::string& name, int64_t delayMs, uint32_t priority)
{
    if (!task) {
        return false;
    }
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        if (state_->stopping) {
            return false;
        }
        state_->queue.Push(NowNs() + std::max<int64_t>(delayMs, 0) * kNsPerMs, priority, name, std::move(task));
    }
    state_->changed.notify_all();
    return true;
}

void TaskRunner::RemoveAllTasks()
{
    std::vector<TaskQueue::Callback> removed;
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        removed = state_->queue.TakeAll();
    }
    state_->changed.notify_all();
}

void TaskRunner::RemoveTask(const std::string& name)
{
    std::vector<TaskQueue::Callback> removed;
    {
        std::lock_guard<std::mutex> lock(state_->mutex);
        removed = state_->queue.RemoveNamed(name);
    }
    state_->changed.notify_all();
}

bool TaskRunner::HasTask(const std::string& name) const
{
    std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->queue.HasNamed(name);
}

size_t TaskRunner::PendingTaskCount() const
{
    std::lock_guard<std::mutex> lock(state_->mutex);
    return state_->queue.Size();
}

int64_t TaskRunner::NextPendingTaskDelay() const
{
    std::lock_guard<std::mutex> lock(state_->mutex);
    std::optional<int64_t> nextDue = state_->queue.NextDueNs();
    if (!nextDue) {
        return -1;
    }
    return CeilToMs(std::max<int64_t>(*nextDue - NowNs(), 0));
}

void TaskRunner::SetQuiescenceWait(std::function<void()> waitForBackgroundWork)
{
    std::lock_guard<std::mutex> lock(state_->mutex);
    state_->quiescenceWait = std::move(waitForBackgroundWork);
}

bool TaskRunner::WaitIdle(int64_t /* timeoutMs */)
{
    return PendingTaskCount() == 0;
}

} // namespace OHOS::Emulator
