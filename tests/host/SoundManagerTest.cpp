#include "Command.h"
#include "Forgery.h"
#include "host/common/Bus.h"
#include "host/common/Log.h"
#include "host/common/Volume.h"
#include "HostSession.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <sound_manager.h>
#include <thread>
#include <vector>

namespace {

const int kNone = SOUND_MANAGER_ERROR_NONE;
const int kInvalid = SOUND_MANAGER_ERROR_INVALID_PARAMETER;
const int kPolicy = SOUND_MANAGER_ERROR_POLICY;
const int kInvalidState = SOUND_MANAGER_ERROR_INVALID_STATE;
const auto kPlayback = SOUND_STREAM_FOCUS_FOR_PLAYBACK;
const auto kRecording = SOUND_STREAM_FOCUS_FOR_RECORDING;
const auto kBoth = SOUND_STREAM_FOCUS_FOR_BOTH;

struct News {
    int mask;
    int state;
    int reason;
    int behavior;
    std::string info;
    bool operator==(const News& other) const
    {
        return mask == other.mask && state == other.state && reason == other.reason
            && behavior == other.behavior && info == other.info;
    }
};

void PrintTo(const News& news, std::ostream* out)
{
    *out << "{" << news.mask << ", " << news.state << ", " << news.reason << ", " << news.behavior
         << ", " << news.info << "}";
}

// A stream that remembers what it was told.
class Stream {
public:
    explicit Stream(sound_stream_type_e type)
    {
        EXPECT_EQ(kNone, sound_manager_create_stream_information(type, _changedCb, this, &_handle));
    }
    ~Stream() { destroy(); }
    void destroy()
    {
        if (_handle) {
            EXPECT_EQ(kNone, sound_manager_destroy_stream_information(_handle));
        }
        _handle = nullptr;
    }

    int acquire(sound_stream_focus_mask_e mask, int behavior = 0, const char* info = nullptr)
    {
        return sound_manager_acquire_focus(_handle, mask, behavior, info);
    }
    int release(sound_stream_focus_mask_e mask, int behavior = 0, const char* info = nullptr)
    {
        return sound_manager_release_focus(_handle, mask, behavior, info);
    }
    int held()
    {
        sound_stream_focus_state_e playback = SOUND_STREAM_FOCUS_STATE_RELEASED;
        sound_stream_focus_state_e recording = SOUND_STREAM_FOCUS_STATE_RELEASED;
        EXPECT_EQ(kNone, sound_manager_get_focus_state(_handle, &playback, &recording));
        return (playback ? 1 : 0) | (recording ? 2 : 0);
    }
    sound_stream_info_h handle() { return _handle; }

    // The first count news, waited for.
    std::vector<News> news(size_t count)
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _more.wait_for(lock, std::chrono::seconds(5), [&] { return _news.size() >= count; });
        return _news;
    }
    std::thread::id thread()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _thread;
    }
    std::function<void()> whenTold; ///< runs in the callback

private:
    static void _changedCb(sound_stream_info_h handle, sound_stream_focus_mask_e mask,
        sound_stream_focus_state_e state, sound_stream_focus_change_reason_e reason, int behavior,
        const char* info, void* data)
    {
        auto* stream = static_cast<Stream*>(data);
        EXPECT_EQ(stream->_handle, handle);
        if (stream->whenTold)
            stream->whenTold();
        const std::lock_guard<std::mutex> lock(stream->_mutex);
        stream->_thread = std::this_thread::get_id();
        stream->_news.push_back({ mask, state, reason, behavior, info ? info : "(none)" });
        stream->_more.notify_all();
    }

    sound_stream_info_h _handle = nullptr;
    std::mutex _mutex;
    std::condition_variable _more;
    std::vector<News> _news;
    std::thread::id _thread;
};

class SoundManagerTest : public testing::Test {
protected:
    HostSession session;
};

