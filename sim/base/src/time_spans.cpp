#include "time_spans.h"

#include <algorithm>

namespace OHOS::Sim {

SpanList NormaliseSpans(SpanList spans)
{
    spans.erase(std::remove_if(spans.begin(), spans.end(), [](const TimeSpan& s) { return s.endMs <= s.beginMs; }),
        spans.end());
    std::sort(spans.begin(), spans.end(), [](const TimeSpan& a, const TimeSpan& b) { return a.beginMs < b.beginMs; });
    SpanList joined;
    for (const TimeSpan& span : spans) {
        if (!joined.empty() && span.beginMs <= joined.back().endMs) {
            joined.back().endMs = std::max(joined.back().endMs, span.endMs);
        } else {
            joined.push_back(span);
        }
    }
    return joined;
}

SpanList IntersectSpans(const SpanList& a, const SpanList& b)
{
    SpanList both;
    size_t i = 0;
    size_t j = 0;
    while (i < a.size() && j < b.size()) {
        const int64_t begin = std::max(a[i].beginMs, b[j].beginMs);
        const int64_t end = std::min(a[i].endMs, b[j].endMs);
        if (begin < end) {
            both.push_back(TimeSpan{begin, end});
        }
        if (a[i].endMs < b[j].endMs) {
            ++i;
        } else {
            ++j;
        }
    }
    return both;
}

SpanList SubtractSpans(const SpanList& a, const SpanList& b)
{
    SpanList rest;
    size_t j = 0;
    for (const TimeSpan& span : a) {
        int64_t begin = span.beginMs;
        while (j < b.size() && b[j].endMs <= begin) {
            ++j;
        }
        for (size_t k = j; k < b.size() && b[k].beginMs < span.endMs; ++k) {
            if (b[k].beginMs > begin) {
                rest.push_back(TimeSpan{begin, b[k].beginMs});
            }
            begin = std::max(begin, b[k].endMs);
        }
        if (begin < span.endMs) {
            rest.push_back(TimeSpan{begin, span.endMs});
        }
    }
    return rest;
}

SpanList UniteSpans(const SpanList& a, const SpanList& b)
{
    SpanList all = a;
    all.insert(all.end(), b.begin(), b.end());
    return NormaliseSpans(std::move(all));
}

SpanList ClipSpans(const SpanList& spans, const TimeSpan& window)
{
    return IntersectSpans(spans, NormaliseSpans({window}));
}

int64_t TotalSpanMs(const SpanList& spans)
{
    int64_t total = 0;
    for (const TimeSpan& span : spans) {
        total += span.endMs - span.beginMs;
    }
    return total;
}

} // namespace OHOS::Sim
