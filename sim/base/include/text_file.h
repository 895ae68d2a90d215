#ifndef SIM_INCLUDE_TEXT_FILE_H
#define SIM_INCLUDE_TEXT_FILE_H

#include <functional>
#include <ostream>
#include <string>

namespace OHOS::Sim {

// Reads the whole file into `text`; false when it cannot be opened.
bool ReadTextFile(const std::string& path, std::string& text);

// Writes `text` to a temporary file beside `path` and renames it over `path`, so that a reader never
// sees half a file. False with an error naming the file that could not be written.
bool WriteTextFileAtomically(const std::string& path, const std::string& text, std::string& error);

// The same for a text that `write` puts out piece by piece, so that it is never held whole.
bool WriteFileAtomically(const std::string& path, const std::function<void(std::ostream&)>& write, std::string& error);

// Removes a file or a folder with everything in it; nothing to remove is fine. False with an error
// naming what could not be removed.
bool RemoveAll(const std::string& path, std::string& error);

} // namespace OHOS::Sim

#endif // SIM_INCLUDE_TEXT_FILE_H
