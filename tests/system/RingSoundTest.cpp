#include "CommandStory.h"
#include "Listener.h"

#include <AlertState.h>
#include <app_alarm.h>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace {

using testing::HasSubstr;

// An alarm begins at level 1, far below the tone's own level.
const int kAudible = 40;

std::string homeFile(const std::string& name)
{
    const char* home = getenv("ALARM_HOST_HOME");
    return std::string(home ? home : "") + "/" + name;
}

// The watch's own, as the session's settings have it.
std::string alarmVolume() { return runCommand({ "hostctl", "volume", "get", "alarm" }).out; }

// Sounds all the time, a bit more than three periods a second.
void writeSteadyTone(const std::string& path) { writeWav(path, sine(660, 0.3)); }

/// The session's ringtones, in which the default tone is as the test wants it.
class Ringtones {
public:
    Ringtones()
        : _folder(homeFile("ringtones"))
    {
        std::filesystem::remove(_folder); // a link to everybody's
        std::filesystem::create_directory(_folder);
    }

    std::string defaultTone() const { return _folder + "/Digital_Beep.ogg"; }

private:
    const std::string _folder;
};

/// The alarms' file, from which everybody is kept for a while.
class HeldStore {
public:
    HeldStore() { _store.query("BEGIN EXCLUSIVE"); }
    HeldStore(const HeldStore&) = delete;
    HeldStore& operator=(const HeldStore&) = delete;
    ~HeldStore() { _store.query("COMMIT"); }

private:
    StoreView _store;
};

/// Until the last sound, in seconds.
double soundingTime(const Samples& samples)
{
    const auto last = std::find_if(samples.rbegin(), samples.rend(),
        [](std::int16_t sample) { return std::abs(sample) >= kAudible; });
    return static_cast<double>(samples.rend() - last) / kRate;
}

size_t countOf(const std::string& text, const std::string& part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

/// Alarms that could stay silent, and must not.
class RingSoundTest : public RingStory {
protected:
    static void hostctl(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), "hostctl");
        const CommandResult result = runCommand(arguments);
        EXPECT_EQ(0, result.status) << result.err;
    }

    std::string steadyTone()
    {
        std::string path = dir.file("tone.wav");
        writeSteadyTone(path);
        return path;
    }

    int addAlarmInASecond(const std::string& tone, const std::string& type = "1")
    {
        return addAlarm({ "--in", "1s", "--type", type, "--tone", tone });
    }

    /// An alarm before whose ring the test has something to do.
    int addAlarmSoon(const std::string& tone)
    {
        return addAlarm({ "--in", "3s", "--type", "1", "--tone", tone });
    }

    /// Lets the alarm be due once more, for the same registration.
    void letRingAgain(int id)
    {
        // As an application does it, which needs no hostd for that.
        app_control_h made = nullptr;
        app_control_create(&made);
        const std::unique_ptr<app_control_s, int (*)(app_control_h)> request(
            made, app_control_destroy);
        app_control_set_app_id(made, "com.velmora.alarm-alert");
        app_control_add_extra_data(
            made, APP_CONTROL_DATA_ALARM_ID, std::to_string(storedAlarm(id).alarm_mgr_id).c_str());
        EXPECT_EQ(APP_CONTROL_ERROR_NONE, app_control_send_launch_request(made, nullptr, nullptr));
    }

    /// The alert alone is asked: the alarm application does nothing without a store.
    static void askToDismiss()
    {
        hostctl(
            { "launch", "com.velmora.alarm-alert", "--operation", companion::kDismissOperation });
    }

    TempDir dir;
    Listener listener;
};

TEST_F(RingSoundTest, ALaterRingIsHeardThoughARecordingSilencedTheOneBefore)
{
    hostctl({ "record", "start" });
    const int id = addAlarmInASecond(steadyTone());
    ASSERT_TRUE(waitForRing(id));
    ASSERT_TRUE(waitForLog("Still recording state. Do not start player"));
    hostctl({ "record", "stop" });

    letRingAgain(id);

    EXPECT_TRUE(listener.waitForSound(kAudible));
}

