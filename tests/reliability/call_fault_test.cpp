// The nth-call fault switch behind every counted platform fault class.
#include "call_fault.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace OHOS::Emulator {
namespace {

struct SwitchCase {
    std::string name;
    int nth;
    bool persistent, always;
    std::string failures; // one letter per call: 'x' fails, '.' works
};

class CallFaultTest : public testing::TestWithParam<SwitchCase> {};

TEST_P(CallFaultTest, FailsExactlyTheArmedCalls)
{
    const SwitchCase& c = GetParam();
    CallFault fault;
    fault.OnCall(); // calls before arming do not count towards nth
    fault.SetAlways(c.always);
    fault.FailNth(c.nth, c.persistent);
    std::string seen;
    for (size_t i = 0; i < c.failures.size(); ++i) {
        seen += fault.OnCall() ? 'x' : '.';
    }
    EXPECT_EQ(seen, c.failures);
    EXPECT_EQ(fault.Calls(), static_cast<int>(c.failures.size()));
    EXPECT_EQ(fault.Injected(), static_cast<int>(std::count(seen.begin(), seen.end(), 'x')));
    fault.Reset();
    EXPECT_FALSE(fault.OnCall());
    EXPECT_EQ(fault.Calls(), 1);
}

INSTANTIATE_TEST_SUITE_P(Modes, CallFaultTest,
    testing::Values(SwitchCase{"disarmed", 0, false, false, "....."},
        SwitchCase{"first_once", 1, false, false, "x...."}, SwitchCase{"third_once", 3, false, false, "..x.."},
        SwitchCase{"third_and_later", 3, true, false, "..xxx"}, SwitchCase{"beyond_the_calls", 9, true, false, "....."},
        SwitchCase{"always", 0, false, true, "xxxxx"}, SwitchCase{"negative_disarms", -2, true, false, "....."}),
    [](const testing::TestParamInfo<SwitchCase>& info) { return info.param.name; });

} // namespace
} // namespace OHOS::Emulator
