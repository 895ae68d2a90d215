#include "power_mgr_client.h"

#include "simulated_phone.h"

namespace OHOS::PowerMgr {
namespace {

using Emulator::PhoneFault;
using Emulator::SimulatedPhone;

constexpr int32_t kLockOk = 0;
constexpr int32_t kLockFailed = 4900101;

} // namespace

RunningLock::RunningLock(int32_t id, std::string name) : id_(id), name_(std::move(name)) {}

RunningLock::~RunningLock()
{
    SimulatedPhone::GetInstance().UnlockRunningLock(id_);
}

int32_t RunningLock::Lock(int32_t timeOutMs)
{
    SimulatedPhone& phone = SimulatedPhone::GetInstance();
    if (phone.HasFault(PhoneFault::RUNNING_LOCK_LOCK)) {
        return kLockFailed;
    }
    return phone.LockRunningLock(id_, timeOutMs) ? kLockOk : kLockFailed;
}

int32_t RunningLock::UnLock()
{
    SimulatedPhone::GetInstance().UnlockRunningLock(id_);
    return kLockOk;
}

bool RunningLock::IsUsed()
{
    return SimulatedPhone::GetInstance().IsRunningLockHeld(id_);
}

PowerMgrClient& PowerMgrClient::GetInstance()
{
    static PowerMgrClient client;
    return client;
}

std::shared_ptr<RunningLock> PowerMgrClient::CreateRunningLock(const std::string& name, RunningLockType type)
{
    (void)type; // every type keeps the simulated device awake alike
    SimulatedPhone& phone = SimulatedPhone::GetInstance();
    if (phone.HasFault(PhoneFault::RUNNING_LOCK_CREATE)) {
        return nullptr;
    }
    return std::shared_ptr<RunningLock>(new RunningLock(phone.CreateRunningLockRecord(name), name));
}

} // namespace OHOS::PowerMgr
