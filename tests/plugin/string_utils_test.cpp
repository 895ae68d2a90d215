#include "string_utils.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

namespace OHOS::DevStandbyMgr {
namespace {

constexpr long kUntouched = 777;

struct NumberCase {
    std::string text;
    StrCnvResult result;
    long value;
};

class StringToNumberTest : public testing::TestWithParam<NumberCase> {};

TEST_P(StringToNumberTest, ReportsHowTheTextParsed)
{
    long out = kUntouched;
    EXPECT_EQ(StringUtils::StringToNumber(GetParam().text, out), GetParam().result);
    EXPECT_EQ(out, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(Texts, StringToNumberTest,
    testing::Values(NumberCase{"42", StrCnvResult::SUCCESS, 42}, NumberCase{"-17", StrCnvResult::SUCCESS, -17},
        NumberCase{"007", StrCnvResult::SUCCESS, 7}, NumberCase{"9223372036854775807", StrCnvResult::SUCCESS, LONG_MAX},
        NumberCase{"-9223372036854775808", StrCnvResult::SUCCESS, LONG_MIN},
        NumberCase{" 42 ", StrCnvResult::SUCCESS_AFTER_TRIM, 42},
        NumberCase{"\t-17\n", StrCnvResult::SUCCESS_AFTER_TRIM, -17},
        NumberCase{"42x", StrCnvResult::TRAILING_GARBAGE, 42},
        NumberCase{" 12 34 ", StrCnvResult::TRAILING_GARBAGE, 12},
        NumberCase{"0x1A", StrCnvResult::TRAILING_GARBAGE, 0}, NumberCase{"1.5", StrCnvResult::TRAILING_GARBAGE, 1},
        NumberCase{"x42", StrCnvResult::NOT_A_NUMBER, kUntouched},
        NumberCase{"", StrCnvResult::NOT_A_NUMBER, kUntouched},
        NumberCase{" \t\n", StrCnvResult::NOT_A_NUMBER, kUntouched},
        NumberCase{"-", StrCnvResult::NOT_A_NUMBER, kUntouched},
        NumberCase{"+5", StrCnvResult::NOT_A_NUMBER, kUntouched},
        NumberCase{"--5", StrCnvResult::NOT_A_NUMBER, kUntouched},
        NumberCase{std::string("4\0"
                               "2",
                       3),
            StrCnvResult::TRAILING_GARBAGE, 4},
        NumberCase{"99999999999999999999", StrCnvResult::OUT_OF_RANGE, kUntouched},
        NumberCase{"9223372036854775808", StrCnvResult::OUT_OF_RANGE, kUntouched},
        NumberCase{"-9223372036854775809", StrCnvResult::OUT_OF_RANGE, kUntouched},
        NumberCase{" 99999999999999999999x", StrCnvResult::OUT_OF_RANGE, kUntouched}));

struct SplitCase {
    std::string text;
    char delimiter;
    std::vector<std::string> pieces;
};

class SplitTest : public testing::TestWithParam<SplitCase> {};

TEST_P(SplitTest, DropsEmptyPieces)
{
    EXPECT_EQ(StringUtils::Split(GetParam().text, GetParam().delimiter), GetParam().pieces);
}

INSTANTIATE_TEST_SUITE_P(Texts, SplitTest,
    testing::Values(SplitCase{"", ',', {}}, SplitCase{",,,", ',', {}}, SplitCase{"a,,b,", ',', {"a", "b"}},
        SplitCase{",a", ',', {"a"}}, SplitCase{"abc", ',', {"abc"}}, SplitCase{"a,b,c", ',', {"a", "b", "c"}},
        SplitCase{" a  b ", ' ', {"a", "b"}}, SplitCase{"1;2,3", ';', {"1", "2,3"}}));

TEST(StringPrintfTest, FormatsUpTo1023CharactersAndRefusesLonger)
{
    EXPECT_EQ(StringUtils::StringPrintf("%d-%s-%.1f", 7, "x", 2.25), "7-x-2.2");
    EXPECT_EQ(StringUtils::StringPrintf("%s", ""), "");
    const std::string longest(1023, 'a');
    EXPECT_EQ(StringUtils::StringPrintf("%s", longest.c_str()), longest);
    EXPECT_EQ(StringUtils::StringPrintf("%1023d", 1).size(), 1023u);
    EXPECT_EQ(StringUtils::StringPrintf("%s", std::string(1024, 'a').c_str()), "");
    EXPECT_EQ(StringUtils::StringPrintf("%s%s", longest.c_str(), "b"), "");
    EXPECT_EQ(StringUtils::StringPrintf("%s", std::string(5000, 'a').c_str()), "");
}

} // namespace
} // namespace OHOS::DevStandbyMgr
