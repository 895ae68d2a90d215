#include "json_text.h"

namespace OHOS::Emulator {

void AppendJsonText(const nlohmann::ordered_json& value, std::string& out)
{
    out += value.dump();
}

void AppendJsonString(const std::string& text, std::string& out)
{
    out += nlohmann::ordered_json(text).dump();
}

void AppendJsonNumber(double value, std::string& out)
{
    out += nlohmann::ordered_json(value).dump();
}

} // namespace OHOS::Emulator
