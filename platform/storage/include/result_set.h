#ifndef PLATFORM_INCLUDE_RESULT_SET_H
#define PLATFORM_INCLUDE_RESULT_SET_H

#include <cstdint>
#include <string>
#include <vector>

#include "values_bucket.h"

namespace OHOS::NativeRdb {

// The rows of one query, read completely when the query ran, so the store is free for other
// threads while the caller walks them. A result set is used by one thread at a time.
// The cursor starts before the first row. Every operation returns E_OK or an error code; a getter
// that fails leaves its output untouched. Reading the rows may have stopped early on an engine
// error: the rows read are served, and moving past them reports that error instead of
// E_ROW_OUT_RANGE.
class AbsSharedResultSet {
public:
    using Row = std::vector<ValueObject>;

    AbsSharedResultSet(std::vector<std::string> columnNames, std::vector<Row> rows, int readError);

    int GetRowCount(int& count) const;
    int GetColumnCount(int& count) const;
    int GetAllColumnNames(std::vector<std::string>& names) const;
    // Index of the current row (-1 before the first).
    int GetRowIndex(int& position) const;

    int GoToFirstRow();
    int GoToNextRow();
    // Moves to a 0-based row; out of range leaves the cursor past the end and fails.
    int GoToRow(int position);

    // Values of the current row. Integers, reals and numeric texts convert into one another as
    // SQLite converts them (GetInt keeps the low 32 bits; a real becomes an integer by truncation);
    // null reads as 0, 0.0 or "". A text that is not a number fails with E_INVALID_COLUMN_TYPE.
    int GetLong(int columnIndex, int64_t& value) const;
    int GetInt(int columnIndex, int& value) const;
    int GetDouble(int columnIndex, double& value) const;
    int GetString(int columnIndex, std::string& value) const;
    int IsColumnNull(int columnIndex, bool& isNull) const;

    bool IsClosed() const { return closed_; }
    // Releases the rows; every later call fails with E_ALREADY_CLOSED.
    int Close();

private:
    // The cell at (current row, columnIndex), or the error that prevents reading it.
    int Cell(int columnIndex, const ValueObject*& cell) const;
    int MoveTo(int position);

    std::vector<std::string> columnNames_;
    std::vector<Row> rows_;
    int readError_;
    int position_ = -1;
    bool closed_ = false;
};

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_RESULT_SET_H
