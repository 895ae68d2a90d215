#include "parameters.h"

#include <gtest/gtest.h>

#include "virtual_clock.h"

namespace OHOS::Emulator {
namespace {

constexpr const char* kKey = "resourceschedule.sleep.user_mode";

class SystemParametersTest : public testing::Test {
protected:
    void SetUp() override { SystemParameters::GetInstance().Reset(); }
    void TearDown() override { SystemParameters::GetInstance().Reset(); }
    ScopedVirtualClock clock_{1000};
};

TEST_F(SystemParametersTest, SetValuesAreReadBackAndLoggedWithTheirTimeAndAFailingSetChangesNothing)
{
    std::vector<std::string> heard;
    SystemParameters::GetInstance().SetListener(
        [&heard](const SystemParameters::Change& change) { heard.push_back(change.key + "=" + change.value); });
    EXPECT_EQ(system::GetParameter(kKey, "default"), "default");
    EXPECT_TRUE(system::SetParameter(kKey, "sleep"));
    clock_.Get().AdvanceMs(500);
    EXPECT_TRUE(system::SetParameter(kKey, "unsleep"));
    SystemParameters::GetInstance().SetFails(true);
    EXPECT_FALSE(system::SetParameter(kKey, "refused"));

    EXPECT_EQ(system::GetParameter(kKey, "default"), "unsleep");
    const auto changes = SystemParameters::GetInstance().Changes();
    ASSERT_EQ(changes.size(), 2u);
    EXPECT_EQ(changes[0].wallTimeMs, 1000);
    EXPECT_EQ(changes[0].value, "sleep");
    EXPECT_EQ(changes[1].wallTimeMs, 1500);
    EXPECT_EQ(heard, (std::vector<std::string>{std::string(kKey) + "=sleep", std::string(kKey) + "=unsleep"}));

    SystemParameters::GetInstance().Reset();
    EXPECT_EQ(system::GetParameter(kKey, "gone"), "gone");
    EXPECT_TRUE(system::SetParameter(kKey, "unsleep"));
}

} // namespace
} // namespace OHOS::Emulator
