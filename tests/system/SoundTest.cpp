#include "Listener.h"
#include "RingStory.h"
#include "SoundServer.h"

#include <cmath>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using testing::HasSubstr;

// An alarm begins at level 1, far below the tone's own level.
const int kAudible = 40;

double now()
{
    timespec time = {};
    clock_gettime(CLOCK_REALTIME, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// The process of the session's sound server.
pid_t soundServer()
{
    const char* const scheme = "unix:";
    const char* address = getenv("PULSE_SERVER");
    sockaddr_un name = {};
    name.sun_family = AF_UNIX;
    const std::string path = address ? address + strlen(scheme) : "";
    path.copy(name.sun_path, sizeof(name.sun_path) - 1);
    const int socket = ::socket(AF_UNIX, SOCK_STREAM, 0);
    ucred credentials = {};
    socklen_t size = sizeof(credentials);
    EXPECT_EQ(0, connect(socket, reinterpret_cast<const sockaddr*>(&name), sizeof(name)));
    EXPECT_EQ(0, getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size));
    close(socket);
    return credentials.pid;
}

// Ends it and starts it as it was.
std::unique_ptr<Program> restartSoundServer()
{
    const pid_t former = soundServer();
    const std::string process = "/proc/" + std::to_string(former);
    std::ifstream arguments(process + "/cmdline");
    const std::filesystem::path socket(getenv("PULSE_SERVER") + strlen("unix:"));
    const std::string folder = socket.parent_path();
    std::string command = "env PULSE_RUNTIME_PATH=" + folder + " PULSE_STATE_PATH=" + folder;
    for (std::string argument; std::getline(arguments, argument, '\0');)
        command += " '" + argument + "'";
    kill(former, SIGKILL);
    auto server = std::make_unique<Program>(command);
    EXPECT_TRUE(HostSession().waitFor([] { return runCommand({ "pactl", "info" }).status == 0; }));
    return server;
}

// The highest sample of each tenth of a second.
std::vector<int> levels(const Samples& heard)
{
    const std::ptrdiff_t tenth = kRate / 10;
    std::vector<int> found;
    for (auto at = heard.begin(); heard.end() - at >= tenth; at += tenth)
        found.push_back(peak({ at, at + tenth }));
    return found;
}

/// Alarms as the sound server's monitor hears them.
class SoundTest : public RingStory {
protected:
    // A tone that sounds all the time, a bit more than three periods a second.
    std::string steadyTone(double hertz = 660, double seconds = 0.3)
    {
        std::string path = dir.file("tone.wav");
        writeWav(path, sine(hertz, seconds));
        return path;
    }

    /// Adds an alarm with the tone, waits until it rings, and answers when it did, in seconds since
    /// the epoch.
    double ring(const std::string& tone, std::vector<std::string> options = {})
    {
        options.insert(options.end(), { "--in", "1s", "--tone", tone });
        id = addAlarm(options);
        return waitForRingInstant();
    }

    double waitForRingInstant()
    {
        const std::optional<Ring> found = waitForRing(id);
        if (!found)
            return 0;
        alert = found->alert;
        return storedAlarm(id).stime + static_cast<double>(found->late) / 1e6;
    }

    static std::string hostctl(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "hostctl");
        const CommandResult result = runCommand(arguments);
        EXPECT_EQ(0, result.status) << result.err;
        return result.out;
    }

    static std::string ringtones()
    {
        const char* home = getenv("ALARM_HOST_HOME");
        return std::string(home ? home : "") + "/ringtones";
    }

    static std::string alarmVolume() { return hostctl({ "volume", "get", "alarm" }); }

    TempDir dir;
    Listener listener;
    int id = -1;
    pid_t alert = 0;
};

