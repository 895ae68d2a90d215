#include "hilog.h"

#include <algorithm>
#include <charconv>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <cwchar>
#include <mutex>
#include <optional>
#include <sys/types.h>
#include <string_view>
#include <utility>

#include "decimal_text.h"
#include "virtual_clock.h"

namespace OHOS::Emulator {

struct LogCapture::State {
    std::vector<LogRecord> records;
};

namespace {

constexpr const char* kPrivateMask = "<private>";
constexpr const char* kPublicMarker = "{public}";
constexpr const char* kPrivateMarker = "{private}";
constexpr int kMsPerSec = 1000;
constexpr size_t kFileBufferBytes = 64 * 1024;

enum class SinkKind { STDERR, FILE, NONE };

// Where lines go and who captures them; one lock for all of it.
struct LogState {
    std::mutex mutex;
    SinkKind sink = SinkKind::STDERR;
    LogLevel minLevel = LOG_INFO;
    FILE* file = nullptr;
    std::vector<std::vector<LogRecord>*> captures; // the record lists of the live captures
};

LogState& Log()
{
    static LogState state;
    return state;
}

void CloseFileLocked(LogState& state)
{
    if (state.file != nullptr) {
        fclose(state.file);
        state.file = nullptr;
    }
}

// The length modifiers printf knows.
enum class LengthModifier { NONE, HH, H, L, LL, CAPITAL_L, Q, J, Z, T };

// One conversion of a format: flags, width, precision, length and conversion letter as they stand
// in the format after "%" and any marker, read in place.
struct Conversion {
    std::string_view text;  // the conversion's letters after "%" and any marker
    size_t optionsSize = 0; // flags, width and precision
    LengthModifier length = LengthModifier::NONE;
    char conversion = 0;
    bool isPublic = false;
    int starCount = 0;
    // The conversion as printf reads it.
    std::string Directive() const { return "%" + std::string(text); }
};

// Reads the length modifier at `pos`; false when its letters make none that printf knows.
bool ParseLength(const char* fmt, size_t& pos, LengthModifier& length)
{
    static const std::pair<std::string_view, LengthModifier> known[] = {{"", LengthModifier::NONE},
        {"hh", LengthModifier::HH}, {"h", LengthModifier::H}, {"l", LengthModifier::L}, {"ll", LengthModifier::LL},
        {"L", LengthModifier::CAPITAL_L}, {"q", LengthModifier::Q}, {"j", LengthModifier::J},
        {"z", LengthModifier::Z}, {"t", LengthModifier::T}};
    const std::string_view letters(fmt + pos, strspn(fmt + pos, "hlLqjzt"));
    for (const auto& [knownLetters, modifier] : known) {
        if (letters == knownLetters) {
            length = modifier;
            pos += letters.size();
            return true;
        }
    }
    return false;
}

// Parses the conversion starting after '%' at `pos`; advances `pos` past it. Empty on a bad format.
std::optional<Conversion> ParseConversion(const char* fmt, size_t& pos)
{
    Conversion conv;
    if (strncmp(fmt + pos, kPublicMarker, strlen(kPublicMarker)) == 0) {
        conv.isPublic = true;
        pos += strlen(kPublicMarker);
    } else if (strncmp(fmt + pos, kPrivateMarker, strlen(kPrivateMarker)) == 0) {
        pos += strlen(kPrivateMarker);
    }
    const size_t textStart = pos;
    while (fmt[pos] != '\0' && strchr("-+ #0'", fmt[pos]) != nullptr) {
        ++pos;
    }
    auto takeNumberOrStar = [&]() {
        if (fmt[pos] == '*') {
            ++pos;
            conv.starCount++;
            return;
        }
        while (fmt[pos] >= '0' && fmt[pos] <= '9') {
            ++pos;
        }
    };
    takeNumberOrStar();
    if (fmt[pos] == '.') {
        ++pos;
        takeNumberOrStar();
    }
    conv.optionsSize = pos - textStart;
    if (!ParseLength(fmt, pos, conv.length)) {
        return std::nullopt;
    }
    if (fmt[pos] == '\0' || strchr("diouxXeEfFgGaAcsp", fmt[pos]) == nullptr) {
        return std::nullopt;
    }
    conv.conversion = fmt[pos++];
    conv.text = std::string_view(fmt + textStart, pos - textStart);
    return conv;
}

template <typename T> std::string FormatValue(const Conversion& conv, const int* stars, T value)
{
    const std::string directive = conv.Directive();
    auto render = [&](char* out, size_t size) {
        if (conv.starCount == 0) {
            return snprintf(out, size, directive.c_str(), value);
        }
        if (conv.starCount == 1) {
            return snprintf(out, size, directive.c_str(), stars[0], value);
        }
        return snprintf(out, size, directive.c_str(), stars[0], stars[1], value);
    };
    char buffer[512];
    int written = render(buffer, sizeof(buffer));
    if (written < 0) {
        return std::string();
    }
    if (static_cast<size_t>(written) < sizeof(buffer)) {
        return std::string(buffer, written);
    }
    std::string large(static_cast<size_t>(written) + 1, '\0');
    render(large.data(), large.size());
    large.resize(written);
    return large;
}

// Plain conversions of a whole argument ("%d", "%lld", "%zu", "%s": no flags, width nor precision,
// not narrowed by "h" or "hh") are rendered without printf, which costs more than the rest of a
// log line.
bool IsPlain(const Conversion& conv)
{
    const bool narrowed = conv.length == LengthModifier::H || conv.length == LengthModifier::HH;
    return !narrowed && conv.optionsSize == 0;
}

bool IsPlainDecimal(const Conversion& conv)
{
    const bool decimal = conv.conversion == 'd' || conv.conversion == 'i' || conv.conversion == 'u';
    return decimal && IsPlain(conv);
}

template <typename Integer> std::string FormatInteger(const Conversion& conv, const int* stars, Integer value)
{
    if (!IsPlainDecimal(conv)) {
        return FormatValue(conv, stars, value);
    }
    char text[24];
    return std::string(text, std::to_chars(text, text + sizeof(text), value).ptr);
}

std::string FormatSigned(const Conversion& conv, const int* stars, va_list* args)
{
    switch (conv.length) {
    case LengthModifier::L:
        return FormatInteger(conv, stars, va_arg(*args, long));
    case LengthModifier::LL:
    case LengthModifier::Q:
        return FormatInteger(conv, stars, va_arg(*args, long long));
    case LengthModifier::J:
        return FormatInteger(conv, stars, va_arg(*args, intmax_t));
    case LengthModifier::Z:
        return FormatInteger(conv, stars, va_arg(*args, ssize_t));
    case LengthModifier::T:
        return FormatInteger(conv, stars, va_arg(*args, ptrdiff_t));
    default:
        return FormatInteger(conv, stars, va_arg(*args, int));
    }
}

std::string FormatUnsigned(const Conversion& conv, const int* stars, va_list* args)
{
    switch (conv.length) {
    case LengthModifier::L:
        return FormatInteger(conv, stars, va_arg(*args, unsigned long));
    case LengthModifier::LL:
    case LengthModifier::Q:
        return FormatInteger(conv, stars, va_arg(*args, unsigned long long));
    case LengthModifier::J:
        return FormatInteger(conv, stars, va_arg(*args, uintmax_t));
    case LengthModifier::Z:
        return FormatInteger(conv, stars, va_arg(*args, size_t));
    case LengthModifier::T:
        return FormatInteger(conv, stars, va_arg(*args, ptrdiff_t));
    default:
        return FormatInteger(conv, stars, va_arg(*args, unsigned int));
    }
}

std::string FormatString(const Conversion& conv, const int* stars, va_list* args)
{
    if (conv.length == LengthModifier::L) {
        const wchar_t* text = va_arg(*args, const wchar_t*);
        return FormatValue(conv, stars, text != nullptr ? text : L"(null)");
    }
    const char* text = va_arg(*args, const char*);
    text = text != nullptr ? text : "(null)";
    return IsPlain(conv) ? std::string(text) : FormatValue(conv, stars, text);
}

// Consumes the conversion's arguments (star widths first) and renders the value.
std::string FormatConversion(const Conversion& conv, va_list* args)
{
    int stars[2] = {0, 0};
    for (int i = 0; i < conv.starCount; ++i) {
        stars[i] = va_arg(*args, int);
    }
    switch (conv.conversion) {
    case 'd':
    case 'i':
        return FormatSigned(conv, stars, args);
    case 'o':
    case 'u':
    case 'x':
    case 'X':
        return FormatUnsigned(conv, stars, args);
    case 'c':
        return FormatValue(conv, stars, va_arg(*args, int));
    case 's':
        return FormatString(conv, stars, args);
    case 'p':
        return FormatValue(conv, stars, va_arg(*args, void*));
    default:
        if (conv.length == LengthModifier::CAPITAL_L) {
            return FormatValue(conv, stars, va_arg(*args, long double));
        }
        return FormatValue(conv, stars, va_arg(*args, double));
    }
}

// Renders `fmt` with private values masked; empty on a bad format.
std::optional<std::string> FormatMessage(const char* fmt, va_list* args)
{
    std::string out;
    size_t pos = 0;
    while (fmt[pos] != '\0') {
        if (fmt[pos] != '%') {
            const size_t literal = strcspn(fmt + pos, "%"); // the text up to the next conversion at once
            out.append(fmt + pos, literal);
            pos += literal;
            continue;
        }
        ++pos;
        if (fmt[pos] == '%') {
            out += '%';
            ++pos;
            continue;
        }
        std::optional<Conversion> conv = ParseConversion(fmt, pos);
        if (!conv) {
            return std::nullopt;
        }
        std::string value = FormatConversion(*conv, args);
        out += conv->isPublic ? value : kPrivateMask;
    }
    return out;
}

constexpr int kTmBaseYear = 1900;
constexpr int kFirstFourDigitYear = 1000;
constexpr int kLastFourDigitYear = 9999;

char LevelLetter(LogLevel level)
{
    switch (level) {
    case LOG_DEBUG:
        return 'D';
    case LOG_INFO:
        return 'I';
    case LOG_WARN:
        return 'W';
    case LOG_ERROR:
        return 'E';
    case LOG_FATAL:
        return 'F';
    }
    return '?';
}

// `value` in upper-case hexadecimal without leading zeros, as "%X" writes it.
void AppendUpperHex(std::string& out, unsigned int value)
{
    constexpr unsigned int kBitsPerDigit = 4;
    char text[2 * sizeof(value)];
    char* begin = text + sizeof(text);
    do {
        *--begin = "0123456789ABCDEF"[value & 0xFU];
        value >>= kBitsPerDigit;
    } while (value != 0);
    out.append(begin, text + sizeof(text));
}

// Length of a leading "[function:line] " prefix of `message`, or 0 when there is none.
size_t PrefixLength(const std::string& message)
{
    if (message.empty() || message[0] != '[') {
        return 0;
    }
    size_t close = message.find("] ");
    if (close == std::string::npos) {
        return 0;
    }
    size_t colon = message.rfind(':', close);
    if (colon == std::string::npos || colon == 0 || colon + 1 == close) {
        return 0;
    }
    for (size_t i = colon + 1; i < close; ++i) {
        if (message[i] < '0' || message[i] > '9') {
            return 0;
        }
    }
    return close + 2;
}

void WriteLine(LogState& state, const LogRecord& record)
{
    if (state.sink == SinkKind::NONE || record.level < state.minLevel) {
        return;
    }
    FILE* out = state.sink == SinkKind::FILE ? state.file : stderr;
    std::string line = FormatLogLine(record);
    line += '\n';
    fwrite(line.data(), 1, line.size(), out);
    if (out == stderr || record.level >= LOG_ERROR) {
        fflush(out);
    }
}

} // namespace

std::string FormatLogLine(const LogRecord& record)
{
    time_t seconds = static_cast<time_t>(record.wallTimeMs / kMsPerSec);
    int millis = static_cast<int>(record.wallTimeMs % kMsPerSec);
    if (millis < 0) {
        millis += kMsPerSec;
        --seconds;
    }
    tm local{};
    localtime_r(&seconds, &local);
    const int year = local.tm_year + kTmBaseYear;
    char head[96];
    if (year < kFirstFourDigitYear || year > kLastFourDigitYear) {
        char date[32];
        strftime(date, sizeof(date), "%Y-%m-%d %H:%M:%S", &local);
        snprintf(head, sizeof(head), "%s.%03d %c %X/", date, millis, LevelLetter(record.level), record.domain);
        return std::string(head) + record.tag + ": " + record.message;
    }
    // The same text without strftime: one per log line.
    constexpr size_t kHeadBytes = 48; // date, time, level, domain and separators, and the caller's newline
    std::string line = DateTimeText(local, millis);
    line.reserve(kHeadBytes + record.tag.size() + record.message.size());
    line += ' ';
    line += LevelLetter(record.level);
    line += ' ';
    AppendUpperHex(line, record.domain);
    line += '/';
    line.append(record.tag).append(": ").append(record.message);
    return line;
}

void SetLogSinkStderr(LogLevel minLevel)
{
    LogState& state = Log();
    std::lock_guard<std::mutex> lock(state.mutex);
    CloseFileLocked(state);
    state.sink = SinkKind::STDERR;
    state.minLevel = minLevel;
}

bool SetLogSinkFile(const std::string& path, LogLevel minLevel)
{
    FILE* file = fopen(path.c_str(), "a");
    if (file == nullptr) {
        return false;
    }
    // Fully buffered: a long simulation writes many lines, and one write per line would cost more
    // than the rest of the logging.
    setvbuf(file, nullptr, _IOFBF, kFileBufferBytes);
    LogState& state = Log();
    std::lock_guard<std::mutex> lock(state.mutex);
    CloseFileLocked(state);
    state.file = file;
    state.sink = SinkKind::FILE;
    state.minLevel = minLevel;
    return true;
}

void DisableLogSink()
{
    LogState& state = Log();
    std::lock_guard<std::mutex> lock(state.mutex);
    CloseFileLocked(state);
    state.sink = SinkKind::NONE;
}

LogCapture::LogCapture() : state_(new State)
{
    LogState& log = Log();
    std::lock_guard<std::mutex> lock(log.mutex);
    log.captures.push_back(&state_->records);
}

LogCapture::~LogCapture()
{
    {
        LogState& log = Log();
        std::lock_guard<std::mutex> lock(log.mutex);
        log.captures.erase(std::remove(log.captures.begin(), log.captures.end(), &state_->records), log.captures.end());
    }
    delete state_;
}

std::vector<LogRecord> LogCapture::Records() const
{
    LogState& log = Log();
    std::lock_guard<std::mutex> lock(log.mutex);
    return state_->records;
}

std::vector<std::string> LogCapture::Texts() const
{
    std::vector<std::string> texts;
    for (const LogRecord& record : Records()) {
        texts.push_back(record.message.substr(PrefixLength(record.message)));
    }
    return texts;
}

bool LogCapture::HasText(const std::string& text) const
{
    std::vector<std::string> texts = Texts();
    return std::find(texts.begin(), texts.end(), text) != texts.end();
}

bool LogCapture::Contains(const std::string& fragment) const
{
    std::vector<LogRecord> records = Records();
    return std::any_of(records.begin(), records.end(),
        [&fragment](const LogRecord& record) { return record.message.find(fragment) != std::string::npos; });
}

void LogCapture::Clear()
{
    LogState& log = Log();
    std::lock_guard<std::mutex> lock(log.mutex);
    state_->records.clear();
}

} // namespace OHOS::Emulator

int HiLogPrint(LogType /* type */, LogLevel level, unsigned int domain, const char* tag, const char* fmt, ...)
{
    using namespace OHOS::Emulator;
    if (fmt == nullptr) {
        return -1;
    }
    va_list args;
    va_start(args, fmt);
    std::optional<std::string> message = FormatMessage(fmt, &args);
    va_end(args);
    if (!message) {
        return -1;
    }
    LogRecord record;
    record.wallTimeMs = CurrentWallTimeMs();
    record.level = level;
    record.domain = domain;
    record.tag = tag != nullptr ? tag : "";
    record.message = std::move(*message);

    LogState& state = Log();
    std::lock_guard<std::mutex> lock(state.mutex);
    for (std::vector<LogRecord>* capture : state.captures) {
        capture->push_back(record);
    }
    WriteLine(state, record);
    return static_cast<int>(record.message.size());
}
