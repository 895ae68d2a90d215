#include "want.h"

#include <nlohmann/json.hpp>

namespace OHOS::AAFwk {
namespace {

// The value stored under `key` if it has type T, else `defaultValue`.
template <typename T>
T GetTyped(const std::map<std::string, Want::Value>& params, const std::string& key, T defaultValue)
{
    auto it = params.find(key);
    if (it == params.end()) {
        return defaultValue;
    }
    const T* value = std::get_if<T>(&it->second);
    return value != nullptr ? *value : defaultValue;
}

} // namespace

Want& Want::SetAction(const std::string& action)
{
    action_ = action;
    return *this;
}

const std::string& Want::GetAction() const
{
    return action_;
}

Want& Want::SetParam(const std::string& key, bool value)
{
    params_[key] = value;
    return *this;
}

Want& Want::SetParam(const std::string& key, int32_t value)
{
    params_[key] = value;
    return *this;
}

Want& Want::SetParam(const std::string& key, int64_t value)
{
    params_[key] = value;
    return *this;
}

Want& Want::SetParam(const std::string& key, float value)
{
    params_[key] = value;
    return *this;
}

Want& Want::SetParam(const std::string& key, double value)
{
    params_[key] = value;
    return *this;
}

Want& Want::SetParam(const std::string& key, const std::string& value)
{
    params_[key] = value;
    return *this;
}

Want& Want::SetParam(const std::string& key, const char* value)
{
    return SetParam(key, std::string(value != nullptr ? value : ""));
}

bool Want::GetBoolParam(const std::string& key, bool defaultValue) const
{
    return GetTyped(params_, key, defaultValue);
}

int32_t Want::GetIntParam(const std::string& key, int32_t defaultValue) const
{
    return GetTyped(params_, key, defaultValue);
}

int64_t Want::GetLongParam(const std::string& key, int64_t defaultValue) const
{
    return GetTyped(params_, key, defaultValue);
}

float Want::GetFloatParam(const std::string& key, float defaultValue) const
{
    return GetTyped(params_, key, defaultValue);
}

double Want::GetDoubleParam(const std::string& key, double defaultValue) const
{
    return GetTyped(params_, key, defaultValue);
}

std::string Want::GetStringParam(const std::string& key) const
{
    return GetTyped(params_, key, std::string());
}

bool Want::HasParameter(const std::string& key) const
{
    return params_.count(key) != 0;
}

const std::map<std::string, Want::Value>& Want::GetParams() const
{
    return params_;
}

std::string Want::ToJson() const
{
    nlohmann::json params = nlohmann::json::object();
    for (const auto& [key, value] : params_) {
        std::visit([&params, &key = key](const auto& typed) { params[key] = typed; }, value);
    }
    nlohmann::json object = nlohmann::json::object();
    object["action"] = action_;
    object["params"] = std::move(params);
    return object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace OHOS::AAFwk