TEST_F(SoundManagerTest, BadArgumentsAreRefused)
{
    Stream stream(SOUND_STREAM_TYPE_ALARM);
    sound_stream_info_h handle = nullptr;
    int level = 77;

    EXPECT_EQ(kInvalid,
        sound_manager_create_stream_information(
            SOUND_STREAM_TYPE_ALARM, nullptr, nullptr, nullptr));
    EXPECT_EQ(kInvalid,
        sound_manager_create_stream_information(
            static_cast<sound_stream_type_e>(10), nullptr, nullptr, &handle));
    EXPECT_EQ(kInvalid, sound_manager_destroy_stream_information(nullptr));
    EXPECT_EQ(kInvalid, sound_manager_acquire_focus(nullptr, kBoth, 0, nullptr));
    EXPECT_EQ(kInvalid, stream.acquire(static_cast<sound_stream_focus_mask_e>(0)));
    EXPECT_EQ(kInvalid, stream.acquire(static_cast<sound_stream_focus_mask_e>(4)));
    EXPECT_EQ(kInvalid, stream.acquire(kBoth, 4));
    EXPECT_EQ(kInvalid, sound_manager_release_focus(nullptr, kBoth, 0, nullptr));
    EXPECT_EQ(kInvalid, sound_manager_get_focus_state(nullptr, nullptr, nullptr));
    EXPECT_EQ(kInvalid, sound_manager_get_volume(SOUND_TYPE_ALARM, nullptr));
    EXPECT_EQ(kInvalid, sound_manager_get_volume(static_cast<sound_type_e>(8), &level));
    EXPECT_EQ(kInvalid, sound_manager_set_volume(SOUND_TYPE_ALARM, 16));
    EXPECT_EQ(kInvalid, sound_manager_set_volume(SOUND_TYPE_ALARM, -1));
    EXPECT_EQ(nullptr, handle);
    EXPECT_EQ(77, level);
}

TEST_F(SoundManagerTest, PartsAreTakenAndReleasedOneByOneOrTogether)
{
    Stream stream(SOUND_STREAM_TYPE_ALARM);
    EXPECT_EQ(0, stream.held());
    EXPECT_EQ(kNone, sound_manager_get_focus_state(stream.handle(), nullptr, nullptr));

    EXPECT_EQ(kInvalidState, stream.release(kPlayback));
    EXPECT_EQ(kNone, stream.acquire(kPlayback));
    EXPECT_EQ(1, stream.held());
    EXPECT_EQ(kInvalidState, stream.acquire(kBoth));
    EXPECT_EQ(kInvalidState, stream.release(kBoth));
    EXPECT_EQ(1, stream.held());
    EXPECT_EQ(kNone, stream.acquire(kRecording));
    EXPECT_EQ(3, stream.held());
    EXPECT_EQ(kNone, stream.release(kBoth));
    EXPECT_EQ(0, stream.held());
}

TEST_F(SoundManagerTest, OneProgramHasAHundredStreamsInTheFocusAtTheMost)
{
    std::deque<Stream> streams;
    for (int i = 0; i < 100; ++i) {
        streams.emplace_back(SOUND_STREAM_TYPE_ALARM);
        ASSERT_EQ(kNone, streams.back().acquire(kPlayback)) << i;
    }
    streams.emplace_back(SOUND_STREAM_TYPE_ALARM);

    EXPECT_EQ(SOUND_MANAGER_ERROR_INTERNAL, streams.back().acquire(kPlayback));
    EXPECT_EQ(0, streams.back().held());
    EXPECT_TRUE(session.waitFor([this] {
        return session.logText().find("has 100 streams in the sound focus, which is the most")
            != std::string::npos;
    }));
    // Another program is not concerned.
    EXPECT_EQ(0, runCommand({ "hostctl", "focus", "take", "--reason", "media" }).status);
    EXPECT_EQ(0, runCommand({ "hostctl", "focus", "release", "--reason", "media" }).status);

    streams.pop_front();
    EXPECT_EQ(kNone, streams.back().acquire(kPlayback));
}

