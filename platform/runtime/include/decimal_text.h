#ifndef PLATFORM_INCLUDE_DECIMAL_TEXT_H
#define PLATFORM_INCLUDE_DECIMAL_TEXT_H

#include <ctime>
#include <string>

namespace OHOS::Emulator {

// "YYYY-MM-DD HH:MM:SS.mmm" of a broken-down time and its milliseconds, written digit by digit: the
// time of every log and timeline line, cheaper than a formatting function.
// REQUIRES: a year of four digits, 0 <= millis < 1000.
std::string DateTimeText(const std::tm& local, int millis);

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_DECIMAL_TEXT_H
