#include "call_fault.h"

namespace OHOS::Emulator {

void CallFault::SetAlways(bool on)
{
    std::lock_guard<std::mutex> lock(mutex_);
    always_ = on;
}

bool CallFault::Always() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return always_;
}

void CallFault::FailNth(int nth, bool persistent)
{
    std::lock_guard<std::mutex> lock(mutex_);
    failAt_ = nth > 0 ? nth : 0;
    persistent_ = persistent;
    calls_ = 0;
    injected_ = 0;
}

bool CallFault::OnCall()
{
    std::lock_guard<std::mutex> lock(mutex_);
    ++calls_;
    const bool armedHit = failAt_ > 0 && (calls_ == failAt_ || (persistent_ && calls_ > failAt_));
    if (always_ || armedHit) {
        ++injected_;
        return true;
    }
    return false;
}

int CallFault::Calls() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
}

int CallFault::Injected() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return injected_;
}

void CallFault::Reset()
{
    std::lock_guard<std::mutex> lock(mutex_);
    always_ = false;
    failAt_ = 0;
    persistent_ = false;
    calls_ = 0;
    injected_ = 0;
}

} // namespace OHOS::Emulator
