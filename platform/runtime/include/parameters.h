#ifndef PLATFORM_INCLUDE_PARAMETERS_H
#define PLATFORM_INCLUDE_PARAMETERS_H

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace OHOS::system {

// Sets a system parameter. Returns false when setting was made to fail. Thread-safe.
bool SetParameter(const std::string& key, const std::string& value);
// The parameter's value, or `def` when it was never set.
std::string GetParameter(const std::string& key, const std::string& def);

} // namespace OHOS::system

namespace OHOS::Emulator {

// The in-memory parameter store behind OHOS::system, with a log of every change.
class SystemParameters {
public:
    struct Change {
        int64_t wallTimeMs;
        std::string key;
        std::string value;
    };
    static SystemParameters& GetInstance();
    std::vector<Change> Changes() const;
    // Called after each successful set, on the setting thread.
    void SetListener(std::function<void(const Change&)> listener);
    void SetFails(bool fails);
    void Reset();
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_PARAMETERS_H
