#include "fuzzed_want.h"

#include <cstdint>
#include <cstring>

namespace OHOS::Fuzz {
namespace {

constexpr size_t kMaxTextLength = 40;
constexpr int32_t kInt32Range = int32_t{1} << 24;
constexpr int64_t kInt64Range = int64_t{1} << 55;

enum class ValueKind : uint8_t { BOOL, INT32, INT64, FLOAT, DOUBLE, TEXT, kMaxValue = TEXT };

template <typename Floating, typename Bits> Floating ConsumeAnyBits(FuzzedDataProvider& data)
{
    static_assert(sizeof(Floating) == sizeof(Bits));
    Bits bits = data.ConsumeIntegral<Bits>();
    Floating value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

std::string ConsumeKey(FuzzedDataProvider& data, const std::vector<std::string>& knownKeys)
{
    if (knownKeys.empty() || data.ConsumeIntegralInRange<uint8_t>(0, 7) == 0) {
        return data.ConsumeRandomLengthString(kMaxTextLength);
    }
    return knownKeys[data.ConsumeIntegralInRange<size_t>(0, knownKeys.size() - 1)];
}

void SetConsumedValue(FuzzedDataProvider& data, const std::string& key, AAFwk::Want& want)
{
    switch (data.ConsumeEnum<ValueKind>()) {
    case ValueKind::BOOL:
        want.SetParam(key, data.ConsumeBool());
        break;
    case ValueKind::INT32:
        want.SetParam(key, data.ConsumeIntegralInRange<int32_t>(-kInt32Range, kInt32Range));
        break;
    case ValueKind::INT64:
        want.SetParam(key, data.ConsumeIntegralInRange<int64_t>(-kInt64Range, kInt64Range));
        break;
    case ValueKind::FLOAT:
        want.SetParam(key, ConsumeAnyBits<float, uint32_t>(data));
        break;
    case ValueKind::DOUBLE:
        want.SetParam(key, ConsumeAnyBits<double, uint64_t>(data));
        break;
    case ValueKind::TEXT:
        want.SetParam(key, data.ConsumeRandomLengthString(kMaxTextLength));
        break;
    }
}

} // namespace

AAFwk::Want ConsumeWant(FuzzedDataProvider& data, const std::vector<std::string>& knownKeys, size_t maxParameters)
{
    AAFwk::Want want;
    for (size_t count = 0; count < maxParameters && data.remaining_bytes() > 0; ++count) {
        std::string key = ConsumeKey(data, knownKeys);
        SetConsumedValue(data, key, want);
    }
    return want;
}

} // namespace OHOS::Fuzz
