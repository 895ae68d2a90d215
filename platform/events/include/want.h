#ifndef PLATFORM_INCLUDE_WANT_H
#define PLATFORM_INCLUDE_WANT_H

#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace OHOS::AAFwk {

// An action name plus typed, named parameters. A getter asked for a parameter stored with another
// type (or absent) returns its default. A value type; not synchronised.
class Want {
public:
    using Value = std::variant<bool, int32_t, int64_t, float, double, std::string>;

    Want& SetAction(const std::string& action);
    const std::string& GetAction() const;

    Want& SetParam(const std::string& key, bool value);
    Want& SetParam(const std::string& key, int32_t value);
    Want& SetParam(const std::string& key, int64_t value);
    Want& SetParam(const std::string& key, float value);
    Want& SetParam(const std::string& key, double value);
    Want& SetParam(const std::string& key, const std::string& value);
    Want& SetParam(const std::string& key, const char* value);

    bool GetBoolParam(const std::string& key, bool defaultValue) const;
    int32_t GetIntParam(const std::string& key, int32_t defaultValue) const;
    int64_t GetLongParam(const std::string& key, int64_t defaultValue) const;
    float GetFloatParam(const std::string& key, float defaultValue) const;
    double GetDoubleParam(const std::string& key, double defaultValue) const;
    // Empty when absent or not a string.
    std::string GetStringParam(const std::string& key) const;
    bool HasParameter(const std::string& key) const;

    // Parameters in key order, for tools that record or print a Want.
    const std::map<std::string, Value>& GetParams() const;
    // The Want as one JSON object {"action":..., "params":{key: value}}, keys in order.
    std::string ToJson() const;

private:
    std::string action_;
    std::map<std::string, Value> params_;
};

} // namespace OHOS::AAFwk

#endif // PLATFORM_INCLUDE_WANT_H
