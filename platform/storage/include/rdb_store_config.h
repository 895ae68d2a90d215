#ifndef PLATFORM_INCLUDE_RDB_STORE_CONFIG_H
#define PLATFORM_INCLUDE_RDB_STORE_CONFIG_H

#include <cstdint>
#include <string>
#include <vector>

namespace OHOS::NativeRdb {

enum class StorageMode { MODE_MEMORY = 101, MODE_DISK = 102 };

// How sensitive the stored data is; the store records it, the emulator does not encrypt.
enum class SecurityLevel : int32_t { S1 = 1, S2 = 2, S3 = 3, S4 = 4, LAST = 5 };

// How a store is opened. The path is a path on this machine or a phone path ("/data/...") that
// the store maps under the data root; MODE_MEMORY ignores it and keeps the data in memory. The journal mode is a SQLite
// journal mode name ("WAL", "DELETE", "TRUNCATE", ...); empty means the platform default, write-ahead logging.
class RdbStoreConfig {
public:
    static constexpr const char* DEFAULT_JOURNAL_MODE = "WAL";
    static constexpr int DEFAULT_JOURNAL_SIZE = 1048576;
    static constexpr int DEFAULT_PAGE_SIZE = 4096;

    explicit RdbStoreConfig(const std::string& path, StorageMode storageMode = StorageMode::MODE_DISK,
        bool readOnly = false, const std::vector<uint8_t>& encryptKey = {}, const std::string& journalMode = "",
        const std::string& syncMode = "", SecurityLevel securityLevel = SecurityLevel::LAST,
        bool isCreateNecessary = true, bool autoCheck = false, int journalSize = DEFAULT_JOURNAL_SIZE,
        int pageSize = DEFAULT_PAGE_SIZE);

    const std::string& GetPath() const { return path_; }
    StorageMode GetStorageMode() const { return storageMode_; }
    bool IsReadOnly() const { return readOnly_; }
    // The emulator cannot encrypt: opening a store with a non-empty key fails with E_NOT_SUPPORTED.
    const std::vector<uint8_t>& GetEncryptKey() const { return encryptKey_; }
    // The journal mode in effect: the configured one, or DEFAULT_JOURNAL_MODE when none was given.
    std::string GetJournalMode() const;
    void SetJournalMode(const std::string& journalMode) { journalMode_ = journalMode; }
    // SQLite synchronous setting ("FULL", "NORMAL", "OFF"); empty keeps SQLite's default.
    const std::string& GetSyncMode() const { return syncMode_; }
    SecurityLevel GetSecurityLevel() const { return securityLevel_; }
    void SetSecurityLevel(SecurityLevel level) { securityLevel_ = level; }
    bool IsCreateNecessary() const { return isCreateNecessary_; }
    void SetCreateNecessary(bool create) { isCreateNecessary_ = create; }
    // When set, opening runs a quick integrity check and fails with E_SQLITE_CORRUPT on damage.
    bool IsAutoCheck() const { return autoCheck_; }
    // Size limit of the write-ahead log kept after a checkpoint, in bytes.
    int GetJournalSize() const { return journalSize_; }
    void SetJournalSize(int bytes) { journalSize_ = bytes; }
    // Page size used when the file is created, in bytes (a power of two, 512 ... 65536).
    int GetPageSize() const { return pageSize_; }
    void SetPageSize(int bytes) { pageSize_ = bytes; }
    // Connections kept for reading beside the one writer; 0 reads through the writer.
    int GetReadConSize() const { return readConSize_; }
    void SetReadConSize(int size) { readConSize_ = size; }

private:
    std::string path_;
    StorageMode storageMode_;
    bool readOnly_;
    std::vector<uint8_t> encryptKey_;
    std::string journalMode_;
    std::string syncMode_;
    SecurityLevel securityLevel_;
    bool isCreateNecessary_;
    bool autoCheck_;
    int journalSize_;
    int pageSize_;
    int readConSize_ = 4;
};

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_RDB_STORE_CONFIG_H
