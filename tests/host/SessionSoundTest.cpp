#include "Probing.h"
#include "SoundServer.h"
#include "TempDir.h"

#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace fs = std::filesystem;

using testing::EndsWith;

namespace {

/// Which sound server a session takes, for a user with a runtime directory of the test.
class SessionSoundTest : public testing::Test {
protected:
    SessionSoundTest() { fs::create_directory(user.file("pulse")); }

    std::string usersSocket() const { return user.file("pulse/native"); }

    /// Runs the command in a session that the user opens.
    CommandResult inSession(const std::vector<std::string>& command, Environment changes = {}) const
    {
        changes["PULSE_SERVER"] = std::nullopt;
        changes["XDG_RUNTIME_DIR"] = user.path();
        std::vector<std::string> session = { "host-session" };
        session.insert(session.end(), command.begin(), command.end());
        return runCommand(inEnvironment(changes, session));
    }

    CommandResult server() const { return inSession({ "printenv", "PULSE_SERVER" }); }

    TempDir user;
};

/// A socket of which nobody takes a connection any more.
void leaveSocket(const std::string& path)
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    memcpy(address.sun_path, path.c_str(), path.size());
    const int made = socket(AF_UNIX, SOCK_STREAM, 0);
    ASSERT_EQ(0, bind(made, reinterpret_cast<const sockaddr*>(&address), sizeof address));
    close(made);
}

/// Every command of the system but the sound server.
void linkCommandsWithoutSound(const std::string& folder)
{
    for (const auto& command : fs::directory_iterator("/usr/bin")) {
        if (command.path().filename() != "pulseaudio")
            fs::create_symlink(command.path(), fs::path(folder) / command.path().filename());
    }
    const std::string session = runCommand({ "sh", "-c", "command -v host-session" }).out;
    fs::create_symlink(session.substr(0, session.find('\n')), folder + "/host-session");
}

TEST_F(SessionSoundTest, IsTheUsersServer)
{
    const SoundServer usersServer(user);
    fs::create_symlink(user.file("socket"), usersSocket());

    EXPECT_EQ("unix:" + usersSocket() + "\n", server().out);
}

TEST_F(SessionSoundTest, IsItsOwnWhenTheUsersServerHasEnded)
{
    leaveSocket(usersSocket());

    EXPECT_THAT(server().out, EndsWith("/sound/native\n"));
    EXPECT_EQ(0, inSession({ "pactl", "info" }).status);
}

TEST_F(SessionSoundTest, IsItsOwnWhenTheUsersServerHangs)
{
    const SoundServer usersServer(user);
    fs::create_symlink(user.file("socket"), usersSocket());
    usersServer.hold();

    EXPECT_THAT(server().out, EndsWith("/sound/native\n"));
}

TEST_F(SessionSoundTest, IsMissedWhereNoServerIsInstalled)
{
    const TempDir commands;
    linkCommandsWithoutSound(commands.path());

    const CommandResult result = inSession({ "true" }, { { "PATH", commands.path() } });

    EXPECT_EQ(0, result.status);
    EXPECT_EQ("host-session: pulseaudio is not installed: tones keep their time, but nobody hears "
              "them\n",
        result.err);
}

} // namespace
