#ifndef PLATFORM_INCLUDE_RDB_FAULTS_H
#define PLATFORM_INCLUDE_RDB_FAULTS_H

#include <cstdint>
#include <functional>
#include <string>

namespace OHOS::Emulator {

// Failure switches of the relational store, process-wide and thread-safe. Every database
// statement step the store runs on behalf of a caller (a query row, an insert, BEGIN, COMMIT...)
// counts as one operation; the clean-up that undoes a failed write never fails and never counts.
class RdbFaults {
public:
    // Turns every switch off and zeroes the counters.
    static void Reset();

    // While set, RdbHelper::GetRdbStore fails with E_CANNOT_OPEN and returns no store.
    static void SetOpenFails(bool fails);
    static bool OpenFails();

    // Makes the nth operation from now (1 = the next one) fail with E_SQLITE_IOERR. With `persistent`
    // every later operation fails too. nth <= 0 disables the switch.
    static void FailNthOperation(int nth, bool persistent = false);

    // While set, every operation that writes to the file fails with E_SQLITE_FULL; reads still work.
    static void SetDiskFull(bool full);

    // Operations counted since the last Reset, and how many of them were made to fail.
    static int OperationCount();
    static int InjectedFailures();

    // Called by the store before each operation: 0 to go ahead, or the error code to fail it with.
    static int OnOperation(bool writesToFile);

    // Called before each counted operation with its number (tests stop the process at an exact
    // point with it); nullptr removes it. Reset removes it too.
    static void SetOperationObserver(std::function<void(int operation)> observer);

    // Called by the store each time a batch insert has been written whole, with its table and its
    // number of rows (tests compare what was stored with what the caller meant to store); nullptr
    // removes it. Reset removes it too.
    static void SetBatchObserver(std::function<void(const std::string& table, int64_t rows)> observer);
    static void OnBatchInserted(const std::string& table, int64_t rows);
};

} // namespace OHOS::Emulator

#endif // PLATFORM_INCLUDE_RDB_FAULTS_H
