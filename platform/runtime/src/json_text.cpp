#include "json_text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace OHOS::Emulator {

namespace {

using Json = nlohmann::ordered_json;

// Whether the text is written as it stands between its quotes: printable ASCII without a quote or
// a backslash (the library writes 0x7F as it is too).
bool NeedsNoEscape(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte >= 0x20 && byte < 0x80 && c != '"' && c != '\\';
    });
}

template <typename Integer> void AppendInteger(Integer value, std::string& out)
{
    std::array<char, 24> digits{};
    const char* end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
    out.append(digits.data(), static_cast<size_t>(end - digits.data()));
}

void AppendObject(const Json& object, std::string& out)
{
    out += '{';
    bool first = true;
    for (auto it = object.begin(); it != object.end(); ++it) {
        if (!first) {
            out += ',';
        }
        first = false;
        AppendJsonString(it.key(), out);
        out += ':';
        AppendJsonText(it.value(), out);
    }
    out += '}';
}

void AppendArray(const Json& array, std::string& out)
{
    out += '[';
    bool first = true;
    for (const Json& element : array) {
        if (!first) {
            out += ',';
        }
        first = false;
        AppendJsonText(element, out);
    }
    out += ']';
}

} // namespace

void AppendJsonString(const std::string& text, std::string& out)
{
    if (!NeedsNoEscape(text)) {
        out += Json(text).dump();
        return;
    }
    out += '"';
    out += text;
    out += '"';
}

void AppendJsonNumber(double value, std::string& out)
{
    if (!std::isfinite(value)) {
        out += "null";
        return;
    }
    std::array<char, 64> text{}; // the size the library's own serializer gives this conversion
    char* end = nlohmann::detail::to_chars(text.data(), text.data() + text.size(), value);
    out.append(text.data(), static_cast<size_t>(end - text.data()));
}

void AppendJsonText(const Json& value, std::string& out)
{
    switch (value.type()) {
    case Json::value_t::object:
        AppendObject(value, out);
        break;
    case Json::value_t::array:
        AppendArray(value, out);
        break;
    case Json::value_t::string:
        AppendJsonString(value.get_ref<const std::string&>(), out);
        break;
    case Json::value_t::number_integer:
        AppendInteger(value.get<int64_t>(), out);
        break;
    case Json::value_t::number_unsigned:
        AppendInteger(value.get<uint64_t>(), out);
        break;
    case Json::value_t::number_float:
        AppendJsonNumber(value.get<double>(), out);
        break;
    case Json::value_t::boolean:
        out += value.get<bool>() ? "true" : "false";
        break;
    case Json::value_t::null:
        out += "null";
        break;
    default: // binary and discarded values
        out += value.dump();
        break;
    }
}

} // namespace OHOS::Emulator