TEST_F(SoundManagerTest, LoserIsToldOnAnotherThreadAndGetsItBack)
{
    Stream alarm(SOUND_STREAM_TYPE_ALARM);
    Stream media(SOUND_STREAM_TYPE_MEDIA);
    std::vector<int> seen;
    alarm.whenTold = [&] { seen.push_back(alarm.held()); };
    ASSERT_EQ(kNone, alarm.acquire(kBoth));

    ASSERT_EQ(kNone, media.acquire(kBoth, SOUND_BEHAVIOR_NO_RESUME, "a song"));
    EXPECT_EQ(0, alarm.held());
    const News lost{ 3, 0, SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA, 1, "a song" };
    EXPECT_THAT(alarm.news(1), testing::ElementsAre(lost));
    EXPECT_NE(std::this_thread::get_id(), alarm.thread());

    ASSERT_EQ(kNone, media.release(kBoth, SOUND_BEHAVIOR_FADING));
    EXPECT_EQ(3, alarm.held());
    const News regained{ 3, 1, SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA, 2, "(none)" };
    EXPECT_THAT(alarm.news(2), testing::ElementsAre(lost, regained));

    // In the callback the state had changed; own doings are not told.
    EXPECT_THAT(seen, testing::ElementsAre(0, 3));
    EXPECT_THAT(media.news(0), testing::IsEmpty());
}

TEST_F(SoundManagerTest, OnePartAloneIsTaken)
{
    Stream alarm(SOUND_STREAM_TYPE_ALARM);
    Stream speech(SOUND_STREAM_TYPE_VOICE_RECOGNITION);
    alarm.acquire(kBoth);

    EXPECT_EQ(kNone, speech.acquire(kRecording));

    EXPECT_EQ(1, alarm.held());
    EXPECT_EQ(2, speech.held());
    const News lost{ 2, 0, SOUND_STREAM_FOCUS_CHANGED_BY_VOICE_RECOGNITION, 0, "(none)" };
    EXPECT_THAT(alarm.news(1), testing::ElementsAre(lost));
}

TEST_F(SoundManagerTest, TheLastLoserComesFirst)
{
    Stream first(SOUND_STREAM_TYPE_MEDIA);
    Stream second(SOUND_STREAM_TYPE_NOTIFICATION);
    Stream third(SOUND_STREAM_TYPE_MEDIA_EXTERNAL_ONLY);
    first.acquire(kBoth);
    second.acquire(kBoth);
    third.acquire(kPlayback);
    const News lostToThird{ 1, 0, SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA_EXTERNAL_ONLY, 0, "(none)" };
    EXPECT_THAT(second.news(1), testing::ElementsAre(lostToThird));

    third.release(kPlayback);
    EXPECT_EQ(3, second.held());
    EXPECT_EQ(0, first.held());
    second.destroy();
    EXPECT_EQ(3, first.held());
}

TEST_F(SoundManagerTest, WhoWaitsMayTakeItAgain)
{
    Stream alarm(SOUND_STREAM_TYPE_ALARM);
    Stream media(SOUND_STREAM_TYPE_MEDIA);
    alarm.acquire(kBoth);
    media.acquire(kBoth);
    EXPECT_EQ(kNone, alarm.acquire(kBoth));
    EXPECT_EQ(3, alarm.held());

    EXPECT_EQ(kNone, alarm.release(kBoth));
    EXPECT_EQ(3, media.held());
    EXPECT_EQ(kNone, media.release(kBoth));
    EXPECT_EQ(0, alarm.held());
}

struct PolicyCase {
    const char* name;
    sound_stream_type_e holder;
    int answer;
};

class SoundPolicyTest : public testing::TestWithParam<PolicyCase> {};

TEST_P(SoundPolicyTest, DecidesWhetherTheHolderLosesIt)
{
    HostSession session;
    Stream holder(GetParam().holder);
    Stream alarm(SOUND_STREAM_TYPE_ALARM);
    ASSERT_EQ(kNone, holder.acquire(kPlayback));

    EXPECT_EQ(GetParam().answer, alarm.acquire(kBoth));

    EXPECT_EQ(GetParam().answer == kNone ? 3 : 0, alarm.held());
    EXPECT_EQ(GetParam().answer == kNone ? 0 : 1, holder.held());
}

