#ifndef PLATFORM_INCLUDE_JSON_TEXT_H
#define PLATFORM_INCLUDE_JSON_TEXT_H

#include <string>

#include <nlohmann/json.hpp>

namespace OHOS::Emulator {

// JSON text appended to `out` by nlohmann's dump() (compact, UTF-8 kept): the values of the event
// file's and the timeline's lines, which write their members' punctuation themselves because they
// take fields already written as text (a statistics event's parameters) without parsing them again.
void AppendJsonText(const nlohmann::ordered_json& value, std::string& out);
void AppendJsonString(const std::string& text, std::string& out);
// The shortest text that reads back as `value` (as dump() writes it); null when it is not finite.
void AppendJsonNumber(double value, std::string& out);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_JSON_TEXT_H
