#include "hilog.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>

#include "data_root.h"
#include "scoped_time_zone.h"
#include "virtual_clock.h"

namespace OHOS::Emulator {
namespace {

constexpr unsigned int kDomain = 0xD001718;
constexpr const char* kTag = "StandbyService";

template <typename... Args> int Log(const char* format, Args... args)
{
    return HiLogPrint(LOG_CORE, LOG_INFO, kDomain, kTag, format, args...);
}

TEST(HiLogTest, RendersPublicValuesMasksPrivateOnesAndConsumesEveryArgument)
{
    struct Rendered {
        const char* expected;
        int written;
    };
    LogCapture capture;
    const Rendered cases[] = {
        {"v=42", Log("v=%{public}d", 42)},
        {"v=<private>", Log("v=%{private}d", 42)},
        {"v=<private> s=<private>", Log("v=%d s=%s", 42, "secret")},
        {"<private> 7", Log("%{private}lld %{public}d", static_cast<long long>(1) << 40, 7)},
        {"<private> x", Log("%{private}f %{public}s", 1.5, "x")},
        {"-3 4294967295 ff 18446744073709551615 9 c 2.50 1e+06",
            Log("%{public}i %{public}u %{public}x %{public}llu %{public}zu %{public}c %{public}.2f %{public}g", -3,
                4294967295u, 255u, 18446744073709551615ull, static_cast<size_t>(9), 'c', 2.5, 1e6)},
        {"[   7][7   ][ 1.5]", Log("[%{public}4d][%{public}-4d][%{public}*.1f]", 7, 7, 4, 1.5)},
        {"100% done", Log("100%% done")},
        {"(null)", Log("%{public}s", static_cast<const char*>(nullptr))},
        {"-2147483648 -9223372036854775808 18446744073709551615 -1 0",
            Log("%{public}d %{public}lld %{public}zu %{public}ld %{public}u", INT32_MIN, INT64_MIN, SIZE_MAX, -1L, 0u)},
        {"[ab][  ab][a][]", Log("[%{public}s][%{public}4s][%{public}.1s][%{public}s]", "ab", "ab", "ab", "")},
        {"-1 255 -128 65535 +5 05", Log("%{public}hhd %{public}hhu %{public}hhi %{public}hu %{public}+d %{public}02d",
                                       255, 255, 128, 65535, 5, 5)},
        {"wide 0.25 [ -7] 077 7 -2", Log("%{public}ls %{public}.2Lf [%{public}3jd] %{public}#qo %{public}td %{public}zd",
                                         L"wide", 0.25L, static_cast<intmax_t>(-7), 077ULL, static_cast<ptrdiff_t>(7),
                                         static_cast<ssize_t>(-2))},
    };
    ASSERT_EQ(capture.Records().size(), std::size(cases));
    for (size_t i = 0; i < std::size(cases); ++i) {
        EXPECT_EQ(capture.Records()[i].message, cases[i].expected);
        EXPECT_EQ(cases[i].written, static_cast<int>(std::string(cases[i].expected).size())) << cases[i].expected;
    }
}

TEST(HiLogTest, LineNamesTheDomainInUpperCaseHex)
{
    ScopedTimeZone zone("UTC0");
    for (const auto& [domain, hex] : {std::pair<unsigned int, const char*>{0, "0"}, {0xD001718, "D001718"},
             {0xabcdef, "ABCDEF"}, {0xFFFFFFFF, "FFFFFFFF"}}) {
        LogRecord record;
        record.wallTimeMs = 1795359600123;
        record.level = LOG_WARN;
        record.domain = domain;
        record.tag = "T";
        record.message = "m";
        EXPECT_EQ(FormatLogLine(record), std::string("2026-11-22 15:00:00.123 W ") + hex + "/T: m");
    }
}

TEST(HiLogTest, BadFormatsAreRefusedAndNotLogged)
{
    LogCapture capture;
    for (const char* format : {"%{public}k", "tail %", "%{public}", "%{public}llld", "%{public}hhhd", "%{public}lLd",
             static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(Log(format, 1), -1) << (format == nullptr ? "null" : format);
    }
    EXPECT_TRUE(capture.Records().empty());
}

TEST(HiLogTest, CapturesNestAndStripThePrefixForTexts)
{
    ScopedVirtualClock clock(1795359600000);
    LogCapture outer;
    HiLogPrint(LOG_CORE, LOG_DEBUG, kDomain, kTag, "before");
    {
        LogCapture inner;
        HiLogPrint(LOG_CORE, LOG_ERROR, kDomain, kTag, "[%{public}s:%{public}d] inner %{public}d", "Fn", 7, 1);
        EXPECT_EQ(inner.Texts(), std::vector<std::string>{"inner 1"});
        EXPECT_TRUE(inner.HasText("inner 1"));
        EXPECT_FALSE(inner.HasText("[Fn:7] inner 1"));
        EXPECT_TRUE(inner.Contains("Fn:7"));
    }
    HiLogPrint(LOG_CORE, LOG_INFO, kDomain, kTag, "[not a prefix] kept");
    EXPECT_EQ(outer.Texts(), (std::vector<std::string>{"before", "inner 1", "[not a prefix] kept"}));
    EXPECT_EQ(outer.Records()[1].wallTimeMs, 1795359600000);
    EXPECT_EQ(outer.Records()[1].level, LOG_ERROR);
}

TEST(HiLogTest, FileSinkAppendsLinesInLocalTimeAtOrAboveItsLevel)
{
    ScopedTimeZone zone("CST-8");
    ScopedVirtualClock clock(1795359600000);
    ScopedDataRoot root;
    const std::string path = root.Path() + "/log.txt";
    ASSERT_TRUE(SetLogSinkFile(path, LOG_WARN));
    HiLogPrint(LOG_CORE, LOG_INFO, kDomain, kTag, "filtered");
    HiLogPrint(LOG_CORE, LOG_ERROR, kDomain, kTag, "kept %{public}d", 1);
    DisableLogSink();
    HiLogPrint(LOG_CORE, LOG_ERROR, kDomain, kTag, "after disable");
    EXPECT_FALSE(SetLogSinkFile(root.Path() + "/missing/log.txt", LOG_INFO));
    SetLogSinkStderr(LOG_INFO);

    std::ifstream file(path);
    std::stringstream content;
    content << file.rdbuf();
    EXPECT_EQ(content.str(), "2026-11-22 23:00:00.000 E D001718/StandbyService: kept 1\n");
}

} // namespace
} // namespace OHOS::Emulator
