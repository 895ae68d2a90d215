#ifndef HOST_INCLUDE_IBASE_STRATEGY_H
#define HOST_INCLUDE_IBASE_STRATEGY_H

#include <string>
#include <vector>

#include "standby_message.h"

namespace OHOS::DevStandbyMgr {

// What the host asks of a strategy plug-in. Every call comes on the host's handler thread.
class IBaseStrategy {
public:
    virtual void HandleEvent(const StandbyMessage& message) = 0;
    virtual ErrCode OnCreated() = 0;
    virtual ErrCode OnDestroy() = 0;
    virtual void ShellDump(const std::vector<std::string>& argsInStr, std::string& result) = 0;
    virtual ~IBaseStrategy() = default;
};

} // namespace OHOS::DevStandbyMgr

#endif // HOST_INCLUDE_IBASE_STRATEGY_H
