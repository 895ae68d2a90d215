#include "data_root.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace OHOS::Emulator {
namespace {

bool IsDirectory(const std::string& path)
{
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

TEST(DataRootTest, RootComesFromTheEnvironmentOrTheOverrideAndPathsMapUnderItOnce)
{
    SetDataRoot("");
    unsetenv("SLEEP_DATA_ROOT");
    const std::string here = std::filesystem::current_path().string();
    EXPECT_EQ(GetDataRoot(), here + "/sleep-data");
    SetDataRoot("out/./run/data/"); // relative roots are taken from the current folder
    EXPECT_EQ(MapPhonePath("/data/a"), here + "/out/run/data/data/a");
    SetDataRoot("");
    setenv("SLEEP_DATA_ROOT", "/var/tmp/sleep", 1);
    EXPECT_EQ(MapPhonePath("/data/a"), "/var/tmp/sleep/data/a");

    SetDataRoot("/tmp/root/"); // the override wins over the environment
    const std::pair<std::string, std::string> cases[] = {
        {"/data/service/el1/public/device_standby/sleep_shared_pref.xml",
            "/tmp/root/data/service/el1/public/device_standby/sleep_shared_pref.xml"},
        {"/tmp/root/data/x", "/tmp/root/data/x"}, {"/tmp/root", "/tmp/root"},
        {"/tmp/rootless/x", "/tmp/root/tmp/rootless/x"}, {"relative/x", ""}};
    for (const auto& [phonePath, expected] : cases) {
        EXPECT_EQ(MapPhonePath(phonePath), expected) << phonePath;
    }
    SetDataRoot("");
    unsetenv("SLEEP_DATA_ROOT");
}

TEST(DataRootTest, ScopedRootIsFreshAndRemovedAndRestoresThePrevious)
{
    SetDataRoot("/before");
    std::string scratch;
    {
        ScopedDataRoot root;
        scratch = root.Path();
        ASSERT_TRUE(IsDirectory(scratch));
        EXPECT_EQ(GetDataRoot(), scratch);
        const std::string nested = MapPhonePath("/data/service/el3/100/device_standby");
        EXPECT_TRUE(MakeDirectories(nested) && MakeDirectories(nested) && IsDirectory(nested));
        std::ofstream(scratch + "/file") << "x";
        EXPECT_FALSE(MakeDirectories(scratch + "/file/below"));
    }
    EXPECT_FALSE(IsDirectory(scratch));
    EXPECT_EQ(GetDataRoot(), "/before");
    SetDataRoot("");
}

} // namespace
} // namespace OHOS::Emulator
