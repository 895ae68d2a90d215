#ifndef FUZZ_SUPPORT_SCRATCH_FOLDER_H
#define FUZZ_SUPPORT_SCRATCH_FOLDER_H

#include <string>

namespace OHOS::Fuzz {

// A fresh empty folder for one fuzzing process, in /dev/shm when it is writable (synced writes
// stay cheap) and in the temporary folder otherwise; removed with its content at exit.
// Aborts when no folder can be made.
std::string MakeScratchFolder(const std::string& prefix);

} // namespace OHOS::Fuzz

#endif // FUZZ_SUPPORT_SCRATCH_FOLDER_H
