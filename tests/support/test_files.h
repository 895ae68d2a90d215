#ifndef TESTS_SUPPORT_TEST_FILES_H
#define TESTS_SUPPORT_TEST_FILES_H

#include <map>
#include <string>

namespace OHOS::Emulator {

// The whole content of a file; empty when it cannot be read.
std::string ReadFile(const std::string& path);

// Every regular file below `folder` by its relative path, with its bytes; not SQLite's write-ahead
// log and its index, which carry random salts (the database files themselves are read).
std::map<std::string, std::string> ReadTree(const std::string& folder);

// Fails the test unless `actual` holds the files of `expected` (as ReadTree reads them), no more,
// each with the same bytes.
void ExpectSameTrees(const std::string& expected, const std::string& actual);

} // namespace OHOS::Emulator

#endif // TESTS_SUPPORT_TEST_FILES_H
