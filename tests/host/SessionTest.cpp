#include "host/common/Session.h"

#include "Probing.h"
#include "TempDir.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

unsigned modeOf(const std::string& path)
{
    struct stat status = {};
    EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
    return status.st_mode & 07777;
}

class SessionTest : public testing::Test {
protected:
    // The probe as an installed program, at folder below the directory.
    std::string installed(const std::string& folder, const std::string& name) const
    {
        fs::create_directories(directory.file(folder));
        fs::copy(HOST_PROBE, directory.file(folder + "/" + name));
        return directory.file(folder + "/" + name);
    }

    static std::string identityOf(const std::string& program, const Environment& changes = {})
    {
        const CommandResult result = runCommand(inEnvironment(changes, { program, "identity" }));
        EXPECT_EQ(0, result.status) << result.err;
        return result.out;
    }

    // Only what the test says about places.
    Environment places(const Environment& said) const
    {
        Environment changes = { { "ALARM_HOST_HOME", std::nullopt },
            { "ALARM_HOST_RUNTIME", std::nullopt }, { "ALARM_HOST_LOCALTIME", std::nullopt },
            { "XDG_STATE_HOME", std::nullopt }, { "XDG_RUNTIME_DIR", directory.file("run") },
            { "HOME", directory.file("user") } };
        for (const auto& [name, value] : said)
            changes[name] = value;
        return changes;
    }

    static std::string pathsOf(const Environment& changes) { return probe({ "paths" }, changes); }

    std::string zoneBy(const std::string& target) const
    {
        const std::string link = directory.file("localtime");
        fs::create_symlink(target, link);
        const std::string paths = pathsOf(places({ { "ALARM_HOST_LOCALTIME", link } }));
        return paths.substr(paths.rfind('|') + 1);
    }

    TempDir directory;
};

// What a session falls back to; that of this machine is not the test's.
std::string machineZone()
{
    std::error_code error;
    const std::string target = fs::read_symlink("/etc/localtime", error);
    const auto at = target.find("/zoneinfo/");
    return at == std::string::npos ? "UTC" : target.substr(at + 10);
}

} // namespace

TEST_F(SessionTest, AnApplicationIsNamedByItsFile)
{
    const std::string program = installed("ro/com.velmora.alarm/bin", "com.velmora.alarm-alert");

    EXPECT_EQ("com.velmora.alarm|com.velmora.alarm-alert",
        identityOf(program, { { "ALARM_HOST_PACKAGE", "com.velmora.other" } }));
}

TEST_F(SessionTest, AnApplicationMayBeCalledAsItsPackage)
{
    EXPECT_EQ("com.velmora.alarm|com.velmora.alarm",
        identityOf(installed("ro/com.velmora.alarm/bin", "com.velmora.alarm")));
}

TEST_F(SessionTest, ALinkDoesNotRenameAnApplication)
{
    const std::string program = installed("ro/com.velmora.alarm/bin", "com.velmora.alarm-alert");
    fs::create_symlink(program, directory.file("alert"));

    EXPECT_EQ("com.velmora.alarm|com.velmora.alarm-alert", identityOf(directory.file("alert")));
}

TEST_F(SessionTest, AnyOtherProgramIsOfTheNamedPackage)
{
    const Environment named = { { "ALARM_HOST_PACKAGE", "com.velmora.alarm" } };

    EXPECT_EQ("com.velmora.alarm|", identityOf(HOST_PROBE, named));
    EXPECT_EQ("com.velmora.alarm|", identityOf(installed("ro/com.velmora.x/bin", "tool"), named));
    EXPECT_EQ("com.velmora.alarm|",
        identityOf(installed("ro/com.velmora.x/lib", "com.velmora.x"), named));
    EXPECT_EQ("com.velmora.alarm|", identityOf(installed("host/bin", "hostctl"), named));
}

TEST_F(SessionTest, AProgramWithoutAPackageHasNone)
{
    EXPECT_EQ("|", identityOf(HOST_PROBE, { { "ALARM_HOST_PACKAGE", std::nullopt } }));
}

TEST_F(SessionTest, LiesWhereTheEnvironmentSays)
{
    const std::string home = directory.file("deep/home");
    const std::string runtime = directory.file("deep/runtime/");

    EXPECT_EQ(home + "/|" + runtime + "|/somewhere/localtime|" + machineZone(),
        pathsOf(places({ { "ALARM_HOST_HOME", home }, { "ALARM_HOST_RUNTIME", runtime },
            { "ALARM_HOST_LOCALTIME", "/somewhere/localtime" } })));

    EXPECT_EQ(0700u, modeOf(home));
    EXPECT_EQ(0700u, modeOf(runtime));
}

