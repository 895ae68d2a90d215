#ifndef PLATFORM_SRC_TASK_RUNNER_H
#define PLATFORM_SRC_TASK_RUNNER_H

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace OHOS::Emulator {

class VirtualClock;

// Pending tasks ordered by due time, then priority (lower first), then posting order.
// Not synchronised: the owner locks.
//
// The plug-in posts a task every ten seconds of its loop, so a post and a take must be cheap: each
// task lives in a slot that is used again once the task has run (its name's buffer with it), and
// the order is kept by a binary heap of small entries that name the slots.
class TaskQueue {
public:
    using Callback = std::function<void()>;
    void Push(int64_t dueNs, uint32_t priority, const std::string& name, Callback callback);
    // Removes every task with this name (an empty name matches nothing) and hands their callbacks
    // back in queue order, so the caller can destroy them after unlocking.
    std::vector<Callback> RemoveNamed(const std::string& name);
    bool HasNamed(const std::string& name) const;
    size_t Size() const { return heap_.size(); }
    std::optional<int64_t> NextDueNs() const;
    // Takes the first task's callback when the task is due no later than nowNs.
    std::optional<Callback> PopDue(int64_t nowNs);
    // Removes every task and hands their callbacks back, to be destroyed after unlocking.
    std::vector<Callback> TakeAll();

private:
    struct Slot {
        std::string name;
        Callback callback;
    };
    struct Entry {
        int64_t dueNs;
        uint32_t priority;
        uint32_t slot;
        uint64_t sequence;
    };
    static bool IsBefore(const Entry& a, const Entry& b);
    static bool IsAfter(const Entry& a, const Entry& b) { return IsBefore(b, a); }
    // Removes the tasks whose slots `matches` picks; their callbacks in queue order.
    template <typename Matches> std::vector<Callback> Extract(Matches matches);
    // Takes the slot's callback and frees the slot for the next post.
    Callback Release(uint32_t slot);

    std::vector<Slot> slots_;
    std::vector<uint32_t> freeSlots_;
    std::vector<Entry> heap_; // the first task in front
    uint64_t nextSequence_ = 0;
};

// What the runner and, in real-time mode, its worker thread share. The worker holds its own
// reference so it may outlive a runner destroyed from inside one of its tasks.
struct RunnerState {
    mutable std::mutex mutex;
    std::condition_variable changed;
    TaskQueue queue;
    bool stopping = false;
    bool running = false; // a task of the real-time worker is running
    std::function<void()> quiescenceWait;
};

// The serial task queue behind EventHandler, in one of two modes (see event_handler.h).
class TaskRunner {
public:
    static std::unique_ptr<TaskRunner> CreateVirtual(std::shared_ptr<VirtualClock> clock);
    static std::unique_ptr<TaskRunner> CreateRealTime(const std::string& threadName);
    virtual ~TaskRunner() = default;
    TaskRunner(const TaskRunner&) = delete;
    TaskRunner& operator=(const TaskRunner&) = delete;

    bool PostTask(std::function<void()> task, const std::string& name, int64_t delayMs, uint32_t priority);
    void RemoveTask(const std::string& name);
    void RemoveAllTasks();
    bool HasTask(const std::string& name) const;
    size_t PendingTaskCount() const;
    int64_t NextPendingTaskDelay() const;

    // Virtual mode only; no effect in real-time mode.
    virtual void RunUntilIdle() {}
    virtual void AdvanceTo(int64_t /* wallMs */) {}
    virtual void FastForwardBy(int64_t /* deltaMs */) {}
    void SetQuiescenceWait(std::function<void()> waitForBackgroundWork);
    // Blocks until nothing is pending or running, or timeoutMs passed; virtual mode does not block.
    virtual bool WaitIdle(int64_t timeoutMs);

protected:
    TaskRunner() : state_(std::make_shared<RunnerState>()) {}
    // The runner's own time line in nanoseconds: boot time of the virtual clock, or the steady clock.
    virtual int64_t NowNs() const = 0;

    std::shared_ptr<RunnerState> state_;
};

} // namespace OHOS::Emulator

#endif // PLATFORM_SRC_TASK_RUNNER_H
