#include "string_utils.h"

#include <cctype>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <limits>

namespace OHOS::DevStandbyMgr {
namespace {

constexpr size_t kPrintfBufferSize = 1024;
constexpr int kDecimalBase = 10;

bool IsSpace(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

std::string Trim(const std::string& text)
{
    size_t begin = 0;
    while (begin < text.size() && IsSpace(text[begin])) {
        ++begin;
    }
    size_t end = text.size();
    while (end > begin && IsSpace(text[end - 1])) {
        --end;
    }
    return text.substr(begin, end - begin);
}

enum class ParseStatus { PARSED, NO_DIGITS, OVERFLOW };

// Reads an optional '-' and the digits after it from the start of `text`; `consumed` is the
// number of characters that belong to the number. Accumulates toward the sign so that the most
// negative value parses too.
ParseStatus ParseLeadingInteger(const std::string& text, int64_t& value, size_t& consumed)
{
    const bool negative = !text.empty() && text[0] == '-';
    size_t pos = negative ? 1 : 0;
    if (pos >= text.size() || !IsDigit(text[pos])) {
        return ParseStatus::NO_DIGITS;
    }
    int64_t result = 0;
    for (; pos < text.size() && IsDigit(text[pos]); ++pos) {
        const int digit = text[pos] - '0';
        if (negative) {
            if (result < (std::numeric_limits<int64_t>::min() + digit) / kDecimalBase) {
                return ParseStatus::OVERFLOW;
            }
            result = result * kDecimalBase - digit;
        } else {
            if (result > (std::numeric_limits<int64_t>::max() - digit) / kDecimalBase) {
                return ParseStatus::OVERFLOW;
            }
            result = result * kDecimalBase + digit;
        }
    }
    value = result;
    consumed = pos;
    return ParseStatus::PARSED;
}

} // namespace

template <> StrCnvResult StringUtils::StringToNumber<long>(const std::string& text, long& out)
{
    const std::string trimmed = Trim(text);
    int64_t value = 0;
    size_t consumed = 0;
    switch (ParseLeadingInteger(trimmed, value, consumed)) {
    case ParseStatus::OVERFLOW:
        return StrCnvResult::OUT_OF_RANGE;
    case ParseStatus::NO_DIGITS:
        return StrCnvResult::NOT_A_NUMBER;
    case ParseStatus::PARSED:
        break;
    }
    out = static_cast<long>(value);
    if (consumed < trimmed.size()) {
        return StrCnvResult::TRAILING_GARBAGE;
    }
    return trimmed.size() == text.size() ? StrCnvResult::SUCCESS : StrCnvResult::SUCCESS_AFTER_TRIM;
}

std::vector<std::string> StringUtils::Split(const std::string& text, char delimiter)
{
    std::vector<std::string> pieces;
    size_t pos = 0;
    while (pos < text.size()) {
        while (pos < text.size() && text[pos] == delimiter) {
            ++pos;
        }
        if (pos == text.size()) {
            break;
        }
        size_t next = text.find(delimiter, pos);
        if (next == std::string::npos) {
            pieces.push_back(text.substr(pos));
            break;
        }
        pieces.push_back(text.substr(pos, next - pos));
        pos = next;
    }
    return pieces;
}

std::string StringUtils::StringPrintf(const char* format, ...)
{
    if (format == nullptr) {
        return std::string();
    }
    char buffer[kPrintfBufferSize];
    va_list args;
    va_start(args, format);
    const int written = vsnprintf(buffer, sizeof(buffer), format, args);
    va_end(args);
    if (written < 0 || static_cast<size_t>(written) >= sizeof(buffer)) {
        return std::string();
    }
    return std::string(buffer, static_cast<size_t>(written));
}

} // namespace OHOS::DevStandbyMgr
