#include "night_svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>

namespace OHOS::Sim {

namespace {

constexpr int32_t kTop = 2;
constexpr int32_t kRowHeight = 10;
constexpr int32_t kRowPitch = 12;
constexpr int32_t kHalfRow = kRowHeight / 2;
constexpr int32_t kAxisHeight = 14;
constexpr int32_t kRightMargin = 10;
constexpr int32_t kLongestNightMin = 16 * 60;

enum Row {
    ROW_TRUTH,
    ROW_SCREEN,
    ROW_CHARGING,
    ROW_STILL,
    ROW_OBSERVED,
    ROW_DEEP,
    ROW_EASY,
    ROW_NCC,
    ROW_IDLE,
    ROW_TOD
};
const char* const kRowLabels[] = {"true sleep", "screen, unlock", "charging", "still", "observations", "deep, light",
    "easy wake-up", "not-care-charge", "idle rule", "time of day"};
constexpr int32_t kRowsWithoutBaselines = ROW_IDLE;
constexpr int32_t kRowsWithBaselines = ROW_TOD + 1;

// Where a band is drawn and with which class.
struct BandStyle {
    Band band;
    Row row;
    const char* cssClass;
    const char* title; // non-null: each span gets its own element with a tooltip
};
const BandStyle kBandStyles[] = {
    {Band::IN_BED, ROW_TRUTH, "bd", nullptr},
    {Band::ASLEEP, ROW_TRUTH, "sl", nullptr},
    {Band::SCREEN_ON, ROW_SCREEN, "so", nullptr},
    {Band::CHARGING, ROW_CHARGING, "ch", nullptr},
    {Band::STILL, ROW_STILL, "st", nullptr},
    {Band::DEEP, ROW_DEEP, "dp", "deep sleep"},
    {Band::LIGHT, ROW_DEEP, "lt", "light sleep"},
    {Band::EASY_WAKEUP, ROW_EASY, "ew", "easy wake-up"},
    {Band::NOT_CARE_CHARGE, ROW_NCC, "nc", "not-care-charge sleep"},
    {Band::IDLE_RULE, ROW_IDLE, "id", nullptr},
    {Band::TIME_OF_DAY, ROW_TOD, "td", nullptr},
};

int32_t RowCount(bool withBaselines)
{
    return withBaselines ? kRowsWithBaselines : kRowsWithoutBaselines;
}

int32_t RowY(int32_t row)
{
    return kTop + row * kRowPitch;
}

int32_t LanesBottom(bool withBaselines)
{
    return RowY(RowCount(withBaselines)) - (kRowPitch - kRowHeight);
}

int32_t PictureHeight(bool withBaselines)
{
    return LanesBottom(withBaselines) + kAxisHeight;
}

std::string Str(int64_t value)
{
    return std::to_string(value);
}

// The spans of a list sorted by begin (and disjoint) that overlap `window`, clipped to it.
std::vector<TimeSpan> SpansIn(const std::vector<TimeSpan>& spans, const TimeSpan& window)
{
    auto it = std::lower_bound(
        spans.begin(), spans.end(), window.beginMs, [](const TimeSpan& span, int64_t t) { return span.endMs <= t; });
    std::vector<TimeSpan> clipped;
    for (; it != spans.end() && it->beginMs < window.endMs; ++it) {
        if (it->endMs > window.beginMs) {
            clipped.push_back(TimeSpan{std::max(it->beginMs, window.beginMs), std::min(it->endMs, window.endMs)});
        }
    }
    return clipped;
}

template <typename Item, typename TimeOf>
std::vector<Item> ItemsIn(const std::vector<Item>& items, const TimeSpan& window, TimeOf timeOf)
{
    std::vector<Item> inside;
    for (const Item& item : items) {
        const int64_t t = timeOf(item);
        if (t >= window.beginMs && t < window.endMs) {
            inside.push_back(item);
        }
    }
    return inside;
}

// A rectangle as path data; at least one pixel wide so that short spans stay visible.
std::string RectPath(int32_t x0, int32_t x1, int32_t y, int32_t height)
{
    const int32_t width = std::max(1, x1 - x0);
    return "M" + Str(x0) + " " + Str(y) + "h" + Str(width) + "v" + Str(height) + "h-" + Str(width) + "z";
}

std::string TickPath(int32_t x, int32_t y, int32_t height)
{
    return "M" + Str(x) + " " + Str(y) + "v" + Str(height);
}

std::string PathElement(const char* cssClass, const std::string& data, const std::string& title = "")
{
    if (data.empty()) {
        return "";
    }
    std::string element = "<path class=\"" + std::string(cssClass) + "\" d=\"" + data + "\"";
    return title.empty() ? element + "/>" : element + "><title>" + EscapeHtml(title) + "</title></path>";
}

std::string ClockRange(const TimeSpan& span)
{
    return FormatLocalClock(span.beginMs) + "\u2013" + FormatLocalClock(span.endMs);
}

std::string DeepEndNote(const RunRecord& record, int64_t endMs)
{
    const auto it = std::lower_bound(record.deepEnds.begin(), record.deepEnds.end(), endMs,
        [](const Moment& moment, int64_t t) { return moment.timeMs < t; });
    return it != record.deepEnds.end() && it->timeMs == endMs ? it->note : "";
}

std::string BandsSvg(const RunRecord& record, const TimeSpan& window, bool withBaselines)
{
    std::string svg;
    for (const BandStyle& style : kBandStyles) {
        if (style.row >= RowCount(withBaselines)) {
            continue;
        }
        const int32_t y = RowY(style.row);
        std::string merged;
        for (const TimeSpan& span : SpansIn(record.bands[static_cast<size_t>(style.band)], window)) {
            const std::string rect =
                RectPath(PictureX(window, span.beginMs), PictureX(window, span.endMs), y, kRowHeight);
            if (style.title == nullptr) {
                merged += rect;
                continue;
            }
            std::string title = std::string(style.title) + " " + ClockRange(span);
            const std::string why = style.band == Band::DEEP ? DeepEndNote(record, span.endMs) : "";
            svg += PathElement(style.cssClass, rect, why.empty() ? title : title + ", ended: " + why);
        }
        svg += PathElement(style.cssClass, merged);
    }
    return svg;
}

// Why each deep-sleep span ended, written just after its end.
std::string StopReasonsSvg(const RunRecord& record, const TimeSpan& window)
{
    std::string svg;
    for (const Moment& end : ItemsIn(record.deepEnds, window, [](const Moment& m) { return m.timeMs; })) {
        if (!end.note.empty()) {
            const std::string word = end.note.substr(0, end.note.find(" ("));
            svg += "<text class=\"rs\" x=\"" + Str(PictureX(window, end.timeMs) + 2) + "\" y=\"" +
                   Str(RowY(ROW_DEEP) + kRowHeight - 1) + "\">" + EscapeHtml(word) + "</text>";
        }
    }
    return svg;
}

std::string VerdictClass(int32_t verdict)
{
    switch (verdict) {
    case VERDICT_AWAKE:
        return "oa";
    case VERDICT_ASLEEP:
        return "os";
    case VERDICT_LIGHT:
        return "ol";
    default:
        return "o0";
    }
}

// One tick per observation, coloured by the verdict that followed it, full height when the Bayes
// result said asleep.
std::string ObservationsSvg(const RunRecord& record, const TimeSpan& window)
{
    std::map<std::string, std::string> paths;
    const int32_t y = RowY(ROW_OBSERVED);
    for (const Observation& observation :
        ItemsIn(record.observations, window, [](const Observation& o) { return o.timeMs; })) {
        const bool asleep = observation.bayes == 1;
        paths[VerdictClass(observation.verdict)] +=
            TickPath(PictureX(window, observation.timeMs), asleep ? y : y + kHalfRow, asleep ? kRowHeight : kHalfRow);
    }
    std::string svg;
    for (const auto& [cssClass, data] : paths) {
        svg += PathElement(cssClass.c_str(), data);
    }
    return svg;
}

std::string MarksSvg(const RunRecord& record, const TimeSpan& window, bool withBaselines)
{
    std::string unlocks;
    for (int64_t t : ItemsIn(record.unlocks, window, [](int64_t u) { return u; })) {
        unlocks += TickPath(PictureX(window, t), RowY(ROW_SCREEN), kRowHeight);
    }
    std::string svg = PathElement("ul", unlocks);
    for (int64_t t : ItemsIn(record.alarms, window, [](int64_t a) { return a; })) {
        svg += PathElement("al", TickPath(PictureX(window, t), kTop, LanesBottom(withBaselines) - kTop),
            "alarm " + FormatLocalClock(t));
    }
    for (const Announcement& wake :
        ItemsIn(record.announcements, window, [](const Announcement& a) { return a.wakeMs; })) {
        svg += PathElement("pw", TickPath(PictureX(window, wake.wakeMs), RowY(ROW_DEEP) - 2, kRowHeight + 4),
            "wake-up " + FormatLocalClock(wake.wakeMs) + " announced at " + FormatLocalClock(wake.atMs));
    }
    for (const Moment& training : ItemsIn(record.trainings, window, [](const Moment& m) { return m.timeMs; })) {
        const int32_t x = PictureX(window, training.timeMs);
        svg += PathElement("tn", "M" + Str(x) + " " + Str(RowY(ROW_DEEP)) + "l4 5-4 5-4-5z",
            "training " + FormatLocalClock(training.timeMs) + " " + training.note);
    }
    return svg;
}

std::string AxisSvg(const std::vector<AxisLabel>& labels, bool withBaselines)
{
    const int32_t bottom = LanesBottom(withBaselines);
    std::string grid;
    std::string text;
    for (const AxisLabel& label : labels) {
        grid += TickPath(label.x, kTop, bottom - kTop + 3);
        text +=
            "<text x=\"" + Str(label.x) + "\" y=\"" + Str(bottom + kAxisHeight - 2) + "\">" + label.text + "</text>";
    }
    return PathElement("gr", grid) + "<g class=\"ax\">" + text + "</g>";
}

// The labels of a 21:00-12:00 window without a clock change.
std::vector<AxisLabel> UsualAxisLabels()
{
    std::vector<AxisLabel> labels;
    const int32_t hours = (kPictureEndMin + 24 * 60 - kPictureStartMin) / 60;
    for (int32_t k = 0; k <= hours; ++k) {
        char text[4];
        std::snprintf(text, sizeof(text), "%02d", (kPictureStartMin / 60 + k) % 24);
        labels.push_back(AxisLabel{kPictureLeft + k * 60, text});
    }
    return labels;
}

bool SameLabels(const std::vector<AxisLabel>& a, const std::vector<AxisLabel>& b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
        [](const AxisLabel& x, const AxisLabel& y) { return x.x == y.x && x.text == y.text; });
}

std::string Swatch(int32_t x, const char* cssClass, const char* label, bool tick = false)
{
    const std::string mark = tick ? PathElement(cssClass, TickPath(x + 6, 3, kRowHeight))
                                  : PathElement(cssClass, RectPath(x, x + 14, 3, kRowHeight));
    return mark + "<text x=\"" + Str(x + 18) + "\" y=\"12\">" + label + "</text>";
}

std::string WeekDayName(const CivilDate& date)
{
    static const char* const names[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
    return names[WeekDay(date) - 1];
}

std::string SignedMinutes(int64_t ms)
{
    const int64_t minutes = std::llround(static_cast<double>(ms) / kMsPerMinute);
    return (minutes >= 0 ? "+" : "") + Str(minutes) + " min";
}

std::string TruthText(const RunRecord& record, const NightTruth& truth)
{
    const size_t asleepSpans =
        SpansIn(record.bands[static_cast<size_t>(Band::ASLEEP)], {truth.onsetMs, truth.wakeMs}).size();
    const size_t awakenings = asleepSpans > 0 ? asleepSpans - 1 : 0;
    std::string text = "asleep " + ClockRange({truth.onsetMs, truth.wakeMs});
    if (awakenings > 0) {
        text += ", " + Str(static_cast<int64_t>(awakenings)) + (awakenings == 1 ? " awakening" : " awakenings");
    }
    return text;
}

std::string DeepText(const RunRecord& record, const NightTruth& truth, const TimeSpan& window)
{
    const std::vector<TimeSpan> deep = SpansIn(record.bands[static_cast<size_t>(Band::DEEP)], window);
    if (deep.empty()) {
        return "no deep sleep";
    }
    std::string text = "deep " + FormatLocalClock(deep.front().beginMs) + " (" +
                       SignedMinutes(deep.front().beginMs - truth.onsetMs) + ") to " +
                       FormatLocalClock(deep.back().endMs);
    const std::string why = DeepEndNote(record, deep.back().endMs);
    text += why.empty() ? "" : " (" + why + ")";
    if (deep.size() > 1) {
        text += ", " + Str(static_cast<int64_t>(deep.size())) + " episodes";
    }
    for (const Announcement& announcement : record.announcements) {
        if (announcement.atMs == deep.front().beginMs) {
            text += " \u00b7 wake-up announced " + FormatLocalClock(announcement.wakeMs);
        }
    }
    return text;
}

std::string CoverageText(const ReportNight& night)
{
    std::string text;
    if (night.metrics == nullptr) {
        return text;
    }
    for (size_t rule = 0; rule < kRuleCount; ++rule) {
        const NightScore& scores = night.metrics->scores[rule];
        if (!std::isnan(scores.coverage)) {
            text += (text.empty() ? " \u00b7 coverage " : ", ") + RuleTitle(static_cast<Rule>(rule)) + " " +
                    Str(std::llround(scores.coverage * 100)) + "%";
        }
    }
    return text;
}

} // namespace

std::string RuleTitle(Rule rule)
{
    switch (rule) {
    case Rule::PLUGIN:
        return "plug-in";
    case Rule::IDLE:
        return "idle rule";
    case Rule::TIME_OF_DAY:
        return "time of day";
    }
    return RuleName(rule);
}

std::string NightCaption(const RunRecord& record, size_t night)
{
    const ReportNight& entry = record.nights[night];
    const NightTruth& truth = entry.truth;
    const TimeSpan window = PictureWindow(truth.wakeDate);
    std::string text = "<b>" + WeekDayName(truth.wakeDate) + " " + FormatCivilDate(truth.wakeDate) + "</b> " +
                       (truth.weekend ? "weekend" : "weekday") + " \u00b7 " + TruthText(record, truth) + " \u00b7 " +
                       DeepText(record, truth, window);
    if (truth.alarmMs > 0) {
        text += " \u00b7 alarm " + FormatLocalClock(truth.alarmMs);
    }
    const TimeSpan noonToNoon{
        LocalTimeMs(AddDays(truth.wakeDate, -1), kNoonMin), LocalTimeMs(truth.wakeDate, kNoonMin)};
    for (const Moment& training : ItemsIn(record.trainings, noonToNoon, [](const Moment& m) { return m.timeMs; })) {
        text += " \u00b7 training " + FormatLocalClock(training.timeMs) + " " + training.note;
    }
    return text + CoverageText(entry);
}

TimeSpan PictureWindow(const CivilDate& wakeDate)
{
    return TimeSpan{LocalTimeMs(AddDays(wakeDate, -1), kPictureStartMin), LocalTimeMs(wakeDate, kPictureEndMin)};
}

int32_t PictureX(const TimeSpan& window, int64_t timeMs)
{
    const int64_t clamped = std::clamp(timeMs, window.beginMs, window.endMs);
    return kPictureLeft +
           static_cast<int32_t>(std::llround(static_cast<double>(clamped - window.beginMs) / kMsPerMinute));
}

std::vector<AxisLabel> AxisLabels(const TimeSpan& window)
{
    std::vector<AxisLabel> labels;
    for (int64_t t = window.beginMs; t <= window.endMs; t += kMsPerHour) {
        const std::string clock = FormatLocalClock(t);
        labels.push_back(AxisLabel{PictureX(window, t), clock.substr(3) == "00" ? clock.substr(0, 2) : clock});
    }
    return labels;
}

std::string NightSvgDefs(bool withBaselines)
{
    std::string lanes;
    std::string labels;
    for (int32_t row = 0; row < RowCount(withBaselines); ++row) {
        lanes += RectPath(kPictureLeft, kPictureLeft + kLongestNightMin, RowY(row), kRowHeight);
        labels += "<text x=\"2\" y=\"" + Str(RowY(row) + kRowHeight - 1) + "\">" + kRowLabels[row] + "</text>";
    }
    return "<svg class=\"defs\" width=\"0\" height=\"0\" aria-hidden=\"true\"><defs><g id=\"rows\">" +
           PathElement("ln", lanes) + "<g class=\"rl\">" + labels + "</g></g><g id=\"axis\">" +
           AxisSvg(UsualAxisLabels(), withBaselines) + "</g></defs></svg>\n";
}

std::string NightLegendSvg(bool withBaselines)
{
    std::string svg = "<svg class=\"legend\" width=\"1000\" height=\"" + Str(withBaselines ? 48 : 32) + "\">";
    svg += Swatch(0, "bd", "in bed") + Swatch(70, "sl", "truly asleep") + Swatch(170, "so", "screen on") +
           Swatch(260, "ul", "unlock", true) + Swatch(325, "ch", "charging") + Swatch(410, "st", "still") +
           Swatch(470, "dp", "deep sleep") + Swatch(565, "lt", "light sleep") + Swatch(660, "ew", "easy wake-up") +
           Swatch(770, "nc", "not-care-charge");
    svg += "<g transform=\"translate(0 16)\">" + Swatch(0, "al", "alarm", true) +
           Swatch(60, "pw", "announced wake-up", true) + PathElement("tn", "M196 3l4 5-4 5-4-5z") +
           "<text x=\"204\" y=\"12\">training</text>" + Swatch(270, "os", "observation: asleep", true) +
           Swatch(410, "oa", "awake", true) + Swatch(470, "ol", "light", true) +
           "<text x=\"530\" y=\"12\">(tall tick: the Bayes result said asleep)</text>";
    if (withBaselines) {
        svg += "<g transform=\"translate(0 16)\">" + Swatch(0, "id", "idle rule asleep") +
               Swatch(130, "td", "time-of-day rule asleep") + "</g>";
    }
    return svg + "</g></svg>\n";
}

std::string NightSvg(const RunRecord& record, size_t night, bool withBaselines)
{
    const TimeSpan window = PictureWindow(record.nights[night].truth.wakeDate);
    const std::vector<AxisLabel> labels = AxisLabels(window);
    const int32_t width = PictureX(window, window.endMs) + kRightMargin;
    std::string svg =
        "<svg width=\"" + Str(width) + "\" height=\"" + Str(PictureHeight(withBaselines)) + "\"><use href=\"#rows\"/>";
    svg += SameLabels(labels, UsualAxisLabels()) ? "<use href=\"#axis\"/>" : AxisSvg(labels, withBaselines);
    svg += BandsSvg(record, window, withBaselines) + ObservationsSvg(record, window) + StopReasonsSvg(record, window) +
           MarksSvg(record, window, withBaselines);
    return svg + "</svg>";
}

std::string EscapeHtml(const std::string& text)
{
    std::string escaped;
    for (char c : text) {
        switch (c) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += c;
        }
    }
    return escaped;
}

} // namespace OHOS::Sim
