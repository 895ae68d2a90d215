#ifndef FUZZ_SUPPORT_FUZZED_WANT_H
#define FUZZ_SUPPORT_FUZZED_WANT_H

#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <vector>

#include "want.h"

namespace OHOS::Fuzz {

// A Want whose parameters come from the fuzzer: each one is named either from `knownKeys` (the
// names the receiver reads) or by arbitrary text, and holds a value of any type the Want carries:
// bool, 32- or 64-bit integer, float or double (any bit pattern, NaN and infinities included) or
// text. At most `maxParameters` parameters. The plug-in's messages carry what its own collector
// and training produce, so integers stay within what those can hold: 32-bit ones (durations in
// seconds, counts) within +-2^24, 64-bit ones (times in ms) within +-2^55, a million years.
AAFwk::Want ConsumeWant(FuzzedDataProvider& data, const std::vector<std::string>& knownKeys, size_t maxParameters);

} // namespace OHOS::Fuzz

#endif // FUZZ_SUPPORT_FUZZED_WANT_H
