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

    // Who the program is in the session of the directory.
    std::string identityOf(const std::string& program, Environment changes = {}) const
    {
        changes.emplace("ALARM_HOST_HOME", directory.path());
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

    static void become(uid_t user)
    {
        ASSERT_EQ(0, setresgid(user, user, user));
        ASSERT_EQ(0, setresuid(user, user, user));
    }

    // Why a call refuses the place; "used" when it does not.
    template <typename Call>
    static std::string refusal(Call call, const std::string& path)
    {
        try {
            call(path);
            return "used";
        } catch (const std::system_error& error) {
            const std::string text = error.what();
            const std::string start = path + " is not used: ";
            return text.substr(0, start.size()) == start ? text.substr(start.size()) : text;
        }
    }

    // A directory that is there, of that mode and owner.
    std::string made(const std::string& folder, mode_t mode, uid_t owner = geteuid()) const
    {
        std::string path = directory.file(folder);
        fs::create_directories(path);
        EXPECT_EQ(0, chown(path.c_str(), owner, static_cast<gid_t>(-1)));
        EXPECT_EQ(0, chmod(path.c_str(), mode));
        return path;
    }

    TempDir directory;
};

const uid_t kAnotherUser = 65534;

// What a session falls back to; that of this machine is not the test's.
std::string machineZone()
{
    std::error_code error;
    const std::string target = fs::read_symlink("/etc/localtime", error);
    const auto at = target.find("/zoneinfo/");
    return at == std::string::npos ? "UTC" : target.substr(at + 10);
}

} // namespace

TEST_F(SessionTest, HasOneHostd)
{
    const CommandResult second = runCommand({ "hostd" });

    EXPECT_EQ(1, second.status);
    EXPECT_EQ("hostd: the bus does not give the name com.velmora.host; most likely another hostd "
              "runs in this session\n",
        second.err);
}

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

TEST_F(SessionTest, AProgramMayBeInstalledByALink)
{
    const std::string program = installed("elsewhere", "com.velmora.alarm-test");
    const std::string tool = installed("elsewhere", "tool");
    fs::create_directories(directory.file("packages/com.velmora.alarm/bin"));
    for (const std::string& each : { program, tool })
        fs::create_symlink(each,
            directory.file("packages/com.velmora.alarm/bin/" + fs::path(each).filename().string()));

    EXPECT_EQ("com.velmora.alarm|com.velmora.alarm-test", identityOf(program));
    EXPECT_EQ(
        "com.velmora.alarm|", identityOf(tool, { { "ALARM_HOST_PACKAGE", "com.velmora.other" } }));
}

TEST_F(SessionTest, AProgramThatLiesAsAnInstalledOneDoesIsNotInstalled)
{
    const std::string program = installed("elsewhere/com.velmora.alarm/bin", "com.velmora.alarm");

    EXPECT_EQ("|", identityOf(program, { { "ALARM_HOST_PACKAGE", std::nullopt } }));
}

TEST_F(SessionTest, AProgramThatIsReplacedWhileItRunsIsStillItself)
{
    const std::string program = directory.file("program");
    fs::copy("/bin/sleep", program);
    const BackgroundCommand running({ program, "100" });
    EXPECT_EQ(program, host::programOfProcess(running.id()));

    fs::remove(program);

    EXPECT_EQ(program, host::programOfProcess(running.id()));
    EXPECT_EQ("", host::programOfProcess(0));
}

