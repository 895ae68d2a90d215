#include "recorded_schedules.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>
#include <sstream>

namespace OHOS::Sim {

namespace {

constexpr double kMissing = std::numeric_limits<double>::quiet_NaN();
constexpr double kShortestNightMin = 2 * 60;
constexpr double kLongestNightMin = 16 * 60;
constexpr double kShortestHabitMin = 3 * 60;
constexpr int32_t kMaxDays = 366;
constexpr double kAwakeNotRecorded = -1;

// The numeric columns used, with the values they accept.
struct NumberColumn {
    const char* name;
    double low;
    double high;
};

enum Column { BEDTIME, WAKE, UNLOCKS, UNLOCK_MIN, FIRST_UNLOCK, AWAKE_MIN, NUMBER_COLUMNS };

const std::array<NumberColumn, NUMBER_COLUMNS> kNumberColumns = {{
    {"bedtime_min", 0, 2 * kMinutesPerDay},
    {"waketime_min", -kMinutesPerDay, kMinutesPerDay},
    {"night_unlocks", 0, 500},
    {"night_unlock_min", 0, 360},
    {"first_unlock_after_midnight_min", 0, 360},
    {"awake_min", 0, kMinutesPerDay},
}};

struct Row {
    CivilDate date;
    std::array<double, NUMBER_COLUMNS> values{};
};

struct Participant {
    std::string pid;
    std::map<std::string, Row> rows; // by ISO date, so in date order
};

std::vector<std::string> SplitCells(const std::string& line)
{
    std::vector<std::string> cells;
    std::stringstream in(line);
    for (std::string cell; std::getline(in, cell, ',');) {
        cells.push_back(cell);
    }
    if (!line.empty() && line.back() == ',') {
        cells.emplace_back();
    }
    return cells;
}

class CsvReader {
public:
    explicit CsvReader(const std::string& path) : path_(path) {}

    bool Read(std::vector<Participant>& participants, std::string& error)
    {
        std::ifstream in(path_, std::ios::binary);
        if (!in) {
            error = "cannot read the schedule file '" + path_ + "'";
            return false;
        }
        std::string line;
        if (!std::getline(in, line) || !ReadHeader(Trimmed(line), error)) {
            error = error.empty() ? At(1) + "expected a header line naming the columns" : error;
            return false;
        }
        for (int32_t number = 2; std::getline(in, line); ++number) {
            line = Trimmed(line);
            if (!line.empty() && !ReadRow(number, line, participants, error)) {
                return false;
            }
        }
        if (participants.empty()) {
            error = path_ + ": no rows";
            return false;
        }
        return true;
    }

private:
    static std::string Trimmed(std::string line)
    {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        return line;
    }

    std::string At(int32_t line) const { return path_ + ":" + std::to_string(line) + ": "; }

    bool ReadHeader(const std::string& line, std::string& error)
    {
        header_ = SplitCells(line);
        auto find = [this](const std::string& name) {
            return static_cast<int32_t>(std::find(header_.begin(), header_.end(), name) - header_.begin());
        };
        pidColumn_ = find("pid");
        dateColumn_ = find("date");
        std::vector<std::string> missing;
        for (size_t c = 0; c < kNumberColumns.size(); ++c) {
            numberColumns_[c] = find(kNumberColumns[c].name);
            if (numberColumns_[c] == static_cast<int32_t>(header_.size())) {
                missing.push_back(kNumberColumns[c].name);
            }
        }
        for (const auto& [column, name] : {std::pair{pidColumn_, "pid"}, std::pair{dateColumn_, "date"}}) {
            if (column == static_cast<int32_t>(header_.size())) {
                missing.insert(missing.begin(), name);
            }
        }
        if (!missing.empty()) {
            error = At(1) + "the header lacks the column '" + missing.front() + "'";
            return false;
        }
        return true;
    }

