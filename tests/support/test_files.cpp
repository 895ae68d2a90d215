#include "test_files.h"

#include <fstream>
#include <sstream>

namespace OHOS::Emulator {

std::string ReadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

} // namespace OHOS::Emulator
