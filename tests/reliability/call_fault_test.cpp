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

TEST(CallFaultTest, FailsExactlyTheArmedCalls)
{
    const SwitchCase cases[] = {{"disarmed", 0, false, false, "....."}, {"first_once", 1, false, false, "x...."},
        {"third_once", 3, false, false, "..x.."}, {"third_and_later", 3, true, false, "..xxx"},
        {"beyond_the_calls", 9, true, false, "....."}, {"always", 0, false, true, "xxxxx"},
        {"negative_disarms", -2, true, false, "....."}};
    for (const SwitchCase& c : cases) {
        SCOPED_TRACE(c.name);
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
}

} // namespace
} // namespace OHOS::Emulator
