#ifndef HOST_INCLUDE_STANDBY_MESSAGE_H
#define HOST_INCLUDE_STANDBY_MESSAGE_H

#include <cstdint>
#include <optional>
#include <string>

#include "want.h"

namespace OHOS::DevStandbyMgr {

using ErrCode = int32_t;
constexpr ErrCode ERR_OK = 0;

// A message between the host and a strategy: an id, an action (the common-event name for id 1)
// and optional named parameters.
struct StandbyMessage {
    int32_t eventId = 0;
    std::string action;
    std::optional<AAFwk::Want> want;

    StandbyMessage() = default;
    explicit StandbyMessage(int32_t id, const std::string& act = "", std::optional<AAFwk::Want> params = std::nullopt)
        : eventId(id), action(act), want(std::move(params))
    {
    }
};

} // namespace OHOS::DevStandbyMgr

#endif // HOST_INCLUDE_STANDBY_MESSAGE_H