INSTANTIATE_TEST_SUITE_P(Table, SoundPolicyTest,
    testing::Values(PolicyCase{ "Media", SOUND_STREAM_TYPE_MEDIA, kNone },
        PolicyCase{ "Alarm", SOUND_STREAM_TYPE_ALARM, kNone },
        PolicyCase{ "Ringtone", SOUND_STREAM_TYPE_RINGTONE_VOIP, kNone },
        PolicyCase{ "Emergency", SOUND_STREAM_TYPE_EMERGENCY, kPolicy },
        PolicyCase{ "InternetCall", SOUND_STREAM_TYPE_VOIP, kPolicy }),
    [](const auto& row) { return row.param.name; });

TEST_F(SoundManagerTest, CallOfAnotherApplicationIsNotInterrupted)
{
    Stream alarm(SOUND_STREAM_TYPE_ALARM);
    ASSERT_EQ(kNone, alarm.acquire(kBoth));

    ASSERT_EQ(0, system("hostctl focus take --reason call"));
    const News lost{ 3, 0, SOUND_STREAM_FOCUS_CHANGED_BY_CALL, 0, "(none)" };
    EXPECT_THAT(alarm.news(1), testing::ElementsAre(lost));
    EXPECT_EQ(kPolicy, alarm.acquire(kBoth));

    // Its process ends with this.
    ASSERT_EQ(0, system("hostctl focus release --reason call"));
    const News regained{ 3, 1, SOUND_STREAM_FOCUS_CHANGED_BY_CALL, 0, "(none)" };
    EXPECT_THAT(alarm.news(2), testing::ElementsAre(lost, regained));
    EXPECT_EQ(3, alarm.held());
}

TEST_F(SoundManagerTest, DestroyWaitsForTheRunningCallbackAndNoneComesAfterwards)
{
    auto stream = std::make_unique<Stream>(SOUND_STREAM_TYPE_ALARM);
    Stream media(SOUND_STREAM_TYPE_MEDIA);
    std::mutex mutex;
    std::condition_variable changed;
    bool isEntered = false;
    bool isOpen = false;
    std::atomic<bool> isLeft{ false };
    stream->whenTold = [&] {
        std::unique_lock<std::mutex> lock(mutex);
        isEntered = true;
        changed.notify_all();
        changed.wait(lock, [&] { return isOpen; });
        isLeft = true;
    };
    stream->acquire(kBoth);
    media.acquire(kBoth);
    {
        std::unique_lock<std::mutex> lock(mutex);
        changed.wait(lock, [&] { return isEntered; });
    }
    // Told next, if it were not destroyed. Calls do not wait for the callback.
    EXPECT_EQ(kNone, media.release(kBoth));

    std::thread opener([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        const std::lock_guard<std::mutex> lock(mutex);
        isOpen = true;
        changed.notify_all();
    });
    stream->destroy();
    EXPECT_TRUE(isLeft);
    opener.join();
    EXPECT_EQ(1u, stream->news(1).size());
    EXPECT_EQ(kNone, media.acquire(kBoth));
    EXPECT_EQ(1u, stream->news(1).size());
}

TEST_F(SoundManagerTest, MayBeUsedInItsCallbackWhileItIsDestroyed)
{
    Stream stream(SOUND_STREAM_TYPE_ALARM);
    Stream media(SOUND_STREAM_TYPE_MEDIA);
    std::atomic<bool> isEntered{ false };
    int held = -1;
    int answer = -1;
    stream.whenTold = [&] {
        isEntered = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        held = stream.held();
        answer = stream.acquire(kBoth);
    };
    stream.acquire(kBoth);
    media.acquire(kBoth);
    while (!isEntered)
        std::this_thread::yield();

    stream.destroy();

    EXPECT_EQ(0, held);
    EXPECT_EQ(kNone, answer);
    EXPECT_EQ(3, media.held());
}

TEST_F(SoundManagerTest, MayBeUsedAndDestroyedInItsCallback)
{
    Stream stream(SOUND_STREAM_TYPE_ALARM);
    Stream media(SOUND_STREAM_TYPE_MEDIA);
    std::atomic<int> answer{ -1 };
    stream.whenTold = [&] {
        answer = stream.acquire(kBoth);
        stream.destroy();
    };
    stream.acquire(kBoth);
    media.acquire(kBoth);

    EXPECT_EQ(1u, stream.news(1).size());
    EXPECT_EQ(kNone, answer);
    EXPECT_EQ(3, media.held());
}

