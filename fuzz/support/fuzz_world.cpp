#include "fuzz_world.h"

#include <cstdlib>
#include <ctime>

#include "data_root.h"
#include "scratch_folder.h"
#include "simulated_phone.h"
#include "sleep_detection.h"
#include "standby_message.h"
#include "standby_service_impl.h"

namespace OHOS::Fuzz {
namespace {

// 2024-03-11 23:00 in UTC+8.
constexpr int64_t kStartWallMs = 1710169200000;
constexpr const char* kTimeZone = "CST-8";

} // namespace

FuzzWorld& FuzzWorld::Get()
{
    // Deliberately leaked: the host, the phone and the engine are process-wide singletons whose
    // order of destruction at exit is not ours to choose.
    static FuzzWorld* world = new FuzzWorld();
    return *world;
}

FuzzWorld::FuzzWorld()
{
    setenv("TZ", kTimeZone, 1);
    tzset();
    Emulator::SetDataRoot(MakeScratchFolder("sleep-fuzz"));

    clock_ = std::make_shared<Emulator::VirtualClock>(kStartWallMs);
    Emulator::InstallClock(clock_);
    handler_ = AppExecFwk::EventHandler::CreateVirtual(clock_);
    handler_->SetQuiescenceWait(&DevStandbyMgr::SleepDetection::WaitForTrainingThreads);
    Emulator::SimulatedPhone::GetInstance().SetEventHandler(handler_);

    auto host = DevStandbyMgr::StandbyServiceImpl::GetInstance();
    host->SetHandler(handler_);
    strategy_ = std::make_shared<DevStandbyMgr::UserSleepStrategy>();
    host->RegisterStrategy(strategy_);
    host->OnCreated();
    // The engine's own observations stay off: only the fuzzer's messages drive it.
    Dump({"-S", "--strategy", "-RT", "--SetMode", "1"});
}

void FuzzWorld::Deliver(int32_t eventId, const AAFwk::Want& want)
{
    DevStandbyMgr::StandbyMessage message(eventId);
    message.want = want;
    strategy_->HandleEvent(message);
    Settle();
}

std::string FuzzWorld::Dump(const std::vector<std::string>& words)
{
    std::string result;
    DevStandbyMgr::StandbyServiceImpl::GetInstance()->ShellDump(words, result);
    Settle();
    return result;
}

void FuzzWorld::Settle()
{
    DevStandbyMgr::SleepDetection::WaitForTrainingThreads();
    handler_->RunUntilIdle();
}

} // namespace OHOS::Fuzz
