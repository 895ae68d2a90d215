#ifndef PLATFORM_INCLUDE_URI_H
#define PLATFORM_INCLUDE_URI_H

#include <string>
#include <utility>

namespace OHOS {

// A resource identifier such as "datashare:///authority/path/TABLE?Proxy=true&key=name".
class Uri {
public:
    explicit Uri(std::string uriString) : uriString_(std::move(uriString)) {}
    const std::string& ToString() const { return uriString_; }
    bool operator==(const Uri& other) const { return uriString_ == other.uriString_; }

private:
    std::string uriString_;
};

} // namespace OHOS

#endif // PLATFORM_INCLUDE_URI_H