TEST_F(SoundTest, TheTonesPitchIsHeardWithinASecond)
{
    const std::string tone = steadyTone(660);
    const auto ringOnce = [&] {
        if (alert != 0) {
            dismiss();
            EXPECT_TRUE(listener.waitForSilence(kAudible));
        }
        listener.take();
        const double rang = ring(tone);
        EXPECT_TRUE(listener.waitForSound(kAudible));
        return now() - rang;
    };
    EXPECT_LT(leastSeconds(1, ringOnce), 1);
    const Samples heard = hearUntil([this] { return listener.listen(0.25); },
        [](const Samples& sound) { return std::abs(pitch(sound) - 660) < 2; });
    EXPECT_NEAR(660, pitch(heard), 2);
}

TEST_F(SoundTest, TheToneRepeatsWithoutAGap)
{
    ring(steadyTone(660, 0.3));
    ASSERT_TRUE(listener.waitForSound(kAudible));
    const Samples heard = hearUntil([this] { return listener.listen(1.3); }, // four periods
        [](const Samples& sound) {
            return longestSilence(sound, kAudible) < 0.05 && std::abs(pitch(sound) - 660) < 2;
        });
    EXPECT_LT(longestSilence(heard, kAudible), 0.05);
    EXPECT_NEAR(660, pitch(heard), 2);
}

TEST_F(SoundTest, RisesByOneLevelEachFourSecondsUpToTheAlarmsVolume)
{
    ring(steadyTone(), { "--volume", "3", "--type", "1" });
    ASSERT_TRUE(listener.waitForSound(kAudible));
    const std::vector<int> heard = levels(listener.listen(13));
    const double oneLevel = std::pow(10, 3.0 / 20);
    // A busy machine may tear a hole into the sound.
    const auto expectSteady = [&](size_t first, size_t last, double level) {
        size_t holes = 0;
        for (size_t at = first; at < last; ++at) {
            if (heard[at] < kAudible)
                ++holes;
            else
                EXPECT_NEAR(1, heard[at] / level, 0.05) << "after " << at << " tenths of a second";
        }
        EXPECT_LT(holes, (last - first) / 5);
    };
    // The ramp's clock begins a moment before the tone does.
    const double softest = *std::max_element(heard.begin() + 5, heard.begin() + 30);
    expectSteady(1, 35, softest);
    expectSteady(41, 75, softest * oneLevel);
    expectSteady(81, heard.size(), softest * oneLevel * oneLevel);
    EXPECT_EQ("3\n", alarmVolume());
}

TEST_F(SoundTest, PausesWhenItLosesTheFocusAndThenOnlyVibratesAgain)
{
    BackgroundCommand vibration({ "hostctl", "vibration", "--watch" });
    ring(steadyTone(), { "--type", "3" });
    ASSERT_TRUE(listener.waitForSound(kAudible));

    hostctl({ "focus", "take", "--reason", "media" });
    EXPECT_TRUE(listener.waitForSilence(kAudible));
    EXPECT_TRUE(session.waitFor(
        [&] { return vibration.output().find("stopped 168") != std::string::npos; }));
    const size_t quiet = vibration.output().size();
    hostctl({ "focus", "release", "--reason", "media" });

    EXPECT_TRUE(session.waitFor(
        [&] { return vibration.output().find("started 168", quiet) != std::string::npos; }));
    EXPECT_LT(peak(listener.listen(0.5)), kAudible);
    EXPECT_EQ(id, ringing());
}

TEST_F(SoundTest, ARecordingThatEndsDelaysTheToneByHalfASecond)
{
    const std::string tone = steadyTone();
    const auto delayOnce = [&] {
        if (alert != 0) {
            dismiss();
            EXPECT_TRUE(listener.waitForSilence(kAudible));
        }
        listener.take();
        hostctl({ "record", "start" });
        const size_t logged = session.logText().size();
        const double rang = ring(tone);
        EXPECT_TRUE(session.waitFor([&] {
            return session.logText().find("Check again after 0.5 second", logged)
                != std::string::npos;
        }));
        hostctl({ "record", "stop" });
        if (now() - rang > 0.4)
            return 10.0; // the recording outlasted the delay
        EXPECT_TRUE(listener.waitForSound(kAudible));
        const double delay = now() - rang;
        EXPECT_GT(delay, 0.5);
        return delay;
    };
    EXPECT_LT(leastSeconds(1, delayOnce), 1);
}

