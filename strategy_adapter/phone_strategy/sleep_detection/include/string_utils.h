#ifndef SLEEP_DETECTION_INCLUDE_STRING_UTILS_H
#define SLEEP_DETECTION_INCLUDE_STRING_UTILS_H

#include <string>
#include <vector>

namespace OHOS::DevStandbyMgr {

// Result of StringToNumber. Callers treat only SUCCESS as success unless they say otherwise.
enum class StrCnvResult : int {
    SUCCESS = 0,            // the whole text is a number, no surrounding white space
    NOT_A_NUMBER = 1,       // no digits at the start of the trimmed text
    TRAILING_GARBAGE = 2,   // a number followed by other characters; the number is stored
    SUCCESS_AFTER_TRIM = 3, // the trimmed text is a number, but the text had white space around it
    OUT_OF_RANGE = 4,       // beyond a signed 64-bit integer
};

class StringUtils {
public:
    // Parses a base-10 signed integer (optional '-', digits). `out` is untouched unless a number
    // was parsed.
    template <typename T> static StrCnvResult StringToNumber(const std::string& text, T& out);
    // Splits at every `delimiter`; empty pieces are dropped.
    static std::vector<std::string> Split(const std::string& text, char delimiter);
    // printf into a 1024-byte buffer; "" when formatting fails or needs 1024 characters or more.
    static std::string StringPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
};

template <> StrCnvResult StringUtils::StringToNumber<long>(const std::string& text, long& out);

} // namespace OHOS::DevStandbyMgr

#endif // SLEEP_DETECTION_INCLUDE_STRING_UTILS_H