TEST_F(RingSoundTest, ALaterRingIsHeardThoughTheOneBeforeLostTheFocus)
{
    const int id = addAlarmInASecond(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));
    hostctl({ "focus", "take", "--reason", "media" });
    ASSERT_TRUE(listener.waitForSilence(kAudible));
    hostctl({ "focus", "release", "--reason", "media" });
    listener.take();

    letRingAgain(id);

    EXPECT_TRUE(listener.waitForSound(kAudible));
}

TEST_F(RingSoundTest, TheDefaultToneInPlaceOfOneThatIsGoneBeginsOnce)
{
    const Ringtones ringtones;
    writeSteadyTone(ringtones.defaultTone());
    const std::string gone = steadyTone();
    addAlarmSoon(gone);
    std::filesystem::remove(gone);

    ASSERT_TRUE(listener.waitForSound(kAudible));
    EXPECT_LT(longestSilence(listener.listenWithoutGap(1.5, 0.05, kAudible), kAudible), 0.05);
    EXPECT_EQ(1U, countOf(session.logText(), "isSupportSpeaker"));
}

TEST_F(RingSoundTest, ADefaultToneIsHeardAsSoonAsItCanBePlayed)
{
    const Ringtones ringtones;
    spoil(ringtones.defaultTone());
    const int id = addAlarm({ "--in", "1s", "--type", "1" });
    ASSERT_TRUE(waitForLog("alarm " + std::to_string(id) + " has a tone that cannot be played"));
    ASSERT_LT(peak(listener.take()), kAudible);

    writeSteadyTone(ringtones.defaultTone());

    EXPECT_TRUE(listener.waitForSound(kAudible));
    EXPECT_EQ(id, ringing());
}

TEST_F(RingSoundTest, ADefaultToneThatCannotBePlayedIsTriedLessAndLessOften)
{
    const Ringtones ringtones;
    spoil(ringtones.defaultTone());
    addAlarm({ "--in", "1s", "--type", "1" });
    ASSERT_TRUE(waitForLog("has a tone that cannot be played"));

    // A trial that fails logs one line or two, of which one may still come of the first.
    const auto lines = [this] { return countOf(session.logText(), "A tone failed"); };
    const size_t wanted = lines() + 6;
    const auto before = std::chrono::steady_clock::now();
    ASSERT_TRUE(session.waitFor([&] { return lines() >= wanted; }, 30));

    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - before;
    EXPECT_GT(elapsed.count(), 0.6 + 1.2 + 2.4);
}

TEST_F(RingSoundTest, ToneThatCannotBePlayedIsNoMatterWithoutASpeaker)
{
    hostctl({ "device", "--no-speaker" });
    BackgroundCommand vibration({ "hostctl", "vibration", "--watch" });
    const std::string tone = dir.file("tone.wav");
    spoil(tone);
    addAlarmInASecond(tone, "3");

    // Three seconds, longer than a trial would take.
    ASSERT_TRUE(session.waitFor([&] { return countOf(vibration.output(), "buzzed") >= 4; }, 10));

    EXPECT_EQ(1U, countOf(vibration.output(), "started")) << vibration.output();
    EXPECT_EQ(std::string::npos, session.logText().find("cannot be played"));
}

TEST_F(RingSoundTest, AnAlarmGoesOnWhenTheOneAfterItEndsAndTheStoreCannotBeRead)
{
    const std::string tone = steadyTone();
    const int first = addAlarmInASecond(tone);
    ASSERT_TRUE(waitForRing(first));
    const int second = addAlarmInASecond(tone);
    ASSERT_TRUE(waitForRing(second));
    ASSERT_TRUE(listener.waitForSound(kAudible));
    const HiddenStore hidden;

    askToDismiss();

    EXPECT_TRUE(waitUntilRinging(first));
    listener.take();
    EXPECT_TRUE(listener.waitForSound(kAudible));
}

