#include "rdb_sql_utils.h"

#include <sys/stat.h>

#include "data_root.h"
#include "rdb_errno.h"

namespace OHOS::NativeRdb {

std::string RdbSqlUtils::GetDefaultDatabasePath(const std::string& baseDir, const std::string& name, int& errCode)
{
    errCode = E_INVALID_FILE_PATH;
    if (baseDir.empty() || name.empty() || name.find('/') != std::string::npos) {
        return "";
    }
    std::string folder = Emulator::MapPhonePath(baseDir);
    struct stat info {};
    if (!Emulator::MakeDirectories(folder) || stat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        return "";
    }
    errCode = E_OK;
    return folder + "/" + name;
}

} // namespace OHOS::NativeRdb
