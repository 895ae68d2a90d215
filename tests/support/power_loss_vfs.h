#ifndef TESTS_SUPPORT_POWER_LOSS_VFS_H
#define TESTS_SUPPORT_POWER_LOSS_VFS_H

namespace OHOS::Sim {

// A SQLite VFS that wraps the default one and becomes the default for every connection opened
// after Install. Each xWrite, xSync and xTruncate on a named file is counted by StorageStop (so a
// kill can fall inside SQLite's own commit or rollback) and made for real; the layer also keeps, per
// file, the content as of its last xSync. At a power cut every file it has seen is rewritten to that
// content: writes and truncations not synced are dropped. Deleting a file counts as done at once.
// Files present when first opened count as synced. For a forked child: Install once.
class PowerLossVfs {
public:
    static void Install();
};

} // namespace OHOS::Sim

#endif // TESTS_SUPPORT_POWER_LOSS_VFS_H
