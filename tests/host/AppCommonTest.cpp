#include "Probing.h"
#include "TempDir.h"

#include <app_common.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace fs = std::filesystem;

namespace {

class AppCommonTest : public testing::Test {
protected:
    std::string foldersOf(const std::optional<std::string>& package) const
    {
        return probe({ "folders" },
            { { "ALARM_HOST_HOME", home.path() }, { "ALARM_HOST_PACKAGE", package } });
    }

    void install(const std::string& folder) const { fs::create_directories(home.file(folder)); }

    TempDir home;
};

} // namespace

TEST_F(AppCommonTest, ThePathsAreThePackagesAndEndInASlash)
{
    install("ro/com.velmora.alarm/res");
    install("ro/com.velmora.alarm/shared/res");

    EXPECT_EQ(home.file("rw/com.velmora.alarm/data/|") + home.file("ro/com.velmora.alarm/res/|")
            + home.file("ro/com.velmora.alarm/shared/res/|")
            + home.file("rw/com.velmora.alarm/shared/trusted/"),
        foldersOf("com.velmora.alarm"));
}

TEST_F(AppCommonTest, ThePathsAreTheSameInEveryApplicationOfThePackage)
{
    install("ro/com.velmora.alarm/res");
    install("ro/com.velmora.alarm/shared/res");
    install("ro/com.velmora.alarm/bin");
    const std::string alert = home.file("ro/com.velmora.alarm/bin/com.velmora.alarm-alert");
    fs::copy(HOST_PROBE, alert);

    const CommandResult result = runCommand(inEnvironment(
        { { "ALARM_HOST_HOME", home.path() }, { "ALARM_HOST_PACKAGE", std::nullopt } },
        { alert, "folders" }));

    EXPECT_EQ(foldersOf("com.velmora.alarm"), result.out);
}

TEST_F(AppCommonTest, TheWritableFoldersAreMade)
{
    foldersOf("com.velmora.alarm");

    for (const char* folder :
        { "rw/com.velmora.alarm/data", "rw/com.velmora.alarm/shared/trusted" }) {
        struct stat status = {};
        ASSERT_EQ(0, stat(home.file(folder).c_str(), &status)) << folder;
        EXPECT_TRUE(S_ISDIR(status.st_mode));
        EXPECT_EQ(0700u, status.st_mode & 07777);
    }
}

TEST_F(AppCommonTest, AFolderThatIsNotInstalledHasNoPath)
{
    install("ro/com.velmora.alarm/shared/res");

    EXPECT_EQ(home.file("rw/com.velmora.alarm/data/|-|")
            + home.file("ro/com.velmora.alarm/shared/res/|")
            + home.file("rw/com.velmora.alarm/shared/trusted/"),
        foldersOf("com.velmora.alarm"));
}

TEST_F(AppCommonTest, AFolderThatCannotBeMadeHasNoPath)
{
    std::ofstream(home.file("rw")) << "a file";

    EXPECT_EQ("-|-|-|-", foldersOf("com.velmora.alarm"));
}

TEST_F(AppCommonTest, ALinkIsNoFolderOfThePackageAndTheLogSaysSo)
{
    fs::create_directories(home.file("rw/com.velmora.alarm"));
    fs::create_directory(home.file("elsewhere"));
    fs::create_symlink(home.file("elsewhere"), home.file("rw/com.velmora.alarm/data"));

    const CommandResult result = runCommand(probeCommand({ "folders" },
        { { "ALARM_HOST_HOME", home.path() }, { "ALARM_HOST_PACKAGE", "com.velmora.alarm" },
            { "ALARM_HOST_LOG", "E" } }));

    EXPECT_EQ("-|-|-|" + home.file("rw/com.velmora.alarm/shared/trusted/"), result.out);
    EXPECT_NE(
        std::string::npos, result.err.find("com.velmora.alarm/data is not used: it is a link"))
        << result.err;
}

TEST_F(AppCommonTest, WithoutAPackageThereAreNoPaths)
{
    EXPECT_EQ("-|-|-|-", foldersOf(std::nullopt));
    EXPECT_FALSE(fs::exists(home.file("rw")));
}

TEST_F(AppCommonTest, AnApplicationKnowsItsId)
{
    install("ro/com.velmora.alarm/bin");
    const std::string alert = home.file("ro/com.velmora.alarm/bin/com.velmora.alarm-alert");
    fs::copy(HOST_PROBE, alert);

    EXPECT_EQ("0|com.velmora.alarm-alert",
        runCommand(inEnvironment({ { "ALARM_HOST_HOME", home.path() } }, { alert, "id" })).out);
}

TEST_F(AppCommonTest, AnotherProgramHasNoId)
{
    EXPECT_EQ(std::to_string(APP_ERROR_INVALID_CONTEXT) + "|untouched", probe({ "id" }));
    EXPECT_EQ(-17825791, APP_ERROR_INVALID_CONTEXT);
}

TEST_F(AppCommonTest, TheIdNeedsAPlace)
{
    EXPECT_EQ(APP_ERROR_INVALID_PARAMETER, app_get_id(nullptr));
}
