#ifndef PLATFORM_INCLUDE_EVENT_HANDLER_H
#define PLATFORM_INCLUDE_EVENT_HANDLER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace OHOS::Emulator {
class VirtualClock;
class TaskRunner;
} // namespace OHOS::Emulator

namespace OHOS::AppExecFwk {

class EventQueue {
public:
    // The platform's task priorities; a lower number runs first among tasks due at the same time.
    enum class Priority : uint32_t { VIP = 0, IMMEDIATE = 1, HIGH = 2, LOW = 3, IDLE = 4 };
};

// A serial task queue: tasks run one at a time, ordered by due time, then priority, then posting
// order. PostTask and RemoveTask may be called from any thread, including from a running task.
//
// Two modes:
//  - virtual: time is a VirtualClock; nothing runs until a driver calls RunUntilIdle, AdvanceTo
//    or FastForwardBy on its own thread (which then is "the handler thread");
//  - real time: a thread of its own runs each task when it falls due by the steady clock.
class EventHandler {
public:
    using Callback = std::function<void()>;
    using Priority = EventQueue::Priority;

    // A handler on virtual time driven by `clock`; nullptr when `clock` is null.
    static std::shared_ptr<EventHandler> CreateVirtual(std::shared_ptr<Emulator::VirtualClock> clock);
    static std::shared_ptr<EventHandler> CreateRealTime(const std::string& threadName);
    ~EventHandler();
    EventHandler(const EventHandler&) = delete;
    EventHandler& operator=(const EventHandler&) = delete;

    // Queues `task` to run `delayTime` ms from now (negative counts as 0). Returns false only when
    // the task is empty or the handler is shutting down.
    bool PostTask(
        const Callback& task, const std::string& name = "", int64_t delayTime = 0, Priority priority = Priority::LOW);
    // The same for a task made for the call (a lambda): it is moved into the queue, not copied with
    // everything it captured.
    bool PostTask(
        Callback&& task, const std::string& name = "", int64_t delayTime = 0, Priority priority = Priority::LOW);
    // Removes every pending task with this name (not one already running). Empty names match nothing.
    void RemoveTask(const std::string& name);
    // Removes every pending task (not one already running); the tasks are destroyed, so whatever
    // they hold is released.
    void RemoveAllEvents();
    // Whether a task with this name is pending.
    bool HasTask(const std::string& name) const;
    // Number of pending tasks.
    size_t PendingTaskCount() const;

    // Virtual mode only (no effect in real-time mode). All are built on one step: run every task due
    // no later than T, moving the clock to each task's due time, in order.
    // Runs every task due now, including those they post for now; time does not move.
    void RunUntilIdle();
    // Runs everything due up to wallMs, then sets the clock to wallMs (if later than now).
    void AdvanceTo(int64_t wallMs);
    // AdvanceTo(now + deltaMs).
    void FastForwardBy(int64_t deltaMs);
    // Milliseconds until the next pending task is due (0 if overdue), or -1 when none is pending.
    int64_t NextPendingTaskDelay() const;

    // Virtual mode: called before every task, before every move of the clock and before a Run or
    // Advance call returns, so that work on other threads (which may post tasks for "now") finishes
    // first, never runs alongside a task, and a run stays repeatable. Default: none.
    void SetQuiescenceWait(std::function<void()> waitForBackgroundWork);

    // Real-time mode: blocks until no task is pending or running, or timeoutMs passed. Test helper.
    bool WaitIdle(int64_t timeoutMs);

private:
    explicit EventHandler(std::unique_ptr<Emulator::TaskRunner> runner);
    std::unique_ptr<Emulator::TaskRunner> runner_;
};

} // namespace OHOS::AppExecFwk

#endif // PLATFORM_INCLUDE_EVENT_HANDLER_H
