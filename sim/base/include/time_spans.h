#ifndef SIM_INCLUDE_TIME_SPANS_H
#define SIM_INCLUDE_TIME_SPANS_H

#include <cstdint>
#include <vector>

namespace OHOS::Sim {

// A half-open span of time [beginMs, endMs), in epoch ms.
struct TimeSpan {
    int64_t beginMs = 0;
    int64_t endMs = 0;
};

// Sets of time as lists of half-open spans [beginMs, endMs). Every function below returns a
// normal list: sorted, disjoint, without empty spans, touching spans joined.
using SpanList = std::vector<TimeSpan>;

// Any list (unsorted, overlapping, empty or reversed spans) as a normal list.
SpanList NormaliseSpans(SpanList spans);
// Time in both lists. REQUIRES: both normal.
SpanList IntersectSpans(const SpanList& a, const SpanList& b);
// Time in `a` and not in `b`. REQUIRES: both normal.
SpanList SubtractSpans(const SpanList& a, const SpanList& b);
// Time in either list (any lists).
SpanList UniteSpans(const SpanList& a, const SpanList& b);
// The part of a normal list inside `window`.
SpanList ClipSpans(const SpanList& spans, const TimeSpan& window);
// Total length of a normal list.
int64_t TotalSpanMs(const SpanList& spans);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TIME_SPANS_H