TEST_F(SessionTest, AnyOtherProgramIsOfTheNamedPackage)
{
    const Environment named = { { "ALARM_HOST_PACKAGE", "com.velmora.alarm" } };

    EXPECT_EQ("com.velmora.alarm|", identityOf(HOST_PROBE, named));
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

TEST_F(SessionTest, TakesNoLinkAsItsDirectory)
{
    const std::string target = made("target", 0700);
    fs::create_symlink(target, directory.file("link"));

    for (const std::string& path : { directory.file("link"), directory.file("link/") })
        EXPECT_THROW(host::makeDirectory(path), std::system_error) << path;
    EXPECT_EQ("it is a link: Too many levels of symbolic links",
        refusal(host::makeDirectory, directory.file("link")));
}

TEST_F(SessionTest, FollowsALinkOnTheWayWhereNobodyElseCanWrite)
{
    made("target", 0755);
    fs::create_symlink(directory.file("target"), made("own", 0755) + "/link");
    const std::string below = directory.file("own/link/below");

    EXPECT_EQ("used", refusal(host::makeDirectory, below));
    EXPECT_EQ(0700u, modeOf(directory.file("target/below")));
    EXPECT_EQ(0755u, modeOf(directory.file("target")));

    for (const mode_t mode : { 0775, 01777 }) {
        made("own", mode);
        EXPECT_EQ(directory.file("own/link")
                + " is not used: it is a link in a directory that "
                  "others can write to: Too many levels of symbolic links",
            refusal(host::makeDirectory, below));
    }
}

TEST_F(SessionTest, ClosesItsDirectoryToOthers)
{
    for (const mode_t mode : { 0755, 0775, 0500 }) {
        const std::string path = made("own", mode);
        EXPECT_EQ("used", refusal(host::makeDirectory, path));
        EXPECT_EQ(0700u, modeOf(path)) << mode;
    }
}

TEST_F(SessionTest, TakesNoDirectoryThatEverybodyCanWriteTo)
{
    const std::string path = made("public", 01777);

    EXPECT_EQ(
        "everybody can write to it: Operation not permitted", refusal(host::makeDirectory, path));
    EXPECT_EQ(01777u, modeOf(path));
    EXPECT_EQ("used", refusal(host::makeDirectory, path + "/below"));
}

TEST_F(SessionTest, TakesNothingOfAnotherUser)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can give a file to another user";
    const std::string theirs = made("theirs", 0700, kAnotherUser);
    const std::string file = directory.file("file");
    std::ofstream(file) << "theirs";
    ASSERT_EQ(0, chown(file.c_str(), kAnotherUser, kAnotherUser));

    const std::string reason = "it belongs to user 65534: Operation not permitted";
    EXPECT_EQ(reason, refusal(host::makeDirectory, theirs));
    EXPECT_EQ(reason, refusal(host::makePrivateFile, file));
    EXPECT_EQ(theirs + " is not used: everybody can replace what it holds: Operation not permitted",
        refusal(host::makeDirectory, made("theirs", 0777, kAnotherUser) + "/below"));
}

TEST_F(SessionTest, TheFolderBelowTmpIsTheUsersOwn)
{
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can be another user, whose folder below /tmp is not in use";
    const uid_t user = 2000000000U + static_cast<uid_t>(getpid());
    const std::string folder = "/tmp/" + std::to_string(user);
    const auto runtimePathOfUser = [user] {
        become(user);
        unsetenv("ALARM_HOST_RUNTIME");
        unsetenv("XDG_RUNTIME_DIR");
        std::string path;
        try {
            path = host::runtimePath();
        } catch (const std::system_error& error) {
            path = error.what();
        }
        fprintf(stderr, "%s", path.c_str());
        _exit(0);
    };

    ASSERT_TRUE(fs::create_directory(folder));
    EXPECT_EXIT(runtimePathOfUser(), testing::ExitedWithCode(0),
        folder + " is not used: it belongs to user 0: Operation not permitted$");
    fs::remove(folder);
    fs::create_directory_symlink(made("target", 0777), folder);
    EXPECT_EXIT(runtimePathOfUser(), testing::ExitedWithCode(0),
        folder + " is not used: it is a link: Too many levels of symbolic links$");
    fs::remove(folder);
    EXPECT_EXIT(runtimePathOfUser(), testing::ExitedWithCode(0), "^" + folder + "/alarm-host/$");
    EXPECT_EQ(0700u, modeOf(folder));
    EXPECT_EQ(0700u, modeOf(folder + "/alarm-host"));
    fs::remove_all(folder);
}

TEST_F(SessionTest, ItsFilesAreTheUsersAloneWhateverTheUmask)
{
    const std::string file = directory.file("file");
    for (const mode_t mask : { 0, 0277 }) {
        const mode_t before = umask(mask);
        host::makePrivateFile(file);
        umask(before);
        EXPECT_EQ(0600u, modeOf(file)) << mask;
        fs::remove(file);
    }

    std::ofstream(file) << "kept";
    chmod(file.c_str(), 0666);
    host::makePrivateFile(file);
    EXPECT_EQ(0600u, modeOf(file));
    EXPECT_EQ(4u, fs::file_size(file));
}

TEST_F(SessionTest, FollowsNoLinkToAFile)
{
    std::ofstream(directory.file("target")) << "another's";
    chmod(directory.file("target").c_str(), 0644);
    for (const char* target : { "target", "missing" }) {
        const std::string link = directory.file("link");
        fs::create_symlink(directory.file(target), link);
        EXPECT_EQ("it is a link: Too many levels of symbolic links",
            refusal(host::makePrivateFile, link));
        fs::remove(link);
    }
    EXPECT_EQ(0644u, modeOf(directory.file("target")));
    EXPECT_FALSE(fs::exists(directory.file("missing")));
    EXPECT_EQ("it is no regular file: Invalid argument",
        refusal(host::makePrivateFile, made("folder", 0700)));
}
