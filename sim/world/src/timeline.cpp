#include "timeline.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <variant>

#include "json_text.h"
#include "local_calendar.h"

namespace OHOS::Sim {

namespace {

bool IsAscii(const std::string& text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

// One parameter as its JSON text reads back: a count that is not negative reads back unsigned, a
// number that is not finite as null.
struct ParamJson {
    TimelineLine operator()(bool value) const { return value; }
    TimelineLine operator()(int32_t value) const { return (*this)(static_cast<int64_t>(value)); }
    TimelineLine operator()(int64_t value) const
    {
        return value >= 0 ? TimelineLine(static_cast<uint64_t>(value)) : TimelineLine(value);
    }
    TimelineLine operator()(float value) const { return (*this)(static_cast<double>(value)); }
    TimelineLine operator()(double value) const { return std::isfinite(value) ? TimelineLine(value) : nullptr; }
    TimelineLine operator()(const std::string& value) const { return value; }
};

// The same parameter written as that JSON text.
struct ParamText {
    std::string& out;
    void operator()(bool value) const { out += value ? "true" : "false"; }
    void operator()(int32_t value) const { out += std::to_string(value); }
    void operator()(int64_t value) const { out += std::to_string(value); }
    void operator()(float value) const { Emulator::AppendJsonNumber(static_cast<double>(value), out); }
    void operator()(double value) const { Emulator::AppendJsonNumber(value, out); }
    void operator()(const std::string& value) const { Emulator::AppendJsonString(value, out); }
};

// Whether the Want's action, keys and texts are ASCII: then its JSON is built here instead of
// parsed from its own text.
bool IsAsciiWant(const AAFwk::Want& want)
{
    if (!IsAscii(want.GetAction())) {
        return false;
    }
    return std::all_of(want.GetParams().begin(), want.GetParams().end(), [](const auto& entry) {
        const auto& [key, value] = entry;
        return IsAscii(key) &&
               (!std::holds_alternative<std::string>(value) || IsAscii(std::get<std::string>(value)));
    });
}

std::string LineText(const TimelineLine& line)
{
    std::string text;
    Emulator::AppendJsonText(line, text);
    return text;
}

} // namespace

TimelineLine WantTimelineJson(const AAFwk::Want& want)
{
    if (!IsAsciiWant(want)) {
        return TimelineLine::parse(want.ToJson());
    }
    // The Want's keys are unique and sorted: each is appended, with no search for an equal one.
    TimelineLine params = TimelineLine::object();
    auto& members = params.get_ref<TimelineLine::object_t&>();
    members.reserve(want.GetParams().size());
    for (const auto& [key, value] : want.GetParams()) {
        members.emplace_back(key, std::visit(ParamJson(), value));
    }
    return TimelineLine{{"action", want.GetAction()}, {"params", std::move(params)}};
}

TimelineLine TimelineObject(std::initializer_list<std::pair<const char*, TimelineLine>> members)
{
    TimelineLine object = TimelineLine::object();
    auto& list = object.get_ref<TimelineLine::object_t&>();
    list.reserve(members.size());
    for (const auto& [key, value] : members) {
        list.emplace_back(key, value);
    }
    return object;
}

void AppendWantText(const AAFwk::Want& want, std::string& out)
{
    if (!IsAsciiWant(want)) {
        Emulator::AppendJsonText(WantTimelineJson(want), out);
        return;
    }
    out += "{\"action\":";
    Emulator::AppendJsonString(want.GetAction(), out);
    out += ",\"params\":{";
    bool first = true;
    for (const auto& [key, value] : want.GetParams()) {
        if (!first) {
            out += ',';
        }
        first = false;
        Emulator::AppendJsonString(key, out);
        out += ':';
        std::visit(ParamText{out}, value);
    }
    out += "}}";
}

Timeline::OrderKey Timeline::KeyOf(const TimelineLine& line)
{
    const TimelineLine& type = line["type"]; // compared as text: no Json made from the constant
    return {line["t"].get<int64_t>(), type.is_string() && type.get_ref<const std::string&>() == TIMELINE_SYSTEM_EVENT};
}

void Timeline::SortByTime(std::vector<TimelineLine>& lines)
{
    std::stable_sort(
        lines.begin(), lines.end(), [](const TimelineLine& a, const TimelineLine& b) { return KeyOf(a) < KeyOf(b); });
}

bool Timeline::StreamTo(const std::string& path)
{
    std::lock_guard<std::mutex> lock(mutex_);
    path_ = path;
    out_.open(path, std::ios::binary | std::ios::trunc);
    return out_.is_open();
}

void Timeline::ObserveWrittenLines(LineObserver observer)
{
    std::lock_guard<std::mutex> lock(mutex_);
    observer_ = std::move(observer);
}

TimelineLine Timeline::LineOf(int64_t timeMs, const std::string& type, TimelineLine&& fields)
{
    // Room for every member first: growing the object would copy the members it holds.
    TimelineLine line = TimelineLine::object();
    auto& members = line.get_ref<TimelineLine::object_t&>();
    members.reserve(3 + fields.size());
    members.emplace_back("t", timeMs);
    members.emplace_back("time", FormatLocalTime(timeMs));
    members.emplace_back("type", type);
    for (auto& [name, value] : fields.get_ref<TimelineLine::object_t&>()) {
        line[name] = std::move(value);
    }
    return line;
}

void Timeline::Add(int64_t timeMs, const std::string& type, TimelineLine fields)
{
    Enqueue(Entry{LineOf(timeMs, type, std::move(fields)), std::nullopt});
}

void Timeline::AddWritten(int64_t timeMs, const std::string& type, std::string fieldsText, TimelineLine observed)
{
    Enqueue(Entry{LineOf(timeMs, type, std::move(observed)), std::move(fieldsText)});
}

void Timeline::Enqueue(Entry&& entry)
{
    const OrderKey key = KeyOf(entry.line);
    std::lock_guard<std::mutex> lock(mutex_);
    if (key.first >= horizon_) {
        pending_.emplace(key, std::move(entry));
        return;
    }
    if (out_.is_open()) {
        std::string text;
        AppendEntryText(entry, text);
        late_.emplace_back(key, std::move(text));
    } else {
        held_.push_back(WholeLine(std::move(entry)));
    }
}

void Timeline::AppendEntryText(const Entry& entry, std::string& out)
{
    if (!entry.fieldsText) {
        Emulator::AppendJsonText(entry.line, out);
        return;
    }
    // The head members as the whole line would write them, then the fields' own text.
    out += "{\"t\":";
    out += std::to_string(entry.line["t"].get<int64_t>());
    out += ",\"time\":";
    Emulator::AppendJsonString(entry.line["time"].get_ref<const std::string&>(), out);
    out += ",\"type\":";
    Emulator::AppendJsonString(entry.line["type"].get_ref<const std::string&>(), out);
    out += *entry.fieldsText;
    out += '}';
}

TimelineLine Timeline::WholeLine(Entry&& entry)
{
    if (!entry.fieldsText) {
        return std::move(entry.line);
    }
    std::string text;
    AppendEntryText(entry, text);
    return TimelineLine::parse(text);
}

void Timeline::FlushBefore(int64_t timeMs)
{
    std::lock_guard<std::mutex> lock(mutex_);
    horizon_ = std::max(horizon_, timeMs);
    auto it = pending_.begin();
    for (; it != pending_.end() && it->first.first < horizon_; ++it) {
        Release(std::move(it->second));
    }
    pending_.erase(pending_.begin(), it);
}

void Timeline::Release(Entry&& entry)
{
    if (!out_.is_open()) {
        held_.push_back(WholeLine(std::move(entry)));
        return;
    }
    text_.clear();
    AppendEntryText(entry, text_);
    text_ += '\n';
    out_.write(text_.data(), static_cast<std::streamsize>(text_.size()));
    if (observer_) {
        observer_(entry.line);
    }
}

bool Timeline::FinishStream()
{
    FlushBefore(INT64_MAX);
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto& entry : pending_) { // lines at the very end of time
        Release(std::move(entry.second));
    }
    pending_.clear();
    out_.flush();
    bool ok = static_cast<bool>(out_);
    out_.close();
    return ok && MergeLateLines();
}

// Rewrites the file with the late lines in their places. A late line goes after the written lines
// of the same order key: they were added before it.
bool Timeline::MergeLateLines()
{
    if (late_.empty()) {
        return true;
    }
    lateLinesMerged_ = true;
    std::stable_sort(late_.begin(), late_.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    const std::string mergedPath = path_ + ".merging";
    std::ifstream written(path_, std::ios::binary);
    std::ofstream merged(mergedPath, std::ios::binary | std::ios::trunc);
    auto late = late_.begin();
    std::string text;
    while (std::getline(written, text)) {
        const OrderKey key = KeyOf(TimelineLine::parse(text));
        for (; late != late_.end() && late->first < key; ++late) {
            merged << late->second << '\n';
        }
        merged << text << '\n';
    }
    for (; late != late_.end(); ++late) {
        merged << late->second << '\n';
    }
    merged.flush();
    const bool ok = !written.bad() && static_cast<bool>(merged);
    late_.clear();
    return ok && std::rename(mergedPath.c_str(), path_.c_str()) == 0;
}

bool Timeline::WrittenInOrder() const
{
    std::lock_guard<std::mutex> lock(mutex_);
    return !lateLinesMerged_;
}

std::vector<TimelineLine> Timeline::Lines() const
{
    std::vector<TimelineLine> lines;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        lines = held_;
        for (const auto& [key, entry] : pending_) {
            lines.push_back(WholeLine(Entry(entry)));
        }
    }
    SortByTime(lines);
    return lines;
}

bool Timeline::WriteJsonLines(const std::string& path) const
{
    return WriteTimelineLines(Lines(), path);
}

bool WriteTimelineLines(const std::vector<TimelineLine>& lines, const std::string& path)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    for (const TimelineLine& line : lines) {
        out << LineText(line) << '\n';
    }
    out.flush();
    return static_cast<bool>(out);
}

} // namespace OHOS::Sim
