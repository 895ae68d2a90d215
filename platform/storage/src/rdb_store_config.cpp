#include "rdb_store_config.h"

namespace OHOS::NativeRdb {

RdbStoreConfig::RdbStoreConfig(const std::string& path, StorageMode storageMode, bool readOnly,
    const std::vector<uint8_t>& encryptKey, const std::string& journalMode, const std::string& syncMode,
    SecurityLevel securityLevel, bool isCreateNecessary, bool autoCheck, int journalSize, int pageSize)
    : path_(path), storageMode_(storageMode), readOnly_(readOnly), encryptKey_(encryptKey), journalMode_(journalMode),
      syncMode_(syncMode), securityLevel_(securityLevel), isCreateNecessary_(isCreateNecessary), autoCheck_(autoCheck),
      journalSize_(journalSize), pageSize_(pageSize)
{
}

std::string RdbStoreConfig::GetJournalMode() const
{
    return journalMode_.empty() ? DEFAULT_JOURNAL_MODE : journalMode_;
}

} // namespace OHOS::NativeRdb
