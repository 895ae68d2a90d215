#ifndef PLATFORM_INCLUDE_DATASHARE_RESULT_SET_H
#define PLATFORM_INCLUDE_DATASHARE_RESULT_SET_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace OHOS::DataShare {

// Result codes of the data-share calls.
constexpr int E_OK = 0;
constexpr int E_ERROR = -1;

// The rows a query produced, read once at query time. Starts before the first row. Getters fail
// (E_ERROR, output untouched) without a current row, for a column out of range, or for a NULL value.
// Not thread-safe: one reader at a time.
class DataShareResultSet {
public:
    using Row = std::vector<std::optional<std::string>>;

    DataShareResultSet(std::vector<std::string> columnNames, std::vector<Row> rows);

    int GetRowCount(int& count) const;
    int GetColumnCount(int& count) const;
    int GetColumnIndex(const std::string& columnName, int& columnIndex) const;
    int GoToFirstRow();
    int GoToNextRow();
    int GetString(int columnIndex, std::string& value) const;
    // Reads the column's text as a whole base-10 integer; fails on anything else.
    int GetLong(int columnIndex, int64_t& value) const;
    // Drops the rows; every later call fails.
    int Close();

private:
    const std::optional<std::string>* Cell(int columnIndex) const;

    std::vector<std::string> columnNames_;
    std::vector<Row> rows_;
    int position_ = -1;
    bool closed_ = false;
};

} // namespace OHOS::DataShare

#endif // PLATFORM_INCLUDE_DATASHARE_RESULT_SET_H
