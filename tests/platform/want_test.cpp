#include "want.h"

#include <gtest/gtest.h>

namespace OHOS::AAFwk {
namespace {

Want EveryType()
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
    return want;
}

TEST(WantTest, RoundTripsEveryParameterType)
{
    const Want want = EveryType();
    EXPECT_EQ(want.GetAction(), "usual.event.TEST");
    EXPECT_TRUE(want.GetBoolParam("bool", false));
    EXPECT_EQ(want.GetIntParam("int", 0), -7);
    EXPECT_EQ(want.GetLongParam("long", 0), static_cast<int64_t>(1) << 40);
    EXPECT_EQ(want.GetFloatParam("float", 0.0f), 0.5f);
    EXPECT_EQ(want.GetDoubleParam("double", 0.0), 2.25);
    EXPECT_EQ(want.GetStringParam("string"), "text");
    EXPECT_EQ(want.GetStringParam("chars"), "raw");
    for (const char* key : {"bool", "int", "long", "float", "double", "string", "chars"}) {
        EXPECT_TRUE(want.HasParameter(key)) << key;
    }
    EXPECT_FALSE(want.HasParameter("absent"));
}

TEST(WantTest, GettersOfAnotherTypeOrAbsentKeysReturnTheirDefault)
{
    const Want want = EveryType();
    for (const char* key : {"int", "long", "float", "double", "string", "absent"}) {
        EXPECT_FALSE(want.GetBoolParam(key, false)) << key;
    }
    for (const char* key : {"bool", "long", "float", "double", "string", "absent"}) {
        EXPECT_EQ(want.GetIntParam(key, 99), 99) << key;
    }
    for (const char* key : {"bool", "int", "float", "double", "string", "absent"}) {
        EXPECT_EQ(want.GetLongParam(key, 99), 99) << key;
    }
    for (const char* key : {"bool", "int", "long", "double", "string", "absent"}) {
        EXPECT_EQ(want.GetFloatParam(key, 9.5f), 9.5f) << key;
    }
    for (const char* key : {"bool", "int", "long", "float", "string", "absent"}) {
        EXPECT_EQ(want.GetDoubleParam(key, 9.5), 9.5) << key;
    }
    for (const char* key : {"bool", "int", "long", "float", "double", "absent"}) {
        EXPECT_EQ(want.GetStringParam(key), "") << key;
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
