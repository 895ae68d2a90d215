#ifndef PLATFORM_INCLUDE_IREMOTE_OBJECT_H
#define PLATFORM_INCLUDE_IREMOTE_OBJECT_H

#include <cstdint>

namespace OHOS {

// A handle on a system service, as returned by the system-ability manager.
class IRemoteObject {
public:
    explicit IRemoteObject(int32_t systemAbilityId) : systemAbilityId_(systemAbilityId) {}
    virtual ~IRemoteObject() = default;
    int32_t GetSystemAbilityId() const { return systemAbilityId_; }

private:
    int32_t systemAbilityId_;
};

} // namespace OHOS

#endif // PLATFORM_INCLUDE_IREMOTE_OBJECT_H
