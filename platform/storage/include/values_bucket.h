#ifndef PLATFORM_INCLUDE_VALUES_BUCKET_H
#define PLATFORM_INCLUDE_VALUES_BUCKET_H

#include <cstdint>
#include <map>
#include <string>
#include <variant>

namespace OHOS::NativeRdb {

// One value bound to a statement or stored in a bucket: null, integer, real or text.
class ValueObject {
public:
    using Type = std::variant<std::monostate, int64_t, double, std::string>;

    ValueObject() = default;
    ValueObject(int32_t value) : value_(static_cast<int64_t>(value)) {}
    ValueObject(int64_t value) : value_(value) {}
    ValueObject(double value) : value_(value) {}
    ValueObject(std::string value) : value_(std::move(value)) {}
    ValueObject(const char* value) : value_(std::string(value)) {}

    const Type& Value() const { return value_; }
    bool operator==(const ValueObject& other) const { return value_ == other.value_; }

private:
    Type value_;
};

// Column name -> value, the row an insert writes. Putting a column twice keeps the last value.
class ValuesBucket {
public:
    void PutLong(const std::string& column, int64_t value);
    void PutInt(const std::string& column, int32_t value);
    void PutDouble(const std::string& column, double value);
    void PutString(const std::string& column, const std::string& value);
    void PutNull(const std::string& column);

    bool HasColumn(const std::string& column) const;
    // Copies the value of `column` into `value`; false (value untouched) when the column is absent.
    bool GetObject(const std::string& column, ValueObject& value) const;
    size_t Size() const { return values_.size(); }
    bool IsEmpty() const { return values_.empty(); }
    // The columns in name order, for building statements.
    const std::map<std::string, ValueObject>& Values() const { return values_; }

private:
    std::map<std::string, ValueObject> values_;
};

} // namespace OHOS::NativeRdb

#endif // PLATFORM_INCLUDE_VALUES_BUCKET_H