TEST_F(SoundManagerTest, CallsFromSeveralThreadsLeaveItUsable)
{
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 20; ++round) {
                Stream stream(SOUND_STREAM_TYPE_ALARM);
                stream.acquire(kBoth);
                stream.held();
                stream.release(kBoth);
                int level = 0;
                EXPECT_EQ(kNone, sound_manager_get_volume(SOUND_TYPE_ALARM, &level));
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    Stream stream(SOUND_STREAM_TYPE_ALARM);
    EXPECT_EQ(kNone, stream.acquire(kBoth));
    EXPECT_EQ(3, stream.held());
}

// What a process is told that does not go by the module.
class HostdItselfTest : public SoundManagerTest {
protected:
    template <typename... Arguments>
    std::string errorOf(const char* method, const Arguments&... arguments)
    {
        try {
            const std::string name = method;
            const size_t dot = name.find('.');
            _hostd->callMethod(name.substr(dot + 1))
                .onInterface("com.velmora.host." + name.substr(0, dot))
                .withArguments(arguments...);
            return "none";
        } catch (const sdbus::Error& error) {
            return error.getName();
        }
    }

    using Claim = sdbus::Struct<std::uint32_t, std::int32_t, std::int32_t, std::uint64_t, bool>;

private:
    std::unique_ptr<sdbus::IProxy> _hostd
        = sdbus::createProxy(host::bus(), host::kDaemonName, host::kDaemonPath);
};

TEST_F(HostdItselfTest, RefusesWhatTheModuleWouldNotAskFor)
{
    const std::string invalid = "org.freedesktop.DBus.Error.InvalidArgs";
    const std::int32_t types = 8;
    const std::int32_t none = 0;
    for (const std::int32_t type : { -1, types }) {
        EXPECT_EQ(invalid, errorOf("Volume.Get", type));
        EXPECT_EQ(invalid, errorOf("Volume.Set", type, none));
    }
    for (const std::int32_t level : { -1, 16 })
        EXPECT_EQ(invalid, errorOf("Volume.Set", none, level));
    EXPECT_EQ("none", errorOf("Volume.Set", types - 1, std::int32_t{ 15 }));
    const std::uint32_t stream = 1;
    for (const std::int32_t mask : { 0, 4 }) {
        EXPECT_EQ(invalid, errorOf("Focus.Acquire", stream, none, mask, none, std::string()));
        EXPECT_EQ(invalid, errorOf("Focus.Release", stream, mask, none, std::string()));
    }

    std::vector<Claim> claims;
    for (std::uint32_t number = 1; number <= 100; ++number)
        claims.emplace_back(number, std::int32_t{ 1 }, none, std::uint64_t{ number }, true);
    EXPECT_EQ("none", errorOf("Focus.Renew", claims));
    claims.emplace_back(std::uint32_t{ 101 }, std::int32_t{ 1 }, none, std::uint64_t{ 101 }, true);
    EXPECT_EQ("org.freedesktop.DBus.Error.LimitsExceeded", errorOf("Focus.Renew", claims));
}

// What another process is told when it asks for the focus.
std::string answerToAnother()
{
    FILE* output
        = popen("dbus-send --session --print-reply --dest=com.velmora.host /com/velmora/host "
                "com.velmora.host.Focus.Acquire uint32:1 int32:0 int32:3 int32:0 string: 2>&1",
            "r");
    std::string text;
    for (int c = 0; (c = fgetc(output)) != EOF;)
        text += static_cast<char>(c);
    pclose(output);
    return text;
}

