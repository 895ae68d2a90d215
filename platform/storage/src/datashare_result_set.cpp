#include "datashare_result_set.h"

#include <charconv>
#include <utility>

namespace OHOS::DataShare {

DataShareResultSet::DataShareResultSet(std::vector<std::string> columnNames, std::vector<Row> rows)
    : columnNames_(std::move(columnNames)), rows_(std::move(rows))
{
}

int DataShareResultSet::GetRowCount(int& count) const
{
    if (closed_) {
        return E_ERROR;
    }
    count = static_cast<int>(rows_.size());
    return E_OK;
}

int DataShareResultSet::GetColumnCount(int& count) const
{
    if (closed_) {
        return E_ERROR;
    }
    count = static_cast<int>(columnNames_.size());
    return E_OK;
}

int DataShareResultSet::GetColumnIndex(const std::string& columnName, int& columnIndex) const
{
    if (closed_) {
        return E_ERROR;
    }
    for (size_t i = 0; i < columnNames_.size(); ++i) {
        if (columnNames_[i] == columnName) {
            columnIndex = static_cast<int>(i);
            return E_OK;
        }
    }
    return E_ERROR;
}

int DataShareResultSet::GoToFirstRow()
{
    if (closed_ || rows_.empty()) {
        return E_ERROR;
    }
    position_ = 0;
    return E_OK;
}

int DataShareResultSet::GoToNextRow()
{
    if (closed_ || position_ + 1 >= static_cast<int>(rows_.size())) {
        return E_ERROR;
    }
    ++position_;
    return E_OK;
}

const std::optional<std::string>* DataShareResultSet::Cell(int columnIndex) const
{
    if (closed_ || position_ < 0 || position_ >= static_cast<int>(rows_.size()) || columnIndex < 0 ||
        columnIndex >= static_cast<int>(columnNames_.size())) {
        return nullptr;
    }
    const Row& row = rows_[position_];
    if (columnIndex >= static_cast<int>(row.size()) || !row[columnIndex].has_value()) {
        return nullptr;
    }
    return &row[columnIndex];
}

int DataShareResultSet::GetString(int columnIndex, std::string& value) const
{
    const std::optional<std::string>* cell = Cell(columnIndex);
    if (cell == nullptr) {
        return E_ERROR;
    }
    value = **cell;
    return E_OK;
}

int DataShareResultSet::GetLong(int columnIndex, int64_t& value) const
{
    const std::optional<std::string>* cell = Cell(columnIndex);
    if (cell == nullptr) {
        return E_ERROR;
    }
    const std::string& text = **cell;
    int64_t parsed = 0;
    auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), parsed);
    if (ec != std::errc() || end != text.data() + text.size() || text.empty()) {
        return E_ERROR;
    }
    value = parsed;
    return E_OK;
}

int DataShareResultSet::Close()
{
    closed_ = true;
    rows_.clear();
    columnNames_.clear();
    position_ = -1;
    return E_OK;
}

} // namespace OHOS::DataShare
