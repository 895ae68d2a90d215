// Dump commands: the input is split into words at newlines and handed to the host's dump, as a
// shell user could type them. Most inputs start with the strategy's own prefix so that the
// commands behind it are reached.
#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fuzz_world.h"

namespace {

constexpr size_t kMaxWords = 8;

std::vector<std::string> ConsumeWords(FuzzedDataProvider& data)
{
    std::vector<std::string> words;
    if (data.ConsumeBool()) {
        words = {"-S", "--strategy", "-RT"};
    }
    std::string rest = data.ConsumeRemainingBytesAsString();
    size_t begin = 0;
    while (words.size() < kMaxWords) {
        size_t end = rest.find('\n', begin);
        words.push_back(rest.substr(begin, end == std::string::npos ? std::string::npos : end - begin));
        if (end == std::string::npos) {
            break;
        }
        begin = end + 1;
    }
    return words;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    FuzzedDataProvider data(bytes, size);
    OHOS::Fuzz::FuzzWorld::Get().Dump(ConsumeWords(data));
    return 0;
}