TEST_F(SoundManagerTest, AHostdThatHangsIsNotWaitedForAndLearnsLaterWhatWasDone)
{
    using std::chrono::steady_clock;
    const pid_t daemon = session.daemonPid();
    Stream call(SOUND_STREAM_TYPE_VOIP);
    Stream former(SOUND_STREAM_TYPE_EMERGENCY);
    ASSERT_EQ(kNone, former.acquire(kBoth));
    ASSERT_EQ(0, kill(daemon, SIGSTOP));
    const auto begin = steady_clock::now();
    int level = 77;

    // Each of these waited for ten seconds once.
    EXPECT_EQ(kNone, former.release(kPlayback));
    former.destroy();
    EXPECT_EQ(kNone, call.acquire(kBoth));
    EXPECT_EQ(kInvalidState, call.acquire(kBoth));
    EXPECT_EQ(3, call.held());
    EXPECT_EQ(kNone, sound_manager_set_volume(SOUND_TYPE_ALARM, 4));
    EXPECT_EQ(kNone, sound_manager_set_volume(SOUND_TYPE_ALARM, 5));
    EXPECT_EQ(kNone, sound_manager_get_volume(SOUND_TYPE_ALARM, &level));
    EXPECT_LT(steady_clock::now() - begin, std::chrono::seconds(5));
    EXPECT_EQ(5, level);
    kill(daemon, SIGCONT);

    EXPECT_TRUE(session.waitFor(
        [] { return answerToAnother().find("Focus.Error.Policy") != std::string::npos; }));
    EXPECT_TRUE(session.waitFor([] { return host::storedVolume(SOUND_TYPE_ALARM) == 5; }));
    EXPECT_EQ(3, call.held());
    EXPECT_THAT(call.news(0), testing::IsEmpty());
    EXPECT_EQ(daemon, session.daemonPid());
}

TEST_F(SoundManagerTest, WhoTookItFromACallWhileHostdHungIsToldLater)
{
    ASSERT_EQ(0, system("hostctl focus take --reason call"));
    const pid_t daemon = session.daemonPid();
    Stream alarm(SOUND_STREAM_TYPE_ALARM);
    ASSERT_EQ(kPolicy, alarm.acquire(kBoth));

    static std::atomic<bool> answers{ false };
    host::setLogHook([](int, const char*, const char* text) {
        answers = answers || std::string(text) == "hostd answers again";
    });
    ASSERT_EQ(0, kill(daemon, SIGSTOP));
    EXPECT_EQ(kNone, alarm.acquire(kBoth));
    kill(daemon, SIGCONT);
    EXPECT_TRUE(session.waitFor([] { return answers.load(); }));
    host::setLogHook(nullptr);

    const News lost{ 3, 0, SOUND_STREAM_FOCUS_CHANGED_BY_CALL, 0, "(none)" };
    EXPECT_THAT(alarm.news(1), testing::ElementsAre(lost));
    EXPECT_EQ(kPolicy, alarm.acquire(kBoth));
    ASSERT_EQ(0, system("hostctl focus release --reason call"));
    EXPECT_EQ(2u, alarm.news(2).size());
    EXPECT_EQ(3, alarm.held());
}

TEST_F(SoundManagerTest, ANewHostdKnowsWhoHoldsTheFocus)
{
    Stream alarm(SOUND_STREAM_TYPE_ALARM);
    Stream speech(SOUND_STREAM_TYPE_VOICE_RECOGNITION);
    Stream idle(SOUND_STREAM_TYPE_MEDIA);
    ASSERT_EQ(kNone, alarm.acquire(kBoth));
    ASSERT_EQ(kNone, speech.acquire(kRecording));
    ASSERT_EQ(0, system("hostctl focus take --reason call"));
    const News lostPlayback{ 1, 0, SOUND_STREAM_FOCUS_CHANGED_BY_CALL, 0, "(none)" };
    const News lostRecording{ 2, 0, SOUND_STREAM_FOCUS_CHANGED_BY_CALL, 0, "(none)" };
    ASSERT_EQ(2u, alarm.news(2).size());
    ASSERT_THAT(speech.news(1), testing::ElementsAre(lostRecording));
    const pid_t before = session.daemonPid();

    session.killDaemon();
    ASSERT_TRUE(session.waitFor([&] {
        const pid_t now = session.daemonPid();
        return now != 0 && now != before;
    }));
    EXPECT_TRUE(session.waitFor(
        [] { return answerToAnother().find("Focus.Error.Policy") != std::string::npos; }));
    EXPECT_EQ(kPolicy, alarm.acquire(kPlayback));
    EXPECT_EQ(0, alarm.held());
    ASSERT_EQ(0, system("hostctl focus release --reason call"));

    ASSERT_EQ(3u, alarm.news(3).size());
    EXPECT_EQ(1, alarm.news(3)[2].mask);
    EXPECT_EQ(1, alarm.news(3)[2].state);
    EXPECT_EQ(2u, speech.news(2).size());
    EXPECT_EQ(1, alarm.held());
    EXPECT_EQ(2, speech.held());

    EXPECT_EQ(kNone, alarm.release(kPlayback));
    EXPECT_EQ(0, idle.held()) << "it had not asked for anything";
}