TEST_F(SessionTest, LiesInTheUsersFoldersOtherwise)
{
    EXPECT_EQ(directory.file("user/.local/state/alarm-host/|")
            + directory.file("run/alarm-host/|/opt/etc/localtime|") + machineZone(),
        pathsOf(places({})));
    EXPECT_EQ(directory.file("state/alarm-host/|")
            + directory.file("run/alarm-host/|/opt/etc/localtime|") + machineZone(),
        pathsOf(places({ { "XDG_STATE_HOME", directory.file("state") } })));

    EXPECT_EQ(0700u, modeOf(directory.file("state/alarm-host")));
}

TEST_F(SessionTest, AnEmptyVariableSaysNothing)
{
    EXPECT_EQ(pathsOf(places({})),
        pathsOf(places({ { "ALARM_HOST_HOME", "" }, { "ALARM_HOST_RUNTIME", "" },
            { "ALARM_HOST_LOCALTIME", "" }, { "XDG_STATE_HOME", "" } })));
}

TEST_F(SessionTest, ItsPathsAreAbsolute)
{
    const CommandResult result = runCommand(
        inEnvironment(places({ { "ALARM_HOST_HOME", "home" }, { "ALARM_HOST_RUNTIME", "run" } }),
            { "env", "--chdir=" + directory.path(), HOST_PROBE, "paths" }));

    ASSERT_EQ(0, result.status) << result.err;
    EXPECT_EQ(0u, result.out.find(directory.file("home/|") + directory.file("run/|")));
}

TEST_F(SessionTest, NeedsNoOtherFolderThanItsOwn)
{
    EXPECT_NE("",
        pathsOf(places({ { "ALARM_HOST_HOME", directory.file("home") },
            { "ALARM_HOST_RUNTIME", directory.file("runtime") },
            { "TMPDIR", directory.file("missing") }, { "HOME", std::nullopt } })));
}

TEST_F(SessionTest, AFileInItsPlaceIsAnError)
{
    std::ofstream(directory.file("home")) << "a file";

    const CommandResult result = runCommand(
        probeCommand({ "paths" }, places({ { "ALARM_HOST_HOME", directory.file("home") } })));

    EXPECT_EQ(1, result.status);
}

TEST_F(SessionTest, KnowsItsZoneByTheLink)
{
    EXPECT_EQ("Europe/Berlin", zoneBy("/usr/share/zoneinfo/Europe/Berlin"));
}

TEST_F(SessionTest, KnowsAZoneOfThreeParts)
{
    EXPECT_EQ("America/Argentina/Ushuaia", zoneBy("/usr/share/zoneinfo/America/Argentina/Ushuaia"));
}

TEST_F(SessionTest, KnowsItsZoneByARelativeLink)
{
    EXPECT_EQ("Europe/Berlin", zoneBy("../usr/share/zoneinfo/Europe/Berlin"));
}

TEST_F(SessionTest, KnowsItsZoneByALinkBesideTheZoneData)
{
    EXPECT_EQ("Europe/Berlin", zoneBy("zoneinfo/Europe/Berlin"));
}

TEST_F(SessionTest, KnowsItsZoneWhereverTheZoneDataLie)
{
    EXPECT_EQ("Europe/Berlin", zoneBy("/my-zoneinfo/usr/zoneinfo/Europe/Berlin"));
}

TEST_F(SessionTest, ALinkToElsewhereTellsNoZone)
{
    EXPECT_EQ(machineZone(), zoneBy("/etc/hostname"));
}

TEST_F(SessionTest, MakesADirectoryWithItsParents)
{
    host::makeDirectory(directory.file("a/b//c/"));
    host::makeDirectory(directory.file("a/b/c"));

    EXPECT_TRUE(fs::is_directory(directory.file("a/b/c")));
    EXPECT_EQ(0700u, modeOf(directory.file("a/b")));
}

TEST_F(SessionTest, MakesNoDirectoryInAFilesPlace)
{
    std::ofstream(directory.file("file")) << "a file";

    EXPECT_THROW(host::makeDirectory(directory.file("file")), std::system_error);
    EXPECT_THROW(host::makeDirectory(directory.file("file/")), std::system_error);
    EXPECT_THROW(host::makeDirectory(directory.file("file/below")), std::system_error);
    EXPECT_THROW(host::makeDirectory(""), std::system_error);
}
