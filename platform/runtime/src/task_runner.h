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
#include <tuple>
#include <vector>

namespace OHOS::Emulator {

class VirtualClock;

// Pending tasks ordered by due time, then priority (lower first), then posting order.
// Not synchronised: the owner locks.
class TaskQueue {
public:
    struct Task {
        std::string name;
        std::function<void()> callback;
    };
    void Push(int64_t dueNs, uint32_t priority, const std::string& name, std::function<void()> callback);
    // Removes every task with this name (an empty name matches nothing) and hands them back, so
    // the caller can destroy them after unlocking.
    std::vector<Task> RemoveNamed(const std::string& name);
    bool HasNamed(const std::string& name) const;
    size_t Size() const { return tasks_.size(); }
    std::optional<int64_t> NextDueNs() const;
    // Takes the first task when it is due no later than nowNs.
    std::optional<Task> PopDue(int64_t nowNs);
    // Removes every task and hands them back, to be destroyed after unlocking.
    std::vector<Task> TakeAll();

private:
    using Key = std::tuple<int64_t, uint32_t, uint64_t>;
    std::map<Key, Task> tasks_;
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
