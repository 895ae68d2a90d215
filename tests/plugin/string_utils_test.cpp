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

TEST(StringToNumberTest, ReportsHowTheTextParsed)
{
    const NumberCase cases[] = {{"42", StrCnvResult::SUCCESS, 42}, {"-17", StrCnvResult::SUCCESS, -17},
        {"007", StrCnvResult::SUCCESS, 7}, {"9223372036854775807", StrCnvResult::SUCCESS, LONG_MAX},
        {"-9223372036854775808", StrCnvResult::SUCCESS, LONG_MIN}, {" 42 ", StrCnvResult::SUCCESS_AFTER_TRIM, 42},
        {"\t-17\n", StrCnvResult::SUCCESS_AFTER_TRIM, -17}, {"42x", StrCnvResult::TRAILING_GARBAGE, 42},
        {" 12 34 ", StrCnvResult::TRAILING_GARBAGE, 12}, {"0x1A", StrCnvResult::TRAILING_GARBAGE, 0},
        {"1.5", StrCnvResult::TRAILING_GARBAGE, 1}, {"x42", StrCnvResult::NOT_A_NUMBER, kUntouched},
        {"", StrCnvResult::NOT_A_NUMBER, kUntouched}, {" \t\n", StrCnvResult::NOT_A_NUMBER, kUntouched},
        {"-", StrCnvResult::NOT_A_NUMBER, kUntouched}, {"+5", StrCnvResult::NOT_A_NUMBER, kUntouched},
        {"--5", StrCnvResult::NOT_A_NUMBER, kUntouched},
        {std::string{'4', '\0', '2'}, StrCnvResult::TRAILING_GARBAGE, 4},
        {"99999999999999999999", StrCnvResult::OUT_OF_RANGE, kUntouched},
        {"9223372036854775808", StrCnvResult::OUT_OF_RANGE, kUntouched},
        {"-9223372036854775809", StrCnvResult::OUT_OF_RANGE, kUntouched},
        {" 99999999999999999999x", StrCnvResult::OUT_OF_RANGE, kUntouched}};
    for (const NumberCase& c : cases) {
        SCOPED_TRACE(c.text);
        long out = kUntouched;
        EXPECT_EQ(StringUtils::StringToNumber(c.text, out), c.result);
        EXPECT_EQ(out, c.value);
    }
}

struct SplitCase {
    std::string text;
    char delimiter;
    std::vector<std::string> pieces;
};

TEST(SplitTest, DropsEmptyPieces)
{
    const SplitCase cases[] = {{"", ',', {}}, {",,,", ',', {}}, {"a,,b,", ',', {"a", "b"}}, {",a", ',', {"a"}},
        {"abc", ',', {"abc"}}, {"a,b,c", ',', {"a", "b", "c"}}, {" a  b ", ' ', {"a", "b"}},
        {"1;2,3", ';', {"1", "2,3"}}};
    for (const SplitCase& c : cases) {
        SCOPED_TRACE(c.text);
        EXPECT_EQ(StringUtils::Split(c.text, c.delimiter), c.pieces);
    }
}

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