TEST_F(RingSoundTest, AnAlarmThatCannotBeReadRingsWithTheDefaultToneUntilItIsDismissed)
{
    const Ringtones ringtones;
    writeSteadyTone(ringtones.defaultTone());
    addAlarmSoon(steadyTone());
    const HiddenStore hidden;

    ASSERT_TRUE(waitForLog("rings without its record"));
    EXPECT_TRUE(listener.waitForSound(kAudible));

    const CommandResult dismissed = runCommand({ "alarm", "dismiss" });

    EXPECT_EQ(1, dismissed.status) << "for it cannot tell of the alarm";
    EXPECT_TRUE(listener.waitForSilence(kAudible));
    EXPECT_TRUE(session.waitFor([this] { return session.pidOf("com.velmora.alarm-alert") == 0; }));
}

TEST_F(RingSoundTest, AnAlarmThatCouldNotBeReadIsDismissedWhenItCan)
{
    const int id = addAlarmSoon(steadyTone());
    {
        const HiddenStore hidden;
        ASSERT_TRUE(waitForLog("rings without its record"));
    }

    const CommandResult dismissed = runCommand({ "alarm", "dismiss" });

    EXPECT_EQ("alarm " + std::to_string(id) + " dismissed\n", dismissed.out) << dismissed.err;
    EXPECT_EQ(0, storedAlarm(id).enable);
    EXPECT_THAT(session.alarms(), testing::IsEmpty());
}

/// Alarms that ring while hostd ends, hangs, or is aped.
class RingHostdTest : public RingSoundTest {
protected:
    RingHostdTest()
        : vibration({ "hostctl", "vibration", "--watch" })
    {
    }

    bool waitForVibration(const std::string& text, size_t times = 1)
    {
        return session.waitFor([&] { return countOf(vibration.output(), text) >= times; });
    }

    bool isHostdStopped() const
    {
        std::ifstream status("/proc/" + std::to_string(hostd) + "/status");
        const std::string text{ std::istreambuf_iterator<char>(status), {} };
        return text.find("T (stopped)") != std::string::npos;
    }

    const pid_t hostd = session.daemonPid();
    BackgroundCommand vibration;
};

TEST_F(RingHostdTest, AnAlarmThatOnlyVibratesGoesOnUnderANewHostdUntilItIsDismissed)
{
    const int id = addAlarmInASecond(steadyTone(), "2");
    ASSERT_TRUE(waitForRing(id));
    ASSERT_TRUE(waitForVibration("started 168"));

    session.killDaemon();

    EXPECT_TRUE(waitForVibration("started 168", 2));
    EXPECT_EQ(0U, countOf(vibration.output(), "stopped 168"));
    dismiss();
    EXPECT_TRUE(waitForVibration("stopped 168"));
}

TEST_F(RingHostdTest, ToneVibrationAndFocusGoOnUnderANewHostdUntilItIsDismissed)
{
    const int id = addAlarmInASecond(steadyTone(), "3");
    ASSERT_TRUE(waitForRing(id));
    ASSERT_TRUE(listener.waitForSound(kAudible));
    ASSERT_TRUE(waitForVibration("started 168"));

    session.killDaemon();

    EXPECT_TRUE(waitForVibration("started 168", 2));
    listener.take();
    EXPECT_TRUE(listener.waitForSound(kAudible));
    // It loses the focus that it holds still.
    hostctl({ "focus", "take", "--reason", "media" });
    EXPECT_TRUE(listener.waitForSilence(kAudible));
    EXPECT_TRUE(waitForVibration("stopped 168"));
    hostctl({ "focus", "release", "--reason", "media" });
    EXPECT_TRUE(waitForVibration("started 168", 3));
    dismiss();
    EXPECT_TRUE(waitForVibration("stopped 168", 2));
}

