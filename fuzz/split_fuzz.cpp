// Split: the first byte is the delimiter, the rest the text. The pieces must be exactly the
// maximal runs of non-delimiter characters, in order.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "string_utils.h"

namespace {

std::vector<std::string> RunsBetween(const std::string& text, char delimiter)
{
    std::vector<std::string> runs;
    std::string current;
    for (char c : text) {
        if (c != delimiter) {
            current.push_back(c);
        } else if (!current.empty()) {
            runs.push_back(current);
            current.clear();
        }
    }
    if (!current.empty()) {
        runs.push_back(current);
    }
    return runs;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    if (size == 0) {
        return 0;
    }
    const char delimiter = static_cast<char>(bytes[0]);
    const std::string text(reinterpret_cast<const char*>(bytes) + 1, size - 1);
    if (OHOS::DevStandbyMgr::StringUtils::Split(text, delimiter) != RunsBetween(text, delimiter)) {
        std::abort();
    }
    return 0;
}
