#ifndef PLATFORM_INCLUDE_RDB_SQL_UTILS_H
#define PLATFORM_INCLUDE_RDB_SQL_UTILS_H

#include <string>

namespace OHOS::NativeRdb {

class RdbSqlUtils {
public:
    // The file path for database `name` in the phone folder `baseDir`, mapped under the data root;
    // creates the folder (owner-only) when missing. On failure (empty or nested name, folder not
    // creatable) returns "" with errCode E_INVALID_FILE_PATH; errCode is E_OK otherwise.
    static std::string GetDefaultDatabasePath(const std::string& baseDir, const std::string& name, int& errCode);
};

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_RDB_SQL_UTILS_H