    bool ReadRow(int32_t number, const std::string& line, std::vector<Participant>& participants, std::string& error)
    {
        const std::vector<std::string> cells = SplitCells(line);
        if (cells.size() != header_.size()) {
            error = At(number) + "expected " + std::to_string(header_.size()) + " columns, found " +
                    std::to_string(cells.size());
            return false;
        }
        const std::string& pid = cells[pidColumn_];
        if (!IsValidPersonName(pid)) {
            error = At(number) + "column 'pid': expected letters, digits, '-' and '_', got \"" + pid + "\"";
            return false;
        }
        Row row;
        if (!ParseCivilDate(cells[dateColumn_], row.date)) {
            error = At(number) + "column 'date': expected a date \"YYYY-MM-DD\", got \"" + cells[dateColumn_] + "\"";
            return false;
        }
        for (size_t c = 0; c < kNumberColumns.size(); ++c) {
            if (!ParseNumber(cells[numberColumns_[c]], kNumberColumns[c], row.values[c])) {
                error = At(number) + "column '" + kNumberColumns[c].name + "': expected nothing or a number from " +
                        Text(kNumberColumns[c].low) + " to " + Text(kNumberColumns[c].high) + ", got \"" +
                        cells[numberColumns_[c]] + "\"";
                return false;
            }
        }
        auto participant = std::find_if(
            participants.begin(), participants.end(), [&pid](const Participant& known) { return known.pid == pid; });
        if (participant == participants.end()) {
            participant = participants.insert(participants.end(), Participant{pid, {}});
        }
        if (!participant->rows.emplace(FormatCivilDate(row.date), row).second) {
            error = At(number) + "column 'date': " + pid + " already has a row for " + cells[dateColumn_];
            return false;
        }
        return true;
    }

    static std::string Text(double value)
    {
        std::ostringstream text;
        text << value;
        return text.str();
    }

    static bool ParseNumber(const std::string& cell, const NumberColumn& column, double& value)
    {
        if (cell.empty()) {
            value = kMissing;
            return true;
        }
        char* end = nullptr;
        errno = 0;
        value = std::strtod(cell.c_str(), &end);
        return errno == 0 && end == cell.c_str() + cell.size() && value >= column.low && value <= column.high;
    }

