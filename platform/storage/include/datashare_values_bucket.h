#ifndef PLATFORM_INCLUDE_DATASHARE_VALUES_BUCKET_H
#define PLATFORM_INCLUDE_DATASHARE_VALUES_BUCKET_H

#include <map>
#include <string>

namespace OHOS::DataShare {

// Column values of one row to insert or update. Settings are text, so values are strings.
class DataShareValuesBucket {
public:
    // Sets (or replaces) the value of `column`.
    void Put(const std::string& column, const std::string& value) { values_[column] = value; }
    bool IsEmpty() const { return values_.empty(); }
    const std::map<std::string, std::string>& GetValues() const { return values_; }

private:
    std::map<std::string, std::string> values_;
};

} // namespace OHOS::DataShare

#endif // PLATFORM_INCLUDE_DATASHARE_VALUES_BUCKET_H
