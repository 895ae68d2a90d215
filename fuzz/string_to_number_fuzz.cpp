// StringToNumber against std::from_chars, which reads exactly the same grammar (an optional '-'
// and decimal digits): both must agree on the value and on how the text was classified.
#include <cctype>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "string_utils.h"

namespace {

using OHOS::DevStandbyMgr::StrCnvResult;
using OHOS::DevStandbyMgr::StringUtils;

bool IsSpace(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

std::string Trimmed(const std::string& text, bool& hadSpace)
{
    size_t begin = 0;
    while (begin < text.size() && IsSpace(text[begin])) {
        ++begin;
    }
    size_t end = text.size();
    while (end > begin && IsSpace(text[end - 1])) {
        --end;
    }
    hadSpace = begin != 0 || end != text.size();
    return text.substr(begin, end - begin);
}

StrCnvResult ExpectedResult(const std::string& text, long& expected)
{
    bool hadSpace = false;
    const std::string trimmed = Trimmed(text, hadSpace);
    const char* end = trimmed.data() + trimmed.size();
    auto [stop, error] = std::from_chars(trimmed.data(), end, expected);
    if (error == std::errc::result_out_of_range) {
        return StrCnvResult::OUT_OF_RANGE;
    }
    if (error != std::errc()) {
        return StrCnvResult::NOT_A_NUMBER;
    }
    if (stop != end) {
        return StrCnvResult::TRAILING_GARBAGE;
    }
    return hadSpace ? StrCnvResult::SUCCESS_AFTER_TRIM : StrCnvResult::SUCCESS;
}

bool StoresNumber(StrCnvResult result)
{
    return result == StrCnvResult::SUCCESS || result == StrCnvResult::SUCCESS_AFTER_TRIM ||
           result == StrCnvResult::TRAILING_GARBAGE;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(bytes), size);
    constexpr long untouched = 0x5a5a5a5a;
    long parsed = untouched;
    long expected = untouched;
    const StrCnvResult result = StringUtils::StringToNumber(text, parsed);
    const StrCnvResult expectedResult = ExpectedResult(text, expected);
    if (result != expectedResult) {
        std::abort();
    }
    if (StoresNumber(result) ? parsed != expected : parsed != untouched) {
        std::abort();
    }
    return 0;
}
