#include "values_bucket.h"

namespace OHOS::NativeRdb {

void ValuesBucket::PutLong(const std::string& column, int64_t value)
{
    values_[column] = ValueObject(value);
}

void ValuesBucket::PutInt(const std::string& column, int32_t value)
{
    values_[column] = ValueObject(value);
}

void ValuesBucket::PutDouble(const std::string& column, double value)
{
    values_[column] = ValueObject(value);
}

void ValuesBucket::PutString(const std::string& column, const std::string& value)
{
    values_[column] = ValueObject(value);
}

void ValuesBucket::PutNull(const std::string& column)
{
    values_[column] = ValueObject();
}

bool ValuesBucket::HasColumn(const std::string& column) const
{
    return values_.count(column) != 0;
}

bool ValuesBucket::GetObject(const std::string& column, ValueObject& value) const
{
    auto found = values_.find(column);
    if (found == values_.end()) {
        return false;
    }
    value = found->second;
    return true;
}

} // namespace OHOS::NativeRdb