TEST_F(RingHostdTest, ItSoundsWhileHostdHangsAndVibratesWhenThatGoesOn)
{
    // Tomorrow; today somebody else has it ring.
    const int id = addAlarm({ "--in", "20h", "--type", "3", "--tone", steadyTone() });
    ASSERT_EQ(0, kill(hostd, SIGSTOP));

    letRingAgain(id);

    ASSERT_TRUE(waitForRing(id));
    EXPECT_TRUE(listener.waitForSound(kAudible));
    EXPECT_TRUE(isHostdStopped());
    EXPECT_EQ(0U, countOf(vibration.output(), "started"));
    ASSERT_EQ(0, kill(hostd, SIGCONT));

    EXPECT_TRUE(waitForVibration("started 168"));
    EXPECT_EQ(1U, countOf(session.logText(), "hostd cannot be reached: it does not answer"));
    listener.take();
    EXPECT_TRUE(listener.waitForSound(kAudible));
    hostctl({ "focus", "take", "--reason", "media" });
    EXPECT_TRUE(listener.waitForSilence(kAudible)) << "it does not hold the focus";
    hostctl({ "focus", "release", "--reason", "media" });
    EXPECT_TRUE(waitForVibration("started 168", 2));
}

TEST_F(RingHostdTest, ForgedSignalsEndNeitherTheToneNorTheVibration)
{
    const int id = addAlarmInASecond(steadyTone(), "3");
    ASSERT_TRUE(waitForRing(id));
    ASSERT_TRUE(listener.waitForSound(kAudible));
    ASSERT_TRUE(waitForVibration("started 168"));

    ASSERT_EQ(0, system(R"SH(
        send() { dbus-send --session --type=signal "$@" || exit; }
        changed="/org/freedesktop/DBus org.freedesktop.DBus.NameOwnerChanged"
        host="/com/velmora/host com.velmora.host"
        lost="uint32:1 int32:3 boolean:false int32:0 int32:1 string:"
        for name in $(dbus-send --session --print-reply --dest=org.freedesktop.DBus \
            /org/freedesktop/DBus org.freedesktop.DBus.ListNames | grep -o ':[0-9.]*'); do
            send --dest="$name" $changed
            send --dest="$name" $changed string:"$name" string:"$name" string:
            for to in "" --dest="$name"; do
                send $to $host.Focus.Changed string:"$name" $lost
                send $to $host.Vibration.Stopped int32:168
            done
        done)SH"));

    EXPECT_EQ(hostd, session.daemonPid());
    listener.take();
    EXPECT_TRUE(listener.waitForSound(kAudible));
    EXPECT_EQ(0U, countOf(vibration.output(), "stopped"));
    // It still holds the focus, and comes back when it gets that back.
    hostctl({ "focus", "take", "--reason", "media" });
    EXPECT_TRUE(waitForVibration("stopped 168"));
    hostctl({ "focus", "release", "--reason", "media" });
    EXPECT_TRUE(waitForVibration("started 168", 2));
    dismiss();
    EXPECT_TRUE(waitForVibration("stopped 168", 2));
}

/// An answer to what rings, while another process keeps everybody from the alarms' file.
class RingAnswerTest : public RingSoundTest {
protected:
    /// Answers what is heard, and expects silence long before the file can be read.
    CommandResult answerWhileTheStoreIsHeld(const std::string& command)
    {
        auto held = std::make_unique<HeldStore>();
        listener.take();
        BackgroundCommand answer({ "alarm", command });
        const Samples heard = listener.listen(3);
        held.reset();

        EXPECT_LT(soundingTime(heard), 0.5);
        return answer.finish();
    }
};

TEST_F(RingAnswerTest, DismissalIsSilentAtOnceAndStoredWhenItCanBe)
{
    const int id = addAlarmInASecond(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));

    const CommandResult dismissed = answerWhileTheStoreIsHeld("dismiss");

    EXPECT_EQ("alarm " + std::to_string(id) + " dismissed\n", dismissed.out) << dismissed.err;
    EXPECT_EQ(0, storedAlarm(id).enable);
    EXPECT_THAT(session.alarms(), testing::IsEmpty());
}

