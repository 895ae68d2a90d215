#ifndef PLATFORM_INCLUDE_STORAGE_SYNC_H
#define PLATFORM_INCLUDE_STORAGE_SYNC_H

namespace OHOS::Emulator {

// Whether the real stores (the relational store, the settings store and the preferences files)
// force their writes to disk. On by default, as on the phone: a SQLite commit and a preferences
// flush return only once the data is synced. Turning it off keeps every write real and atomic
// towards other readers of the files (SQLite runs with "PRAGMA synchronous = OFF", preferences are
// still written to a temporary file and renamed) but skips every fsync, so a power cut could lose
// the last writes. Meant for long simulations whose files are thrown away after the run. Takes
// effect for stores opened and files written after the call. Process-wide and thread-safe.
void SetStorageSyncEnabled(bool enabled);
bool StorageSyncEnabled();

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_STORAGE_SYNC_H
