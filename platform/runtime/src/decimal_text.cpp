#include "decimal_text.h"

namespace OHOS::Emulator {

void WriteDigits(std::string& text, size_t at, size_t width, int value)
{
    for (size_t i = width; i > 0; --i, value /= 10) {
        text[at + i - 1] = static_cast<char>('0' + value % 10);
    }
}

} // namespace OHOS::Emulator
