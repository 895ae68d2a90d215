#ifndef PLATFORM_INCLUDE_HILOG_H
#define PLATFORM_INCLUDE_HILOG_H

#include <cstdint>
#include <string>
#include <vector>

// The platform log. Formats are printf formats in which a conversion may carry a visibility
// marker: "%{public}d" prints the value, "%{private}s" prints "<private>" instead (the argument
// is still consumed); an unmarked conversion counts as private. Each line carries the time
// (from the process clock), level, domain and tag.

enum LogType { LOG_CORE = 3 };
enum LogLevel { LOG_DEBUG = 3, LOG_INFO = 4, LOG_WARN = 5, LOG_ERROR = 6, LOG_FATAL = 7 };

// Formats and writes one line to the sink and to any active capture. Thread-safe.
// Returns the number of characters written to the message, or -1 on a bad format.
int HiLogPrint(LogType type, LogLevel level, unsigned int domain, const char* tag, const char* fmt, ...);

namespace OHOS::Emulator {

struct LogRecord {
    int64_t wallTimeMs = 0;
    LogLevel level = LOG_INFO;
    unsigned int domain = 0;
    std::string tag;
    std::string message; // formatted, private values masked
};

// One rendered line as the sinks write it, e.g.
// "2026-11-22 23:00:00.000 I D001718/StandbyService: [Func:12] text".
std::string FormatLogLine(const LogRecord& record);

// Where lines go: stderr (the default, from LOG_INFO up), a file, or nowhere. Thread-safe.
void SetLogSinkStderr(LogLevel minLevel);
// Appends to `path`; returns false when it cannot be opened (the sink is then unchanged). The file
// is written through a buffer: lines reach it when the buffer fills, at once from LOG_ERROR up, and
// all of them when the sink is changed or disabled or the process exits normally.
bool SetLogSinkFile(const std::string& path, LogLevel minLevel);
void DisableLogSink();

// Collects every line logged (at any level) while it lives, for tests that assert exact texts.
// Captures nest; each sees all lines. Thread-safe.
class LogCapture {
public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<LogRecord> Records() const;
    // The messages with a leading "[function:line] " prefix removed, in order.
    std::vector<std::string> Texts() const;
    // Whether some message, prefix removed, equals `text` exactly.
    bool HasText(const std::string& text) const;
    // Whether some message contains `fragment`.
    bool Contains(const std::string& fragment) const;
    void Clear();

private:
    struct State;
    State* state_;
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_HILOG_H
