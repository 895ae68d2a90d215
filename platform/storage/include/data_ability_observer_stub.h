#ifndef PLATFORM_INCLUDE_DATA_ABILITY_OBSERVER_STUB_H
#define PLATFORM_INCLUDE_DATA_ABILITY_OBSERVER_STUB_H

namespace OHOS::AAFwk {

// Receives change notifications of a data URI it was registered on.
class IDataAbilityObserver {
public:
    virtual ~IDataAbilityObserver() = default;
    // Called on the notifying thread (in the emulator: the thread that changed the data), without
    // any platform lock held, so it may register or unregister observers.
    virtual void OnChange() = 0;
};

// Base of application observers.
class DataAbilityObserverStub : public IDataAbilityObserver {
public:
    ~DataAbilityObserverStub() override = default;
};

} // namespace OHOS::AAFwk

#endif // PLATFORM_INCLUDE_DATA_ABILITY_OBSERVER_STUB_H
