#include "decimal_text.h"

#include <cstddef>

namespace OHOS::Emulator {
namespace {

constexpr int kTmBaseYear = 1900;

// Writes `value` (0 <= value < 10^width) as `width` zero-padded digits over text[at, at + width).
void WriteDigits(std::string& text, size_t at, size_t width, int value)
{
    for (size_t i = width; i > 0; --i, value /= 10) {
        text[at + i - 1] = static_cast<char>('0' + value % 10);
    }
}

} // namespace

std::string DateTimeText(const std::tm& local, int millis)
{
    std::string text = "0000-00-00 00:00:00.000";
    WriteDigits(text, 0, 4, local.tm_year + kTmBaseYear);
    WriteDigits(text, 5, 2, local.tm_mon + 1);
    WriteDigits(text, 8, 2, local.tm_mday);
    WriteDigits(text, 11, 2, local.tm_hour);
    WriteDigits(text, 14, 2, local.tm_min);
    WriteDigits(text, 17, 2, local.tm_sec);
    WriteDigits(text, 20, 3, millis);
    return text;
}

} // namespace OHOS::Emulator