TEST_F(SoundTest, IsNotHeardInARecordingThatLasts)
{
    hostctl({ "record", "start" });
    ring(steadyTone());
    EXPECT_TRUE(waitForLog("Still recording state. Do not start player"));
    hostctl({ "record", "stop" });
    EXPECT_LT(peak(listener.listen(0.7)), kAudible);
    EXPECT_EQ(id, ringing());
}

TEST_F(SoundTest, AToneThatIsGoneIsReplacedByTheDefaultOne)
{
    const std::string tone = steadyTone();
    id = addAlarm({ "--in", "3s", "--tone", tone });
    std::filesystem::remove(tone);
    waitForRingInstant();
    ASSERT_TRUE(listener.waitForSound(kAudible));
    EXPECT_TRUE(listener.hearsPitch(0.1, 880, 15, kAudible));
}

struct BrokenTone {
    const char* name;
    const char* from; // a tone of the watch, "" for a file of text
    size_t size;
};

class BrokenToneTest : public SoundTest, public testing::WithParamInterface<BrokenTone> {};

TEST_P(BrokenToneTest, IsReplacedByTheDefaultOne)
{
    const std::string path = dir.file("broken");
    std::string bytes(GetParam().size, 'x');
    const std::string from = GetParam().from;
    if (!from.empty()) {
        std::ifstream(ringtones() + "/" + from)
            .read(&bytes[0], static_cast<std::streamsize>(bytes.size()));
    }
    std::ofstream(path) << bytes;

    ring(path, { "--type", "1" });

    ASSERT_TRUE(listener.waitForSound(kAudible));
    EXPECT_TRUE(listener.hearsPitch(0.1, 880, 15, kAudible));
    EXPECT_TRUE(waitForLog("alarm " + std::to_string(id) + " has a tone that cannot be played"));
    EXPECT_EQ(id, ringing());
}

INSTANTIATE_TEST_SUITE_P(Table, BrokenToneTest,
    testing::Values(BrokenTone{ "NoSound", "", 5000 }, BrokenTone{ "Empty", "", 0 },
        BrokenTone{ "CutInItsHeader", "Soft_Chime.ogg", 40 },
        BrokenTone{ "CutBehindItsHeader", "Soft_Chime.ogg", 2500 },
        BrokenTone{ "CutInItsTables", "Soft_Chime.ogg", 1000 },
        BrokenTone{ "CutInItsSound", "Soft_Chime.ogg", 6000 }),
    [](const auto& row) { return row.param.name; });

TEST_F(SoundTest, RingsOnWithoutAnyTone)
{
    const std::string tone = steadyTone();
    id = addAlarm({ "--in", "3s", "--tone", tone });
    std::filesystem::remove(tone);
    std::filesystem::remove(ringtones());
    waitForRingInstant();
    EXPECT_TRUE(waitForLog("Failed to create player with default uri"));
    EXPECT_EQ(id, ringing());
    dismiss();
    EXPECT_EQ(-1, ringing());
}

TEST_F(SoundTest, IsSilentAtOnceWhenItIsDismissed)
{
    BackgroundCommand vibration({ "hostctl", "vibration", "--watch" });
    const std::string before = alarmVolume();
    const std::string tone = steadyTone();
    const auto dismissOnce = [&] {
        listener.take();
        ring(tone);
        EXPECT_TRUE(listener.waitForSound(kAudible));
        EXPECT_EQ("1\n", alarmVolume());
        listener.take();

        dismiss();
        listener.waitForSilence(kAudible);
        const Samples heard = listener.take();
        EXPECT_LT(peak(heard), 400) << "the volume came back before the tone was over";
        const auto last = std::find_if(heard.rbegin(), heard.rend(),
            [](std::int16_t sample) { return std::abs(sample) >= kAudible; });
        return static_cast<double>(heard.rend() - last) / kRate;
    };
    EXPECT_LT(leastSeconds(0.2, dismissOnce), 0.2);
    EXPECT_THAT(vibration.output(), HasSubstr("stopped 168"));
    EXPECT_EQ(before, alarmVolume());
}

