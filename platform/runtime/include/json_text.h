#ifndef PLATFORM_INCLUDE_JSON_TEXT_H
#define PLATFORM_INCLUDE_JSON_TEXT_H

#include <string>

#include <nlohmann/json.hpp>

namespace OHOS::Emulator {

// JSON text appended to `out` exactly as nlohmann's dump() (compact, UTF-8 kept) writes it, without
// building a serializer per value: the event file, the timeline and the trace write one or more
// values for every event, and the library's serializer cost more than the rest of their lines.
// Texts that need escapes, and values of kinds the files never hold, are written by the library.
void AppendJsonText(const nlohmann::ordered_json& value, std::string& out);
void AppendJsonString(const std::string& text, std::string& out);
// The shortest text that reads back as `value`; null when it is not finite.
void AppendJsonNumber(double value, std::string& out);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_JSON_TEXT_H
