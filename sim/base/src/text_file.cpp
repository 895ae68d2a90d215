#include "text_file.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace OHOS::Sim {

bool ReadTextFile(const std::string& path, std::string& text)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        return false;
    }
    std::ostringstream content;
    content << in.rdbuf();
    text = content.str();
    return true;
}

bool WriteTextFileAtomically(const std::string& path, const std::string& text, std::string& error)
{
    return WriteFileAtomically(
        path, [&text](std::ostream& out) { out << text; }, error);
}

bool WriteFileAtomically(const std::string& path, const std::function<void(std::ostream&)>& write, std::string& error)
{
    const std::string temporary = path + ".tmp";
    {
        std::ofstream out(temporary, std::ios::binary | std::ios::trunc);
        write(out);
        if (!out.flush()) {
            error = "cannot write '" + temporary + "'";
            return false;
        }
    }
    if (std::rename(temporary.c_str(), path.c_str()) != 0) {
        error = "cannot write '" + path + "': " + std::strerror(errno);
        return false;
    }
    return true;
}

bool RemoveAll(const std::string& path, std::string& error)
{
    std::error_code ec;
    std::filesystem::remove_all(path, ec);
    if (ec) {
        error = "cannot remove '" + path + "': " + ec.message();
        return false;
    }
    return true;
}

} // namespace OHOS::Sim