    std::string path_;
    std::vector<std::string> header_;
    int32_t pidColumn_ = 0;
    int32_t dateColumn_ = 0;
    std::array<int32_t, NUMBER_COLUMNS> numberColumns_{};
};

double Median(std::vector<double> values)
{
    if (values.empty()) {
        return kMissing;
    }
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

bool IsPlausibleNight(double onsetMin, double wakeMin)
{
    const double sleepMin = wakeMin + kMinutesPerDay - onsetMin;
    return !std::isnan(sleepMin) && sleepMin >= kShortestNightMin && sleepMin <= kLongestNightMin;
}

// The participant's medians of each column, the bedtime and wake time over plausible nights only.
bool PersonalMedians(const Participant& participant, Row& medians, std::string& error)
{
    std::array<std::vector<double>, NUMBER_COLUMNS> columns;
    for (const auto& [date, row] : participant.rows) {
        if (IsPlausibleNight(row.values[BEDTIME], row.values[WAKE])) {
            columns[BEDTIME].push_back(row.values[BEDTIME]);
            columns[WAKE].push_back(row.values[WAKE]);
        }
        for (size_t c = UNLOCKS; c < NUMBER_COLUMNS; ++c) {
            if (!std::isnan(row.values[c])) {
                columns[c].push_back(row.values[c]);
            }
        }
    }
    if (columns[BEDTIME].empty()) {
        error = participant.pid + " has no night with a bedtime and a wake time 2 to 16 hours apart";
        return false;
    }
    for (size_t c = 0; c < NUMBER_COLUMNS; ++c) {
        const double none = c == AWAKE_MIN ? kAwakeNotRecorded : 0; // never recorded: no unlocks, no awake time
        medians.values[c] = columns[c].empty() ? none : Median(columns[c]);
    }
    return true;
}

ScheduledNight NightOf(const CivilDate& wakeDate, const Row* row, const Row& medians)
{
    auto value = [&](Column c) {
        return row != nullptr && !std::isnan(row->values[c]) ? row->values[c] : medians.values[c];
    };
    ScheduledNight night;
    night.wakeDate = wakeDate;
    night.onsetMin = value(BEDTIME);
    night.wakeMin = value(WAKE);
    if (!IsPlausibleNight(night.onsetMin, night.wakeMin)) {
        night.onsetMin = medians.values[BEDTIME];
        night.wakeMin = medians.values[WAKE];
    }
    night.unlocks = static_cast<int32_t>(std::lround(value(UNLOCKS)));
    night.unlockMin = value(UNLOCK_MIN);
    night.firstUnlockMin = value(FIRST_UNLOCK);
    night.awakeMin = value(AWAKE_MIN);
    return night;
}

// The person's usual night as habits, for the help of --print-scenario and any night outside the
// schedule. Bedtime is the median onset less the usual minutes in bed before sleep.
void SetHabitsFromMedians(const Row& medians, Habits& habits)
{
    NightHabits night = habits.weekday;
    night.bedtimeMin = std::fmod(
        std::round(medians.values[BEDTIME] - habits.phoneInBedMin - habits.sleepLatencyMin) + 2 * kMinutesPerDay,
        kMinutesPerDay);
    night.wakeMin = std::fmod(std::round(medians.values[WAKE]) + kMinutesPerDay, kMinutesPerDay);
    if (night.SpanMin() >= kShortestHabitMin && night.SpanMin() <= kLongestNightMin) {
        habits.weekday = night;
        habits.weekend = night;
    }
}

uint64_t NameSeed(uint64_t seed, const std::string& name)
{
    uint64_t hash = 1469598103934665603ULL; // FNV-1a
    for (const char c : name) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 1099511628211ULL;
    }
    return (seed ^ hash) & static_cast<uint64_t>(std::numeric_limits<int64_t>::max());
}

bool PersonOf(const Participant& participant, const Scenario& base, Scenario& person, std::string& error)
{
    Row medians;
    if (!PersonalMedians(participant, medians, error)) {
        return false;
    }
    person = base;
    person.name = participant.pid;
    person.seed = NameSeed(base.seed, participant.pid);
    person.dumps.clear();
    person.schedule.clear();
    person.habits.alarmOnWeekdays = false;
    person.habits.awakeningsPerNight = 0;
    SetHabitsFromMedians(medians, person.habits);
    const CivilDate first = participant.rows.begin()->second.date;
    const std::string last = participant.rows.rbegin()->first;
    for (CivilDate date = first; FormatCivilDate(date) <= last; date = AddDays(date, 1)) {
        const auto row = participant.rows.find(FormatCivilDate(date));
        person.schedule.push_back(NightOf(date, row == participant.rows.end() ? nullptr : &row->second, medians));
        if (person.schedule.size() > static_cast<size_t>(kMaxDays)) {
            error = participant.pid + " spans more than " + std::to_string(kMaxDays) + " days";
            return false;
        }
    }
    person.startDate = AddDays(first, -1);
    person.days = static_cast<int32_t>(person.schedule.size());
    return true;
}

} // namespace

bool LoadPersonsFromCsv(
    const std::string& path, const Scenario& base, std::vector<Scenario>& persons, std::string& error)
{
    std::vector<Participant> participants;
    if (!CsvReader(path).Read(participants, error)) {
        return false;
    }
    std::vector<Scenario> loaded;
    for (const Participant& participant : participants) {
        Scenario person;
        if (!PersonOf(participant, base, person, error)) {
            error = path + ": " + error;
            return false;
        }
        loaded.push_back(person);
    }
    persons = loaded;
    return true;
}

} // namespace OHOS::Sim