TEST_F(SoundManagerTest, AForgedSignalTakesNothing)
{
    Stream alarm(SOUND_STREAM_TYPE_ALARM);
    Stream media(SOUND_STREAM_TYPE_MEDIA);
    ASSERT_EQ(kNone, alarm.acquire(kBoth));
    std::vector<std::string> names;
    sdbus::createProxy(host::bus(), "org.freedesktop.DBus", "/org/freedesktop/DBus")
        ->callMethod("ListNames")
        .onInterface("org.freedesktop.DBus")
        .storeResultsTo(names);

    for (const std::string& name : names) {
        const std::string lost = " uint32:1 int32:3 boolean:false int32:0 int32:0 string:''";
        for (const std::string& to : { std::string(), name }) {
            ASSERT_TRUE(forge(to, "/com/velmora/host", "com.velmora.host.Focus.Changed",
                "string:" + name + lost));
        }
    }
    ASSERT_EQ(kNone, media.acquire(kRecording));

    const News lost{ 2, 0, SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA, 0, "(none)" };
    EXPECT_THAT(alarm.news(1), testing::ElementsAre(lost));
    EXPECT_EQ(1, alarm.held());
}

TEST_F(SoundManagerTest, WhatAStreamOfAnotherProcessLosesIsNotToldToMineOfItsNumber)
{
    Stream alarm(SOUND_STREAM_TYPE_ALARM); // number 1
    Stream media(SOUND_STREAM_TYPE_MEDIA);
    Stream speech(SOUND_STREAM_TYPE_VOICE_RECOGNITION);
    ASSERT_EQ(kNone, alarm.acquire(kPlayback));
    const auto another = host::connectToBus();
    sdbus::createProxy(*another, host::kDaemonName, host::kDaemonPath)
        ->callMethod("Acquire")
        .onInterface("com.velmora.host.Focus")
        .withArguments(std::uint32_t{ 1 }, std::int32_t{ SOUND_STREAM_FOCUS_CHANGED_BY_MEDIA },
            std::int32_t{ kRecording }, std::int32_t{ 0 }, std::string());

    ASSERT_EQ(kNone, media.acquire(kRecording)); // which the other process loses
    ASSERT_EQ(kNone, speech.acquire(kPlayback));

    const News lost{ 1, 0, SOUND_STREAM_FOCUS_CHANGED_BY_VOICE_RECOGNITION, 0, "(none)" };
    EXPECT_THAT(alarm.news(1), testing::ElementsAre(lost));
}

TEST_F(SoundManagerTest, VolumesAreElevenAtFirstAndKeptPerType)
{
    int alarm = 0;
    int media = 0;
    EXPECT_EQ(kNone, sound_manager_get_volume(SOUND_TYPE_ALARM, &alarm));
    EXPECT_EQ(11, alarm);

    EXPECT_EQ(kNone, sound_manager_set_volume(SOUND_TYPE_ALARM, 0));
    EXPECT_EQ(kNone, sound_manager_get_volume(SOUND_TYPE_ALARM, &alarm));
    EXPECT_EQ(0, alarm);
    EXPECT_EQ(kNone, sound_manager_set_volume(SOUND_TYPE_ALARM, 3));
    const pid_t before = session.daemonPid();
    session.killDaemon();
    EXPECT_EQ(kNone, sound_manager_get_volume(SOUND_TYPE_ALARM, &alarm));
    EXPECT_EQ(kNone, sound_manager_get_volume(SOUND_TYPE_MEDIA, &media));
    EXPECT_NE(before, session.daemonPid());
    EXPECT_EQ(3, alarm);
    EXPECT_EQ(11, media);
}

} // namespace
