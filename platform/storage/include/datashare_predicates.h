#ifndef PLATFORM_INCLUDE_DATASHARE_PREDICATES_H
#define PLATFORM_INCLUDE_DATASHARE_PREDICATES_H

#include <string>
#include <utility>
#include <vector>

namespace OHOS::DataShare {

// Which rows a query or update touches: all conditions must hold (an empty set matches every row).
class DataSharePredicates {
public:
    struct Condition {
        std::string column;
        std::string value;
    };

    // Adds "column = value"; returns *this so calls can be chained.
    DataSharePredicates* EqualTo(const std::string& column, const std::string& value)
    {
        conditions_.push_back({column, value});
        return this;
    }
    const std::vector<Condition>& GetConditions() const { return conditions_; }

private:
    std::vector<Condition> conditions_;
};

} // namespace OHOS::DataShare

#endif // PLATFORM_INCLUDE_DATASHARE_PREDICATES_H
