#include "rdb_sql_utils.h"

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
    if (!Emulator::MakeDirectories(folder)) {
        return "";
    }
    errCode = E_OK;
    return folder + "/" + name;
}

} // namespace OHOS::NativeRdb
