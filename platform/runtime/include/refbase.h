#ifndef PLATFORM_INCLUDE_REFBASE_H
#define PLATFORM_INCLUDE_REFBASE_H

#include <memory>

namespace OHOS {

// The platform's strong pointer: shared ownership of platform objects (observers, remote objects).
template <typename T> using sptr = std::shared_ptr<T>;

} // namespace OHOS

#endif // PLATFORM_INCLUDE_REFBASE_H
