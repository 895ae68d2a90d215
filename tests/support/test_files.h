#ifndef TESTS_SUPPORT_TEST_FILES_H
#define TESTS_SUPPORT_TEST_FILES_H

#include <string>

namespace OHOS::Emulator {

// The whole content of a file; empty when it cannot be read.
std::string ReadFile(const std::string& path);

} // namespace OHOS::Emulator

#endif // TESTS_SUPPORT_TEST_FILES_H
