#include "save_ledger.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <set>

#include <nlohmann/json.hpp>

#include "local_calendar.h"

namespace OHOS::Sim {
namespace {

const std::vector<std::string> kScreenActions = {
    "usual.event.SCREEN_OFF", "usual.event.SCREEN_UNLOCKED", "usual.event.BOOT_COMPLETED"};

// "2026-01-05 20:18:10.658 ..." -> epoch ms in the process time zone; -1 when it is not a time.
int64_t LogLineTime(const std::string& line)
{
    CivilDate date;
    if (line.size() < 23 || !ParseCivilDate(line.substr(0, 10), date)) {
        return -1;
    }
    const int hour = std::atoi(line.c_str() + 11);
    const int minute = std::atoi(line.c_str() + 14);
    const int second = std::atoi(line.c_str() + 17);
    const int milli = std::atoi(line.c_str() + 20);
    return LocalTimeMs(date, hour * 60 + minute) + second * 1000 + milli;
}

bool Has(const std::string& line, const std::string& text)
{
    return line.find(text) != std::string::npos;
}

bool From(const std::string& line, const std::string& function)
{
    return Has(line, "[" + function + ":");
}

void ReadRefusal(const std::string& line, const std::string& function, LoggedBuffer& buffer)
{
    buffer.refused |= From(line, function) && Has(line, "Faired to save");
}

// The batches of one table, in the order written.
std::vector<StoredBatch> BatchesOf(const std::vector<StoredBatch>& batches, const std::string& table)
{
    std::vector<StoredBatch> of;
    std::copy_if(batches.begin(), batches.end(), std::back_inserter(of),
        [&table](const StoredBatch& batch) { return batch.table == table; });
    return of;
}

// Matches each save's step of one table, in order, with the table's batches. `expectedRows` gives
// the rows a save must write (0: none).
void MatchTable(const std::vector<LoggedSave>& saves, const std::vector<StoredBatch>& all, const std::string& table,
    const std::function<int64_t(size_t save)>& expectedRows, std::vector<std::string>& problems)
{
    const std::vector<StoredBatch> batches = BatchesOf(all, table);
    size_t next = 0;
    for (size_t i = 0; i < saves.size(); ++i) {
        const int64_t expected = expectedRows(i);
        if (expected == 0) {
            continue;
        }
        const bool written = next < batches.size() && batches[next].timeMs == saves[i].timeMs;
        const int64_t rows = written ? batches[next].rows : 0;
        if (rows != expected) {
            problems.push_back("the save at " + FormatLocalTime(saves[i].timeMs) + " wrote " + std::to_string(rows) +
                " rows of " + table + ", not " + std::to_string(expected));
        }
        next += written ? 1 : 0;
    }
    for (; next < batches.size(); ++next) {
        problems.push_back(std::to_string(batches[next].rows) + " rows of " + table + " written at " +
            FormatLocalTime(batches[next].timeMs) + " outside a logged save");
    }
}

int64_t RowsSaved(const LoggedBuffer& buffer)
{
    return buffer.refused ? 0 : static_cast<int64_t>(buffer.recordTimes.size());
}

// Adds the record time of a log line from `function` that holds "`marker`timestamp: <ms>".
void ReadRecord(const std::string& line, const std::string& function, const std::string& marker, LoggedBuffer& buffer)
{
    const std::string field = marker + "timestamp: ";
    const size_t at = line.find(field);
    if (From(line, function) && at != std::string::npos) {
        buffer.recordTimes.push_back(std::atoll(line.c_str() + at + field.size()));
    }
}

// The problems of one table: each stored row whose timestamp is that of a record of a refused save.
void FindRefusedRows(const std::vector<LoggedSave>& saves, LoggedBuffer LoggedSave::*buffer, const std::string& table,
    const std::string& databasePath, std::vector<std::string>& problems)
{
    std::set<int64_t> stored;
    for (const auto& row : QueryDatabase(databasePath, "SELECT timestamp FROM " + table)) {
        stored.insert(std::atoll(row[0].c_str()));
    }
    for (const LoggedSave& save : saves) {
        const LoggedBuffer& refused = save.*buffer;
        const auto kept = std::count_if(refused.recordTimes.begin(), refused.recordTimes.end(),
            [&stored](int64_t t) { return stored.count(t) > 0; });
        if (refused.refused && kept > 0) {
            problems.push_back("the refused save at " + FormatLocalTime(save.timeMs) + " left " +
                std::to_string(kept) + " rows of " + table);
        }
    }
}

} // namespace

std::vector<LoggedSave> ReadLoggedSaves(const std::string& logPath)
{
    std::vector<LoggedSave> saves;
    LoggedSave current;
    std::ifstream in(logPath);
    for (std::string line; std::getline(in, line);) {
        ReadRecord(line, "PrintSleepPredictResult", "predict result ", current.environments);
        ReadRecord(line, "HandleNotificationAfterStopSleep", "record{", current.notifications);
        ReadRefusal(line, "SaveScreenStates", current.screenStates);
        ReadRefusal(line, "SaveSleepEnvironments", current.environments);
        ReadRefusal(line, "SaveSleepNotificationRecords", current.notifications);
        if (Has(line, "[SaveDataToDatabase:") && Has(line, "save data to sleep.db")) {
            current.timeMs = LogLineTime(line);
            saves.push_back(current);
            current = LoggedSave{};
        }
    }
    return saves;
}

std::vector<int64_t> ScreenEventTimes(const std::string& timelinePath)
{
    std::vector<int64_t> times;
    std::ifstream in(timelinePath);
    for (std::string text; std::getline(in, text);) {
        if (!Has(text, "\"host_message\"") || !Has(text, "usual.event.")) {
            continue;
        }
        const auto line = nlohmann::json::parse(text, nullptr, false);
        const std::string action = line.is_discarded() ? "" : line.value("action", "");
        if (std::find(kScreenActions.begin(), kScreenActions.end(), action) != kScreenActions.end()) {
            times.push_back(line["t"].get<int64_t>());
        }
    }
    return times;
}

std::vector<std::string> CheckSavedBatches(const std::vector<LoggedSave>& saves,
    const std::vector<int64_t>& screenEvents, const std::vector<StoredBatch>& batches)
{
    std::vector<std::string> problems;
    auto screenRows = [&saves, &screenEvents](size_t i) -> int64_t {
        const int64_t from = i == 0 ? INT64_MIN : saves[i - 1].timeMs;
        const int64_t to = saves[i].timeMs;
        const auto events =
            std::count_if(screenEvents.begin(), screenEvents.end(), [from, to](int64_t t) { return t > from && t <= to; });
        return saves[i].screenStates.refused ? 0 : events;
    };
    MatchTable(saves, batches, "raw_screen_state", screenRows, problems);
    MatchTable(saves, batches, "sleep_environment", [&saves](size_t i) { return RowsSaved(saves[i].environments); },
        problems);
    MatchTable(saves, batches, "sleep_notification_records",
        [&saves](size_t i) { return RowsSaved(saves[i].notifications); }, problems);
    return problems;
}

std::vector<std::string> CheckRefusedRecordsAbsent(const std::vector<LoggedSave>& saves, const std::string& databasePath)
{
    std::vector<std::string> problems;
    FindRefusedRows(saves, &LoggedSave::environments, "sleep_environment", databasePath, problems);
    FindRefusedRows(saves, &LoggedSave::notifications, "sleep_notification_records", databasePath, problems);
    return problems;
}

} // namespace OHOS::Sim
