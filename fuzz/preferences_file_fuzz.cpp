// The preferences file reader. Any input is either refused or read into values that, written
// back and read again, come out the same: a value the reader accepts never changes on a rewrite.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "preferences_file.h"
#include "scratch_folder.h"

namespace {

using OHOS::NativePreferences::PreferencesMap;
using OHOS::NativePreferences::PreferencesValue;

const std::string& Folder()
{
    static const std::string folder = OHOS::Fuzz::MakeScratchFolder("sleep-fuzz-prefs");
    return folder;
}

bool WriteRawFile(const std::string& path, const uint8_t* bytes, size_t size)
{
    FILE* file = std::fopen(path.c_str(), "wb");
    if (file == nullptr) {
        return false;
    }
    bool written = std::fwrite(bytes, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

// Equal, NaN included (a stored NaN must read back as NaN).
bool SameValue(const PreferencesValue& a, const PreferencesValue& b)
{
    if (const float* x = std::get_if<float>(&a)) {
        const float* y = std::get_if<float>(&b);
        return y != nullptr && (*x == *y || (std::isnan(*x) && std::isnan(*y)));
    }
    return a == b;
}

bool SameValues(const PreferencesMap& a, const PreferencesMap& b)
{
    if (a.size() != b.size()) {
        return false;
    }
    for (auto left = a.begin(), right = b.begin(); left != a.end(); ++left, ++right) {
        if (left->first != right->first || !SameValue(left->second, right->second)) {
            return false;
        }
    }
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    const std::string input = Folder() + "/input.xml";
    const std::string rewritten = Folder() + "/rewritten.xml";
    if (!WriteRawFile(input, bytes, size)) {
        std::abort();
    }
    PreferencesMap values;
    if (OHOS::NativePreferences::ReadPreferencesFile(input, values) != OHOS::NativePreferences::E_OK) {
        return 0;
    }
    PreferencesMap reread;
    if (OHOS::NativePreferences::WritePreferencesFile(rewritten, values) != OHOS::NativePreferences::E_OK ||
        OHOS::NativePreferences::ReadPreferencesFile(rewritten, reread) != OHOS::NativePreferences::E_OK ||
        !SameValues(values, reread)) {
        std::abort();
    }
    return 0;
}
