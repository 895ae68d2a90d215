#ifndef FUZZ_SUPPORT_FUZZ_WORLD_H
#define FUZZ_SUPPORT_FUZZ_WORLD_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "event_handler.h"
#include "user_sleep_strategy.h"
#include "virtual_clock.h"
#include "want.h"

namespace OHOS::Fuzz {

// The plug-in running inside the standby host for a whole fuzzing process: a scratch data root
// (in memory when /dev/shm exists, removed at exit), a virtual clock stopped at 23:00 local time
// in a fixed zone, the host's virtual handler and the simulated phone. Each input is handed to
// the running plug-in, so state carries over between inputs as it does on a phone.
class FuzzWorld {
public:
    // Created at the first call; never destroyed before exit.
    static FuzzWorld& Get();

    // Hands a message to the plug-in as the host does, then runs every task that became due and
    // waits for a training run it may have started.
    void Deliver(int32_t eventId, const AAFwk::Want& want);
    // Runs the dump words through the host, then settles like Deliver.
    std::string Dump(const std::vector<std::string>& words);

private:
    FuzzWorld();
    void Settle();

    std::shared_ptr<Emulator::VirtualClock> clock_;
    std::shared_ptr<AppExecFwk::EventHandler> handler_;
    std::shared_ptr<DevStandbyMgr::UserSleepStrategy> strategy_;
};

} // namespace OHOS::Fuzz

#endif // FUZZ_SUPPORT_FUZZ_WORLD_H
