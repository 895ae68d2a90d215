#include "json_text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace OHOS::Emulator {
namespace {

using Json = nlohmann::ordered_json;

std::string TextOf(const Json& value)
{
    std::string text = "prefix:";
    AppendJsonText(value, text);
    return text;
}

// The files written with the fast writer must read exactly as the library's own dump: every kind
// of value, the texts that need escapes and the numbers whose shortest form is hard to get right.
TEST(JsonTextTest, WritesEveryValueExactlyAsTheLibraryDumpsIt)
{
    const std::vector<Json> values = {
        nullptr, true, false, 0, -1, std::numeric_limits<int64_t>::min(), std::numeric_limits<uint64_t>::max(),
        0.0, -0.0, 0.1, 1.0, 5.0, 1e21, 1e-7, 123456789012345680.0, 5e-324, std::numeric_limits<double>::max(),
        static_cast<double>(0.3f), std::nan(""), std::numeric_limits<double>::infinity(), "", "plain text",
        "quote \" backslash \\ slash /", "tab\tnew line\ncarriage\rbell\x07 nul", std::string("a\0b", 3),
        "delete \x7f", "UTF-8 caf\xc3\xa9 \xe2\x82\xac \xf0\x9f\x98\x80", Json::object(), Json::array(),
        Json{{"z", 1}, {"a", Json::array({1.5, "x", nullptr, Json::object()})}, {"k\"ey", {{"in", false}}}},
        Json::array({Json::array(), Json::array({Json::array({-2})})}),
    };
    for (const Json& value : values) {
        EXPECT_EQ(TextOf(value), "prefix:" + value.dump()) << value.dump();
    }
}

TEST(JsonTextTest, StringsAndNumbersAloneReadAsTheirValues)
{
    for (const std::string text : {"", "plain", "needs \"escape\"", "\x01", "caf\xc3\xa9"}) {
        std::string out;
        AppendJsonString(text, out);
        EXPECT_EQ(out, Json(text).dump());
    }
    for (double number : {0.5, -3.0, 2.2250738585072014e-308, 1.7976931348623157e308, std::nan(""), -HUGE_VAL}) {
        std::string out;
        AppendJsonNumber(number, out);
        EXPECT_EQ(out, Json(number).dump());
    }
}

// A text that is not UTF-8 is refused as the library refuses it, never written half-escaped.
TEST(JsonTextTest, RefusesTextThatIsNotUtf8AsTheLibraryDoes)
{
    const std::string broken = "bad \xff byte";
    std::string out;
    EXPECT_THROW(AppendJsonString(broken, out), Json::type_error);
    EXPECT_THROW(AppendJsonText(Json{{"key", broken}}, out), Json::type_error);
}

} // namespace
} // namespace OHOS::Emulator
