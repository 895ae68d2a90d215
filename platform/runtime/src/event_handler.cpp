#include "event_handler.h"

#include <utility>

#include "task_runner.h"
#include "virtual_clock.h"

namespace OHOS::AppExecFwk {

std::shared_ptr<EventHandler> EventHandler::CreateVirtual(std::shared_ptr<Emulator::VirtualClock> clock)
{
    if (!clock) {
        return nullptr;
    }
    return std::shared_ptr<EventHandler>(new EventHandler(Emulator::TaskRunner::CreateVirtual(std::move(clock))));
}

std::shared_ptr<EventHandler> EventHandler::CreateRealTime(const std::string& threadName)
{
    return std::shared_ptr<EventHandler>(new EventHandler(Emulator::TaskRunner::CreateRealTime(threadName)));
}

EventHandler::EventHandler(std::unique_ptr<Emulator::TaskRunner> runner) : runner_(std::move(runner)) {}

EventHandler::~EventHandler() = default;

bool EventHandler::PostTask(const Callback& task, const std::string& name, int64_t delayTime, Priority priority)
{
    return PostTask(Callback(task), name, delayTime, priority);
}

bool EventHandler::PostTask(Callback&& task, const std::string& name, int64_t delayTime, Priority priority)
{
    return runner_->PostTask(std::move(task), name, delayTime, static_cast<uint32_t>(priority));
}

void EventHandler::RemoveAllEvents()
{
    runner_->RemoveAllTasks();
}

void EventHandler::RemoveTask(const std::string& name)
{
    runner_->RemoveTask(name);
}

bool EventHandler::HasTask(const std::string& name) const
{
    return runner_->HasTask(name);
}

size_t EventHandler::PendingTaskCount() const
{
    return runner_->PendingTaskCount();
}

void EventHandler::RunUntilIdle()
{
    runner_->RunUntilIdle();
}

void EventHandler::AdvanceTo(int64_t wallMs)
{
    runner_->AdvanceTo(wallMs);
}

void EventHandler::FastForwardBy(int64_t deltaMs)
{
    runner_->FastForwardBy(deltaMs);
}

int64_t EventHandler::NextPendingTaskDelay() const
{
    return runner_->NextPendingTaskDelay();
}

void EventHandler::SetQuiescenceWait(std::function<void()> waitForBackgroundWork)
{
    runner_->SetQuiescenceWait(std::move(waitForBackgroundWork));
}

bool EventHandler::WaitIdle(int64_t timeoutMs)
{
    return runner_->WaitIdle(timeoutMs);
}

} // namespace OHOS::AppExecFwk
