#include "want.h"

#include <gtest/gtest.h>

#include <string>

namespace OHOS::AAFwk {
namespace {

// Each key is stored with the type it names; every getter must answer its value only for that key
// and its default for every other type and for an absent key.
TEST(WantTest, RoundTripsEveryParameterTypeAndRefusesTheWrongType)
{
    Want want;
    want.SetAction("usual.event.TEST")
        .SetParam("bool", true)
        .SetParam("int", static_cast<int32_t>(-7))
        .SetParam("long", static_cast<int64_t>(1) << 40)
        .SetParam("float", 0.5f)
        .SetParam("double", 2.25)
        .SetParam("string", std::string("text"))
        .SetParam("chars", "raw");
    EXPECT_EQ(want.GetAction(), "usual.event.TEST");
    EXPECT_EQ(want.GetStringParam("chars"), "raw");
    for (const std::string key : {"bool", "int", "long", "float", "double", "string", "absent"}) {
        EXPECT_EQ(want.HasParameter(key), key != "absent") << key;
        EXPECT_EQ(want.GetBoolParam(key, false), key == "bool") << key;
        EXPECT_EQ(want.GetIntParam(key, 99), key == "int" ? -7 : 99) << key;
        EXPECT_EQ(want.GetLongParam(key, 99), key == "long" ? static_cast<int64_t>(1) << 40 : 99) << key;
        EXPECT_EQ(want.GetFloatParam(key, 9.5f), key == "float" ? 0.5f : 9.5f) << key;
        EXPECT_EQ(want.GetDoubleParam(key, 9.5), key == "double" ? 2.25 : 9.5) << key;
        EXPECT_EQ(want.GetStringParam(key), key == "string" ? "text" : "") << key;
    }
}

TEST(WantTest, JsonListsActionAndParametersInKeyOrder)
{
    Want want;
    want.SetAction("a").SetParam("z", static_cast<int64_t>(5)).SetParam("b", true).SetParam("m", "q\"uote");
    EXPECT_EQ(want.ToJson(), R"({"action":"a","params":{"b":true,"m":"q\"uote","z":5}})");
}

} // namespace
} // namespace OHOS::AAFwk
