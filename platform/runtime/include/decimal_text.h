#ifndef PLATFORM_INCLUDE_DECIMAL_TEXT_H
#define PLATFORM_INCLUDE_DECIMAL_TEXT_H

#include <cstddef>
#include <string>

namespace OHOS::Emulator {

// Writes `value` (0 <= value < 10^width) as `width` decimal digits, zero-padded, over
// text[at, at + width): the fields of a date and time text without a formatting function.
void WriteDigits(std::string& text, size_t at, size_t width, int value);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_DECIMAL_TEXT_H