TEST_F(RingAnswerTest, SnoozeIsSilentAtOnceAndStoredWhenItCanBe)
{
    const int id = addAlarmInASecond(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));

    const CommandResult snoozed = answerWhileTheStoreIsHeld("snooze");

    EXPECT_EQ(0, snoozed.status) << snoozed.err;
    EXPECT_EQ(1, storedAlarm(id).count);
    EXPECT_TRUE(registration(id));
}

TEST_F(RingAnswerTest, SnoozeThatWasForbiddenMeanwhileIsNoSilence)
{
    const int id = addAlarmInASecond(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));
    ASSERT_EQ(0, runCommand({ "alarm", "edit", std::to_string(id), "--snooze", "0" }).status);
    listener.take();

    EXPECT_EQ(1, runCommand({ "alarm", "snooze" }).status);

    EXPECT_LT(longestSilence(listener.take(), kAudible), 0.05);
}

TEST_F(RingAnswerTest, SoundsAgainAfterASnoozeThatOnlyTheStoreRefuses)
{
    const int id = addAlarmInASecond(steadyTone());
    ASSERT_TRUE(listener.waitForSound(kAudible));
    StoreView().query("UPDATE alarm SET snooze_enable = 0");

    EXPECT_EQ(1, runCommand({ "alarm", "snooze" }).status);

    listener.take();
    EXPECT_TRUE(listener.waitForSound(kAudible));
    EXPECT_EQ(id, ringing());
}

/// The process that plays the session's sounds; 0 when it is not the session's own.
pid_t soundServer()
{
    const char* server = getenv("PULSE_SERVER");
    const std::string address = server ? server : "";
    if (address.compare(0, 5, "unix:") != 0)
        return 0;
    const std::string socket = "socket=" + address.substr(5);
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(entry.path() / "cmdline");
        const std::string line{ std::istreambuf_iterator<char>(file), {} };
        if (line.compare(0, 10, "pulseaudio") == 0 && line.find(socket) != std::string::npos)
            return std::stoi(entry.path().filename());
    }
    return 0;
}

TEST_F(RingSoundTest, ADismissedAlarmIsStillThoughTheSoundServerHangs)
{
    const pid_t server = soundServer();
    if (server == 0)
        GTEST_SKIP() << "the sound server is not the session's own";
    BackgroundCommand vibration({ "hostctl", "vibration", "--watch" });
    addAlarmInASecond(steadyTone(), "3");
    ASSERT_TRUE(listener.waitForSound(kAudible));
    ASSERT_THAT(vibration.output(), HasSubstr("started 168"));

    kill(server, SIGSTOP);
    BackgroundCommand dismissal({ "alarm", "dismiss" });
    const bool isStill = session.waitFor(
        [&] { return vibration.output().find("stopped 168") != std::string::npos; }, 1.5);
    kill(server, SIGCONT);

    EXPECT_TRUE(isStill) << vibration.output();
    EXPECT_EQ(0, dismissal.finish().status);
}

TEST_F(RingSoundTest, ADismissedAlarmIsSilentThoughTheDaemonHangs)
{
    const std::string before = alarmVolume();
    addAlarmInASecond(steadyTone(), "3");
    ASSERT_TRUE(listener.waitForSound(kAudible));
    ASSERT_NE(before, alarmVolume());
    const pid_t daemon = session.daemonPid();
    listener.take();

    kill(daemon, SIGSTOP);
    BackgroundCommand dismissal({ "alarm", "dismiss" });
    const Samples heard = listener.listen(1);
    kill(daemon, SIGCONT);

    EXPECT_LT(soundingTime(heard), 0.5);
    EXPECT_EQ(0, dismissal.finish().status);
    EXPECT_TRUE(session.waitFor([&before] { return alarmVolume() == before; })) << alarmVolume();
}

} // namespace