TEST_F(SoundTest, CanBeDismissedWhileTheSoundServerHangs)
{
    const pid_t server = soundServer();
    ring(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));
    kill(server, SIGSTOP);

    const double before = now();
    dismiss();
    EXPECT_TRUE(waitUntilRinging(-1));
    EXPECT_LT(now() - before, 3);

    kill(server, SIGCONT);
    EXPECT_TRUE(listener.waitForSilence(kAudible));
}

TEST_F(SoundTest, SoundsAtItsLevelAgainAfterTheSoundServersRestart)
{
    ring(steadyTone(), { "--volume", "1" });
    ASSERT_TRUE(listener.waitForSound(kAudible));
    const int level = peak(listener.listen(0.5));

    const std::unique_ptr<Program> server = restartSoundServer();
    Listener again;

    ASSERT_TRUE(again.waitForSound(kAudible));
    EXPECT_NEAR(1, static_cast<double>(peak(again.listen(0.5))) / level, 0.05);
    dismiss();
    EXPECT_TRUE(again.waitForSilence(kAudible));
}

TEST_F(SoundTest, SnoozeIsSilentAndTheVolumeComesBack)
{
    const std::string before = alarmVolume();
    ring(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));
    EXPECT_EQ(0, runCommand({ "alarm", "snooze" }).status);
    EXPECT_TRUE(listener.waitForSilence(kAudible));
    EXPECT_EQ(before, alarmVolume());
}

TEST_F(SoundTest, GoesOnSoundingWhenItCannotBeSnoozed)
{
    ring(steadyTone(), { "--snooze", "0" });
    ASSERT_TRUE(listener.waitForSound(kAudible));
    EXPECT_NE(0, runCommand({ "alarm", "snooze" }).status);
    EXPECT_LT(longestSilence(listener.listenWithoutGap(0.5, 0.05, kAudible), kAudible), 0.05);
}

TEST_F(SoundTest, SoundsAgainAfterAnAlertThatWasKilledAndThenPutsTheVolumeBack)
{
    const std::string before = alarmVolume();
    ring(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));
    kill(alert, SIGKILL);
    ASSERT_TRUE(listener.waitForSilence(kAudible));
    EXPECT_EQ("1\n", alarmVolume());

    listener.take();
    hostctl({ "launch", "com.velmora.alarm-alert" });
    EXPECT_TRUE(listener.waitForSound(kAudible));
    dismiss();
    EXPECT_EQ(before, alarmVolume());
}

TEST_F(SoundTest, AnAlertThatIsEndedPutsTheVolumeBack)
{
    const std::string before = alarmVolume();
    ring(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));
    kill(alert, SIGTERM);
    EXPECT_TRUE(session.waitFor([&] { return kill(alert, 0) != 0; }));
    EXPECT_TRUE(listener.waitForSilence(kAudible));
    EXPECT_EQ(before, alarmVolume());
}

TEST_F(SoundTest, WithoutASpeakerItVibratesAsTheSettingsSay)
{
    BackgroundCommand vibration({ "hostctl", "vibration", "--watch" });
    hostctl({ "device", "--no-speaker" });
    session.setKey("db/setting/sound/call/vibration_type", 4);
    ring(steadyTone());
    EXPECT_TRUE(session.waitFor(
        [&] { return vibration.output().find("started 172") != std::string::npos; }));
    EXPECT_LT(peak(listener.listen(0.5)), kAudible);
}

} // namespace
