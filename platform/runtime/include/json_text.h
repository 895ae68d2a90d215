#ifndef PLATFORM_INCLUDE_JSON_TEXT_H
#define PLATFORM_INCLUDE_JSON_TEXT_H

#include <string>

#include <nlohmann/json.hpp>

namespace OHOS::Emulator {

// JSON text appended to `out` as nlohmann's dump() writes it (compact, UTF-8 kept): the one writer
// of the event file, the timeline and the trace.
void AppendJsonText(const nlohmann::ordered_json& value, std::string& out);
void AppendJsonString(const std::string& text, std::string& out);
// The shortest text that reads back as `value` (as dump() writes it); null when it is not finite.
void AppendJsonNumber(double value, std::string& out);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_JSON_TEXT_H
