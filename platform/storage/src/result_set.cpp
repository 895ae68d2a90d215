#include "result_set.h"

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "rdb_errno.h"

namespace OHOS::NativeRdb {
namespace {

bool ParseWholeInteger(const std::string& text, int64_t& value)
{
    if (text.empty()) {
        return false;
    }
    errno = 0;
    char* end = nullptr;
    long long parsed = std::strtoll(text.c_str(), &end, 10);
    if (errno != 0 || *end != '\0') {
        return false;
    }
    value = parsed;
    return true;
}

bool ParseWholeReal(const std::string& text, double& value)
{
    if (text.empty()) {
        return false;
    }
    char* end = nullptr;
    double parsed = std::strtod(text.c_str(), &end);
    if (*end != '\0') {
        return false;
    }
    value = parsed;
    return true;
}

// A real as an integer: truncated toward zero, saturated at the int64 limits, NaN as 0.
int64_t RealToInteger(double real)
{
    if (std::isnan(real)) {
        return 0;
    }
    if (real <= static_cast<double>(std::numeric_limits<int64_t>::min())) {
        return std::numeric_limits<int64_t>::min();
    }
    if (real >= static_cast<double>(std::numeric_limits<int64_t>::max())) {
        return std::numeric_limits<int64_t>::max();
    }
    return static_cast<int64_t>(real);
}

// Cell conversions below leave `value` untouched when they fail.
int ToInteger(const ValueObject::Type& cell, int64_t& value)
{
    if (std::holds_alternative<int64_t>(cell)) {
        value = std::get<int64_t>(cell);
    } else if (std::holds_alternative<double>(cell)) {
        value = RealToInteger(std::get<double>(cell));
    } else if (std::holds_alternative<std::string>(cell)) {
        double real = 0.0;
        const std::string& text = std::get<std::string>(cell);
        if (ParseWholeInteger(text, value)) {
            return E_OK;
        }
        if (!ParseWholeReal(text, real)) {
            return E_INVALID_COLUMN_TYPE;
        }
        value = RealToInteger(real);
    } else {
        value = 0;
    }
    return E_OK;
}

int ToReal(const ValueObject::Type& cell, double& value)
{
    if (std::holds_alternative<int64_t>(cell)) {
        value = static_cast<double>(std::get<int64_t>(cell));
    } else if (std::holds_alternative<double>(cell)) {
        value = std::get<double>(cell);
    } else if (std::holds_alternative<std::string>(cell)) {
        return ParseWholeReal(std::get<std::string>(cell), value) ? E_OK : E_INVALID_COLUMN_TYPE;
    } else {
        value = 0.0;
    }
    return E_OK;
}

std::string ToText(const ValueObject::Type& cell)
{
    if (std::holds_alternative<int64_t>(cell)) {
        return std::to_string(std::get<int64_t>(cell));
    }
    if (std::holds_alternative<double>(cell)) {
        char buffer[32];
        std::snprintf(buffer, sizeof(buffer), "%.15g", std::get<double>(cell));
        return buffer;
    }
    if (std::holds_alternative<std::string>(cell)) {
        return std::get<std::string>(cell);
    }
    return "";
}

} // namespace

AbsSharedResultSet::AbsSharedResultSet(std::vector<std::string> columnNames, std::vector<Row> rows, int readError)
    : columnNames_(std::move(columnNames)), rows_(std::move(rows)), readError_(readError)
{
}

int AbsSharedResultSet::GetRowCount(int& count) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    if (readError_ != E_OK) {
        return readError_;
    }
    count = static_cast<int>(rows_.size());
    return E_OK;
}

int AbsSharedResultSet::GetColumnCount(int& count) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    count = static_cast<int>(columnNames_.size());
    return E_OK;
}

int AbsSharedResultSet::GetAllColumnNames(std::vector<std::string>& names) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    names = columnNames_;
    return E_OK;
}

int AbsSharedResultSet::GetRowIndex(int& position) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    position = position_;
    return E_OK;
}

int AbsSharedResultSet::GoToFirstRow()
{
    return MoveTo(0);
}

int AbsSharedResultSet::GoToNextRow()
{
    return MoveTo(position_ + 1);
}

int AbsSharedResultSet::GoToRow(int position)
{
    return MoveTo(position);
}

int AbsSharedResultSet::MoveTo(int position)
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    int rowCount = static_cast<int>(rows_.size());
    if (position >= 0 && position < rowCount) {
        position_ = position;
        return E_OK;
    }
    position_ = rowCount;
    return position >= rowCount && readError_ != E_OK ? readError_ : E_ROW_OUT_RANGE;
}

int AbsSharedResultSet::Cell(int columnIndex, const ValueObject*& cell) const
{
    if (closed_) {
        return E_ALREADY_CLOSED;
    }
    if (position_ < 0 || position_ >= static_cast<int>(rows_.size())) {
        return E_ROW_OUT_RANGE;
    }
    if (columnIndex < 0 || columnIndex >= static_cast<int>(columnNames_.size())) {
        return E_INVALID_COLUMN_INDEX;
    }
    cell = &rows_[position_][columnIndex];
    return E_OK;
}

int AbsSharedResultSet::GetLong(int columnIndex, int64_t& value) const
{
    const ValueObject* cell = nullptr;
    int error = Cell(columnIndex, cell);
    return error == E_OK ? ToInteger(cell->Value(), value) : error;
}

int AbsSharedResultSet::GetInt(int columnIndex, int& value) const
{
    int64_t wide = 0;
    int error = GetLong(columnIndex, wide);
    if (error == E_OK) {
        value = static_cast<int>(static_cast<uint32_t>(wide));
    }
    return error;
}

int AbsSharedResultSet::GetDouble(int columnIndex, double& value) const
{
    const ValueObject* cell = nullptr;
    int error = Cell(columnIndex, cell);
    return error == E_OK ? ToReal(cell->Value(), value) : error;
}

int AbsSharedResultSet::GetString(int columnIndex, std::string& value) const
{
    const ValueObject* cell = nullptr;
    int error = Cell(columnIndex, cell);
    if (error == E_OK) {
        value = ToText(cell->Value());
    }
    return error;
}

int AbsSharedResultSet::IsColumnNull(int columnIndex, bool& isNull) const
{
    const ValueObject* cell = nullptr;
    int error = Cell(columnIndex, cell);
    if (error == E_OK) {
        isNull = std::holds_alternative<std::monostate>(cell->Value());
    }
    return error;
}

int AbsSharedResultSet::Close()
{
    closed_ = true;
    rows_.clear();
    rows_.shrink_to_fit();
    return E_OK;
}

} // namespace OHOS::NativeRdb
