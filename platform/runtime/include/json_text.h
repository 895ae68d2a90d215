#ifndef PLATFORM_INCLUDE_JSON_TEXT_H
#define PLATFORM_INCLUDE_JSON_TEXT_H

#include <string>

#include <nlohmann/json.hpp>

namespace OHOS::Emulator {

// JSON text appended to `out` as nlohmann's dump() writes it: compact, UTF-8 kept, numbers in
// their shortest form that reads back exactly, null for a number that is not finite. A text that
// is not UTF-8 is refused with the library's type_error, and `out` is then left as it was.
void AppendJsonText(const nlohmann::ordered_json& value, std::string& out);
void AppendJsonString(const std::string& text, std::string& out);
void AppendJsonNumber(double value, std::string& out);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_JSON_TEXT_H
