#ifndef SIM_INCLUDE_NIGHT_SVG_H
#define SIM_INCLUDE_NIGHT_SVG_H

#include <cstdint>
#include <string>
#include <vector>

#include "report_inputs.h"

namespace OHOS::Sim {

// One night's picture: a row per kind of information on a time axis from 21:00 the evening before
// to 12:00 on the night's day, one pixel per minute, local time. Rows share CSS classes and the
// definitions of NightSvgDefs (row labels, the usual hour axis), so a year of nights stays small.

constexpr int32_t kPictureLeft = 96; // width of the row-label column
constexpr int32_t kPictureStartMin = 21 * 60;
constexpr int32_t kPictureEndMin = 12 * 60;

// The picture's time window for the night that ends on `wakeDate` (14 to 16 hours across a
// daylight-saving change).
TimeSpan PictureWindow(const CivilDate& wakeDate);
// x of `timeMs` in the picture of `window` (rounded to the minute, clamped to the window).
int32_t PictureX(const TimeSpan& window, int64_t timeMs);

struct AxisLabel {
    int32_t x = 0;
    std::string text; // local hour "23", or "02:30" off the whole hour
};
// One label per real hour from the window's start, in local time: a night across a
// daylight-saving change shows the repeated or skipped hour.
std::vector<AxisLabel> AxisLabels(const TimeSpan& window);

// Hidden SVG with the shared row labels and the usual axis; once per page, before any night.
std::string NightSvgDefs(bool withBaselines);
// The legend of every mark a night picture uses.
std::string NightLegendSvg(bool withBaselines);
// The picture (an <svg> element) of record.nights[night].
std::string NightSvg(const RunRecord& record, size_t night, bool withBaselines);

// One line about record.nights[night]: the truth, what the plug-in published, trainings (noon to
// noon) and, when metrics.json scored the night, each rule's coverage.
std::string NightCaption(const RunRecord& record, size_t night);
// How a rule is named on the page ("plug-in", "idle rule", ...).
std::string RuleTitle(Rule rule);

// Text escaped for HTML and SVG content and attribute values.
std::string EscapeHtml(const std::string& text);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_NIGHT_SVG_H
