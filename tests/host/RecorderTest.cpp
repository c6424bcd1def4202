#include "HostSession.h"
#include "TempDir.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <player.h>
#include <recorder.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Another program, until the object goes.
class Program {
public:
    explicit Program(const std::string& command)
        : _pid(fork())
    {
        if (_pid == 0) {
            execl("/bin/sh", "sh", "-c", ("exec " + command + " >/dev/null 2>&1").c_str(), nullptr);
            _exit(127);
        }
    }
    ~Program()
    {
        kill(_pid, SIGKILL);
        waitpid(_pid, nullptr, 0);
    }
    void signal(int number) const { kill(_pid, number); }

private:
    const pid_t _pid;
};

// A sound server that a test may hold and restart, instead of the session's.
class Server {
public:
    explicit Server(const TempDir& folder)
        : _server("env PULSE_RUNTIME_PATH=" + folder.path() + " PULSE_STATE_PATH=" + folder.path()
            + " pulseaudio -n --daemonize=no --exit-idle-time=-1 --use-pid-file=no"
              " -L 'module-null-source source_name=microphone'"
              " -L 'module-native-protocol-unix auth-anonymous=1 socket="
            + folder.file("socket") + "'")
    {
        setenv("PULSE_SERVER", ("unix:" + folder.file("socket")).c_str(), 1);
        EXPECT_TRUE(
            HostSession().waitFor([] { return system("pactl info >/dev/null 2>&1") == 0; }));
    }
    void hold() const { _server.signal(SIGSTOP); }
    void goOn() const { _server.signal(SIGCONT); }

    // Somebody who records there, once the server knows.
    static std::unique_ptr<Program> record()
    {
        auto recorder = std::make_unique<Program>("parec -d microphone");
        EXPECT_TRUE(HostSession().waitFor(
            [] { return system("pactl list short source-outputs | grep -q .") == 0; }));
        return recorder;
    }

private:
    const Program _server;
};

class RecorderTest : public testing::Test {
protected:
    static int look(recorder_device_state_e* state)
    {
        return recorder_get_device_state(RECORDER_TYPE_AUDIO, state);
    }
    bool waitFor(int answer, recorder_device_state_e expected)
    {
        return session.waitFor([=] {
            recorder_device_state_e state = expected;
            return look(&state) == answer && state == expected;
        });
    }

    HostSession session;
};

TEST_F(RecorderTest, BadArgumentsAreRefused)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_INVALID_PARAMETER, look(nullptr));
    EXPECT_EQ(RECORDER_ERROR_INVALID_PARAMETER,
        recorder_get_device_state(static_cast<recorder_type_e>(2), &state));
    EXPECT_EQ(RECORDER_ERROR_NOT_SUPPORTED, recorder_get_device_state(RECORDER_TYPE_VIDEO, &state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_PAUSED, state);
}

TEST_F(RecorderTest, FollowsTheRecordingOfAnotherApplication)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);

    ASSERT_EQ(0, system("hostctl record start"));
    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_RECORDING));
    ASSERT_EQ(0, system("hostctl record stop"));
    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_IDLE));
}

TEST_F(RecorderTest, TheFirstLookKnowsAlready)
{
    ASSERT_EQ(0, system("hostctl record start"));

    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_RECORDING, state);
    ASSERT_EQ(0, system("hostctl record stop"));
}

TEST_F(RecorderTest, ListeningToWhatIsPlayedIsNoRecording)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    const Program listener("parec -d watch.monitor");
    ASSERT_TRUE(
        session.waitFor([] { return system("pactl list short source-outputs | grep -q .") == 0; }));

    // The recording that follows is seen, so the listening was, too.
    ASSERT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
    const Program recorder("parec -d microphone");
    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_RECORDING));
}

TEST_F(RecorderTest, WithoutAMicrophoneItIsNotSupported)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    ASSERT_EQ(RECORDER_ERROR_NONE, look(&state));
    ASSERT_EQ(0, system("pactl unload-module module-null-source"));

    EXPECT_TRUE(waitFor(RECORDER_ERROR_NOT_SUPPORTED, RECORDER_DEVICE_STATE_IDLE));
}

TEST_F(RecorderTest, TheFirstLookAfterTheServersRestartKnowsAlready)
{
    const TempDir folder;
    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    {
        const Server server(folder);
        ASSERT_EQ(RECORDER_ERROR_NONE, look(&state));
        EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
    }
    const Server server(folder);
    const std::unique_ptr<Program> recorder = Server::record();

    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_RECORDING, state);
}

TEST_F(RecorderTest, WhoMadeAPlayerKnowsAlready)
{
    const TempDir folder;
    const Server server(folder);
    const std::unique_ptr<Program> recorder = Server::record();
    player_h player = nullptr;
    ASSERT_EQ(PLAYER_ERROR_NONE, player_create(&player));
    EXPECT_TRUE(session.waitFor([] {
        return system("pactl list clients | grep -q 'application.name = \"microphone watch\"'")
            == 0;
    }));
    // By the next answer of the server, the watch has had its own.
    ASSERT_EQ(0, system("pactl info >/dev/null"));
    server.hold();

    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_RECORDING, state);
    player_destroy(player);
}

TEST_F(RecorderTest, AServerThatHangsIsAskedAgainWhenItGoesOn)
{
    const TempDir folder;
    const Server server(folder);
    const std::unique_ptr<Program> recorder = Server::record();
    server.hold();

    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
    server.goOn();

    EXPECT_TRUE(waitFor(RECORDER_ERROR_NONE, RECORDER_DEVICE_STATE_RECORDING));
}

TEST_F(RecorderTest, WithoutASoundServerItIsIdle)
{
    setenv("PULSE_SERVER", "unix:/nonexistent/socket", 1);
    recorder_device_state_e state = RECORDER_DEVICE_STATE_PAUSED;
    EXPECT_EQ(RECORDER_ERROR_NONE, look(&state));
    EXPECT_EQ(RECORDER_DEVICE_STATE_IDLE, state);
}

TEST_F(RecorderTest, ALookDoesNotWait)
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    const auto timed = [&](int looks) {
        using namespace std::chrono;
        const auto start = steady_clock::now();
        for (int i = 0; i < looks; ++i)
            look(&state);
        return duration<double, std::milli>(steady_clock::now() - start).count();
    };
    const double first = timed(1);
    const double later = timed(1000);
    RecordProperty("first_look_ms", std::to_string(first));
    RecordProperty("thousand_looks_ms", std::to_string(later));
    EXPECT_LT(first, 150);
    EXPECT_LT(later, 100);
}

} // namespace
