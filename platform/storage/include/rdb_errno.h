#ifndef PLATFORM_INCLUDE_RDB_ERRNO_H
#define PLATFORM_INCLUDE_RDB_ERRNO_H

namespace OHOS::NativeRdb {

// Result codes of the relational store. E_OK is success; every failure has its own non-zero code.
constexpr int E_OK = 0;
constexpr int E_BASE = 14800000;
constexpr int E_ERROR = E_BASE;                       // unclassified engine failure
constexpr int E_INVALID_ARGS = E_BASE + 1;            // empty table name, empty bucket, bad SQL text
constexpr int E_INVALID_FILE_PATH = E_BASE + 2;       // path empty, not creatable or file missing
constexpr int E_CANNOT_OPEN = E_BASE + 3;             // the database file cannot be opened
constexpr int E_SQLITE_ERROR = E_BASE + 4;            // SQL error (no such table, syntax)
constexpr int E_SQLITE_FULL = E_BASE + 5;             // the disk is full
constexpr int E_SQLITE_BUSY = E_BASE + 6;             // the file is locked by another process
constexpr int E_SQLITE_CORRUPT = E_BASE + 7;          // the file is not a database or is damaged
constexpr int E_SQLITE_IOERR = E_BASE + 8;            // a read or write of the file failed
constexpr int E_SQLITE_CONSTRAINT = E_BASE + 9;       // a constraint was violated
constexpr int E_ROW_OUT_RANGE = E_BASE + 10;          // no current row, or moved past the last one
constexpr int E_INVALID_COLUMN_INDEX = E_BASE + 11;   // column index outside the result
constexpr int E_INVALID_COLUMN_TYPE = E_BASE + 12;    // the value cannot be read as the asked type
constexpr int E_ALREADY_CLOSED = E_BASE + 13;         // the result set was closed
constexpr int E_NO_TRANSACTION = E_BASE + 14;         // commit or roll back without a transaction
constexpr int E_TRANSACTION_IN_EXECUTE = E_BASE + 15; // a transaction is already open on this thread
constexpr int E_MULTIPLE_STATEMENTS = E_BASE + 16;    // more than one statement in one call
constexpr int E_NOT_SUPPORTED = E_BASE + 17;          // a setting this store cannot honour
constexpr int E_SQLITE_READONLY = E_BASE + 18;        // a write through a read-only store

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_RDB_ERRNO_H
