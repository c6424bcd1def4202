#include "host/common/Log.h"
#include "HostSession.h"
#include "Listener.h"
#include "SoundServer.h"
#include "TempDir.h"

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <player.h>
#include <thread>

namespace {

const int kNone = PLAYER_ERROR_NONE;
const double kNoGap = 0.0005; ///< seconds

double lengthOf(const Samples& samples) { return static_cast<double>(samples.size()) / kRate; }

// The largest step from one sample to the next.
int steepest(const Samples& samples)
{
    int step = 0;
    for (size_t at = 1; at < samples.size(); ++at)
        step = std::max(step, std::abs(samples[at] - samples[at - 1]));
    return step;
}

// What a callback tells a test that waits for it.
class Event {
public:
    void set(int value = 0)
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _isSet = true;
        _value = value;
        _changed.notify_all();
    }
    bool wait(double seconds = 10)
    {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(
            lock, std::chrono::duration<double>(seconds), [this] { return _isSet; });
    }
    int value()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        return _value;
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _isSet = false;
    int _value = 0;
};

void setEventCb(void* event) { static_cast<Event*>(event)->set(); }

void setErrorCb(int error, void* event) { static_cast<Event*>(event)->set(error); }

class PlayerTest : public testing::Test {
protected:
    PlayerTest()
    {
        EXPECT_EQ(kNone, player_create(&player));
        EXPECT_EQ(kNone,
            sound_manager_create_stream_information(
                SOUND_STREAM_TYPE_ALARM, nullptr, nullptr, &stream));
        EXPECT_EQ(0, sound_manager_set_volume(SOUND_TYPE_ALARM, 15));
        EXPECT_EQ(kNone, player_set_sound_stream_info(player, stream));
        EXPECT_EQ(kNone, player_set_error_cb(player, setErrorCb, &failed));
    }
    ~PlayerTest() override
    {
        if (player)
            player_destroy(player);
        sound_manager_destroy_stream_information(stream);
    }

    std::string tone(const Samples& samples)
    {
        std::string path = dir.file("tone.wav");
        writeWav(path, samples);
        return path;
    }

    void prepare(const std::string& path)
    {
        ASSERT_EQ(kNone, player_set_uri(player, path.c_str()));
        Event prepared;
        ASSERT_EQ(kNone, player_prepare_async(player, setEventCb, &prepared));
        ASSERT_TRUE(prepared.wait()) << "error " << failed.value();
    }

    void bringTo(player_state_e state)
    {
        const std::string path = tone(sine(880, 1));
        if (state == PLAYER_STATE_IDLE) {
            ASSERT_EQ(kNone, player_set_uri(player, path.c_str()));
            return;
        }
        prepare(path);
        if (state != PLAYER_STATE_READY) {
            ASSERT_EQ(kNone, player_start(player));
        }
        if (state == PLAYER_STATE_PAUSED) {
            ASSERT_EQ(kNone, player_pause(player));
        }
    }

    /// Plays a file to its end from where seek brings it, on a sink that has never played: one that
    /// has swallows one or two of its periods of 10 ms.
    Samples playFromTheStart(Listener& listener, const std::string& path, int seek = 0)
    {
        player_unprepare(player);
        prepare(path);
        if (seek > 0) {
            Event completed;
            EXPECT_EQ(kNone, player_set_play_position(player, seek, true, setEventCb, &completed));
            EXPECT_TRUE(completed.wait());
            EXPECT_EQ(PLAYER_STATE_READY, state());
        }
        listener.take();
        player_start(player);
        EXPECT_TRUE(listener.waitForSound());
        EXPECT_TRUE(listener.waitForSilence());
        return trimmed(listener.take());
    }

    player_state_e state()
    {
        player_state_e now = PLAYER_STATE_NONE;
        EXPECT_EQ(kNone, player_get_state(player, &now));
        return now;
    }

    HostSession session;
    TempDir dir;
    Event failed;
    player_h player = nullptr;
    sound_stream_info_h stream = nullptr;
};

TEST_F(PlayerTest, NullsAreRefused)
{
    player_state_e untouched = PLAYER_STATE_PAUSED;
    const int invalid = PLAYER_ERROR_INVALID_PARAMETER;
    EXPECT_EQ(invalid, player_create(nullptr));
    EXPECT_EQ(invalid, player_destroy(nullptr));
    EXPECT_EQ(invalid, player_get_state(nullptr, &untouched));
    EXPECT_EQ(invalid, player_get_state(player, nullptr));
    EXPECT_EQ(invalid, player_set_looping(nullptr, true));
    EXPECT_EQ(invalid, player_set_uri(nullptr, "/x"));
    EXPECT_EQ(invalid, player_set_uri(player, nullptr));
    EXPECT_EQ(invalid, player_set_sound_stream_info(player, nullptr));
    EXPECT_EQ(invalid, player_set_sound_stream_info(nullptr, stream));
    EXPECT_EQ(invalid, player_set_error_cb(player, nullptr, nullptr));
    EXPECT_EQ(invalid, player_prepare_async(player, nullptr, nullptr));
    EXPECT_EQ(invalid, player_prepare_async(nullptr, setEventCb, nullptr));
    EXPECT_EQ(invalid, player_unprepare(nullptr));
    EXPECT_EQ(invalid, player_set_play_position(nullptr, 0, true, setEventCb, nullptr));
    EXPECT_EQ(invalid, player_set_play_position(player, -1, true, setEventCb, nullptr));
    EXPECT_EQ(invalid, player_start(nullptr));
    EXPECT_EQ(invalid, player_pause(nullptr));
    EXPECT_EQ(invalid, player_stop(nullptr));
    EXPECT_EQ(PLAYER_STATE_PAUSED, untouched);
}

TEST_F(PlayerTest, IsIdleAtFirstAndNeedsAUri)
{
    EXPECT_EQ(PLAYER_STATE_IDLE, state());
    EXPECT_EQ(PLAYER_ERROR_INVALID_STATE, player_prepare_async(player, setEventCb, &failed));
    EXPECT_EQ(PLAYER_ERROR_INVALID_URI, player_set_uri(player, "no/absolute/path"));
    EXPECT_EQ(PLAYER_ERROR_INVALID_URI, player_set_uri(player, ""));
}

struct CallCase {
    const char* name;
    int (*call)(player_h player, sound_stream_info_h stream);
    std::vector<player_state_e> allowed;
    player_state_e after; ///< NONE = as before
};

void PrintTo(const CallCase& row, std::ostream* out) { *out << row.name; }

class PlayerCallTest : public PlayerTest, public testing::WithParamInterface<CallCase> {};

TEST_P(PlayerCallTest, IsAllowedInItsStatesOnly)
{
    const CallCase& row = GetParam();
    for (const player_state_e before :
        { PLAYER_STATE_IDLE, PLAYER_STATE_READY, PLAYER_STATE_PLAYING, PLAYER_STATE_PAUSED }) {
        SCOPED_TRACE(before);
        bringTo(before);
        ASSERT_EQ(before, state());
        if (testing::Matches(testing::Contains(before))(row.allowed)) {
            EXPECT_EQ(kNone, row.call(player, stream));
            EXPECT_EQ(row.after == PLAYER_STATE_NONE ? before : row.after, state());
        } else {
            EXPECT_EQ(PLAYER_ERROR_INVALID_STATE, row.call(player, stream));
            EXPECT_EQ(before, state());
        }
        if (state() != PLAYER_STATE_IDLE) {
            ASSERT_EQ(kNone, player_unprepare(player));
        }
    }
}

const player_state_e kIdle = PLAYER_STATE_IDLE;
const player_state_e kReady = PLAYER_STATE_READY;
const player_state_e kPlaying = PLAYER_STATE_PLAYING;
const player_state_e kPaused = PLAYER_STATE_PAUSED;

INSTANTIATE_TEST_SUITE_P(Table, PlayerCallTest,
    testing::Values(
        CallCase{ "SetLooping", [](player_h p, auto) { return player_set_looping(p, true); },
            { kIdle, kReady, kPlaying, kPaused }, PLAYER_STATE_NONE },
        CallCase{ "SetUri", [](player_h p, auto) { return player_set_uri(p, "/x.wav"); }, { kIdle },
            PLAYER_STATE_NONE },
        CallCase{ "SetStream",
            [](player_h p, auto stream) { return player_set_sound_stream_info(p, stream); },
            { kIdle }, PLAYER_STATE_NONE },
        CallCase{ "SetErrorCallback",
            [](player_h p, auto) {
                static Event unused;
                return player_set_error_cb(p, setErrorCb, &unused);
            },
            { kIdle, kReady, kPlaying, kPaused }, PLAYER_STATE_NONE },
        CallCase{ "Seek",
            [](player_h p, auto) {
                return player_set_play_position(p, 100, true, nullptr, nullptr);
            },
            { kReady, kPlaying, kPaused }, PLAYER_STATE_NONE },
        CallCase{ "Start", [](player_h p, auto) { return player_start(p); }, { kReady, kPaused },
            kPlaying },
        CallCase{
            "Pause", [](player_h p, auto) { return player_pause(p); }, { kPlaying }, kPaused },
        CallCase{ "Stop", [](player_h p, auto) { return player_stop(p); },
            { kReady, kPlaying, kPaused }, kReady },
        CallCase{ "Unprepare", [](player_h p, auto) { return player_unprepare(p); },
            { kReady, kPlaying, kPaused }, kIdle }),
    [](const auto& row) { return row.param.name; });

TEST_F(PlayerTest, PrepareAnswersOnAnotherThreadInReady)
{
    struct Seen {
        player_h player;
        Event done;
        std::thread::id thread;
        player_state_e state = PLAYER_STATE_NONE;
    } seen{ player, {}, {}, PLAYER_STATE_NONE };
    player_set_uri(player, tone(sine(880, 1)).c_str());

    EXPECT_EQ(kNone,
        player_prepare_async(
            player,
            [](void* data) {
                auto* to = static_cast<Seen*>(data);
                to->thread = std::this_thread::get_id();
                player_get_state(to->player, &to->state);
                to->done.set();
            },
            &seen));
    EXPECT_EQ(PLAYER_STATE_IDLE, state());
    EXPECT_EQ(PLAYER_ERROR_INVALID_OPERATION, player_prepare_async(player, setEventCb, &failed));

    ASSERT_TRUE(seen.done.wait());
    EXPECT_NE(std::this_thread::get_id(), seen.thread);
    EXPECT_EQ(PLAYER_STATE_READY, seen.state);
    EXPECT_EQ(PLAYER_ERROR_INVALID_STATE, player_prepare_async(player, setEventCb, &failed));
}

struct BadFile {
    const char* name;
    const char* content; ///< null = there is none
    int error;
};

class PlayerFileTest : public PlayerTest, public testing::WithParamInterface<BadFile> {};

TEST_P(PlayerFileTest, IsReportedAndTheNextOneCanBePrepared)
{
    const std::string path = dir.file("bad");
    if (GetParam().content)
        std::ofstream(path) << GetParam().content;
    ASSERT_EQ(kNone, player_set_uri(player, path.c_str()));

    std::atomic<int> prepared{ 0 };
    ASSERT_EQ(kNone,
        player_prepare_async(
            player, [](void* count) { ++*static_cast<std::atomic<int>*>(count); }, &prepared));

    ASSERT_TRUE(failed.wait());
    EXPECT_EQ(GetParam().error, failed.value());
    EXPECT_EQ(PLAYER_STATE_IDLE, state());
    prepare(tone(sine(880, 1)));
    EXPECT_EQ(0, prepared);
}

INSTANTIATE_TEST_SUITE_P(Table, PlayerFileTest,
    testing::Values(BadFile{ "Missing", nullptr, PLAYER_ERROR_NO_SUCH_FILE },
        BadFile{ "Text", "This is no sound at all.", PLAYER_ERROR_NOT_SUPPORTED_FILE },
        BadFile{ "Empty", "", PLAYER_ERROR_NOT_SUPPORTED_FILE },
        BadFile{ "Cut", "RIFF\x24\xac", PLAYER_ERROR_NOT_SUPPORTED_FILE }),
    [](const auto& row) { return row.param.name; });

TEST_F(PlayerTest, AFileWithoutASingleSampleIsNotSupported)
{
    const std::string path = tone({});
    ASSERT_EQ(kNone, player_set_uri(player, path.c_str()));

    ASSERT_EQ(kNone, player_prepare_async(player, setEventCb, nullptr));

    ASSERT_TRUE(failed.wait());
    EXPECT_EQ(PLAYER_ERROR_NOT_SUPPORTED_FILE, failed.value());
    EXPECT_EQ(PLAYER_STATE_IDLE, state());
}

TEST_F(PlayerTest, PreparesATonesOneSample)
{
    prepare(tone({ 1000 }));

    EXPECT_EQ(PLAYER_STATE_READY, state());
}

TEST_F(PlayerTest, LoopsWithoutAGap)
{
    // Half a second holds 440 whole waves, so that a right seam cannot be seen.
    Listener listener;
    prepare(tone(sine(880, 0.5)));
    player_set_looping(player, true);
    player_start(player);
    ASSERT_TRUE(listener.waitForSound());

    // A sine is never steeper. On a busy machine the server may tear a hole, shorter than a gap,
    // into what it plays; a wrong seam comes every time.
    const double steepestSine = 16384 * 2 * M_PI * 880 / kRate * 1.05;
    const Samples heard = hearUntil([&] { return listener.listen(2.2); }, // four seams
        [=](const Samples& loop) {
            return longestSilence(loop, 1000) < kNoGap && steepest(loop) < steepestSine;
        });

    EXPECT_NEAR(880, pitch(heard), 0.5);
    EXPECT_NEAR(16384, peak(heard), 200);
    EXPECT_LT(longestSilence(heard, 1000), kNoGap);
    EXPECT_LT(steepest(heard), steepestSine);
}

TEST_F(PlayerTest, LoopingMayBeSwitchedOnWhileItPlays)
{
    Listener listener;
    prepare(tone(sine(880, 1)));
    player_start(player);
    ASSERT_TRUE(listener.waitForSound());
    player_set_looping(player, true);

    EXPECT_LT(longestSilence(listener.listenWithoutGap(2, kNoGap, 1000), 1000), kNoGap);
}

TEST_F(PlayerTest, WithoutLoopingPlaysOnceAndStaysPlaying)
{
    Listener listener;
    const std::string path = tone(sine(880, 0.5));

    const Samples heard = hearUntil([&] { return playFromTheStart(listener, path); },
        [](const Samples& once) { return std::abs(lengthOf(once) - 0.5) < 0.005; });

    EXPECT_NEAR(0.5, lengthOf(heard), 0.005);
    EXPECT_EQ(PLAYER_STATE_PLAYING, state());
}

TEST_F(PlayerTest, SeeksToTheMillisecond)
{
    Samples samples = sine(440, 1);
    const Samples second = sine(880, 1);
    samples.insert(samples.end(), second.begin(), second.end());
    Listener listener;
    const std::string path = tone(samples);

    const Samples heard = hearUntil([&] { return playFromTheStart(listener, path, 1000); },
        [](const Samples& rest) {
            return std::abs(lengthOf(rest) - 1) < 0.002 && std::abs(pitch(rest) - 880) < 0.5;
        });

    EXPECT_NEAR(1, lengthOf(heard), 0.002);
    EXPECT_NEAR(880, pitch(heard), 0.5);
}

TEST_F(PlayerTest, LoopsFromTheBeginningAfterASeek)
{
    Samples samples = sine(440, 0.5);
    const Samples second = sine(880, 0.5);
    samples.insert(samples.end(), second.begin(), second.end());
    const std::string path = tone(samples);
    Listener listener;
    player_set_looping(player, true);

    const auto part = [](const Samples& heard, double from) {
        const auto begin = heard.begin() + std::lround(from * kRate);
        return pitch(Samples(begin, begin + std::lround(0.4 * kRate)));
    };
    const auto play = [&] {
        player_unprepare(player);
        prepare(path);
        Event completed;
        EXPECT_EQ(kNone, player_set_play_position(player, 500, true, setEventCb, &completed));
        EXPECT_TRUE(completed.wait());
        listener.take();
        player_start(player);
        EXPECT_TRUE(listener.waitFor(
            [](const Samples& heard) { return trimmed(heard).size() > 1.6 * kRate; }));
        return trimmed(listener.take());
    };
    const Samples heard = hearUntil(play, [&](const Samples& loop) {
        return std::abs(part(loop, 0.05) - 880) < 2 && std::abs(part(loop, 0.55) - 440) < 2
            && std::abs(part(loop, 1.05) - 880) < 2;
    });

    EXPECT_NEAR(880, part(heard, 0.05), 2);
    EXPECT_NEAR(440, part(heard, 0.55), 2);
    EXPECT_NEAR(880, part(heard, 1.05), 2);
}

TEST_F(PlayerTest, RefusesASeekWhileOneRunsAndOneBehindTheEnd)
{
    struct Seen {
        player_h player;
        Event done;
        Event completed;
        int first = 0;
        int second = 0;
    } seen{ player, {}, {}, 0, 0 };
    player_set_uri(player, tone(sine(880, 1)).c_str());

    // From the prepared callback, behind which the first one's completion has to wait.
    ASSERT_EQ(kNone,
        player_prepare_async(
            player,
            [](void* data) {
                auto* to = static_cast<Seen*>(data);
                to->first
                    = player_set_play_position(to->player, 100, true, setEventCb, &to->completed);
                to->second
                    = player_set_play_position(to->player, 200, true, setEventCb, &to->completed);
                to->done.set();
            },
            &seen));

    ASSERT_TRUE(seen.done.wait());
    EXPECT_EQ(kNone, seen.first);
    EXPECT_EQ(PLAYER_ERROR_SEEK_FAILED, seen.second);
    ASSERT_TRUE(seen.completed.wait());
    EXPECT_EQ(
        PLAYER_ERROR_SEEK_FAILED, player_set_play_position(player, 5000, true, nullptr, nullptr));
    EXPECT_EQ(kNone, player_set_play_position(player, 300, true, nullptr, nullptr));
}

TEST_F(PlayerTest, PauseIsSilentAndStartGoesOn)
{
    const double all = 1.5;
    Listener listener;
    const std::string path = tone(sine(880, all));

    const auto play = [&] {
        player_unprepare(player);
        prepare(path);
        listener.take();
        player_start(player);
        EXPECT_TRUE(listener.waitForSound());
        EXPECT_TRUE(listener.waitFor(
            [](const Samples& heard) { return trimmed(heard).size() > 0.3 * kRate; }));
        player_pause(player);
        EXPECT_TRUE(listener.waitForSilence());
        Samples heard = trimmed(listener.take());
        player_start(player);
        EXPECT_TRUE(listener.waitForSound());
        EXPECT_TRUE(listener.waitForSilence());
        const Samples rest = trimmed(listener.take());
        heard.insert(heard.end(), rest.begin(), rest.end());
        return heard;
    };
    const Samples heard = hearUntil(
        play, [=](const Samples& both) { return std::abs(lengthOf(both) - all) < 0.1; });

    EXPECT_NEAR(all, lengthOf(heard), 0.1);
}

TEST_F(PlayerTest, StopGoesBackToTheBeginning)
{
    Listener listener;
    prepare(tone(sine(880, 1)));
    player_start(player);

    const auto stopAndPlay = [&] {
        EXPECT_TRUE(listener.waitForSound());
        player_stop(player);
        EXPECT_TRUE(listener.waitForSilence());
        listener.take();
        player_start(player);
        EXPECT_TRUE(listener.waitForSound());
        EXPECT_TRUE(listener.waitForSilence());
        Samples heard = trimmed(listener.take());
        player_stop(player);
        player_start(player); // for another time
        return heard;
    };
    // A sink that has played before swallows one or two of its periods of 10 ms.
    const Samples heard = hearUntil(
        stopAndPlay, [](const Samples& once) { return std::abs(lengthOf(once) - 1) < 0.05; });

    EXPECT_NEAR(1, lengthOf(heard), 0.05);
}

TEST_F(PlayerTest, PlaysOggVorbis)
{
    Listener listener;
    prepare(TONES "/Digital_Beep.ogg");
    player_set_looping(player, true);
    player_start(player);
    ASSERT_TRUE(listener.waitForSound());

    // Three pulses and a rest per second.
    const Samples heard = hearUntil([&] { return listener.listen(3); },
        [](const Samples& pulses) { return std::abs(longestSilence(pulses, 500) - 0.46) < 0.01; });
    EXPECT_NEAR(0.46, longestSilence(heard, 500), 0.01);
}

TEST_F(PlayerTest, LevelOfItsSoundTypeIsHeardAtOnce)
{
    Listener listener;
    prepare(tone(sine(880, 1)));
    player_set_looping(player, true);
    player_start(player);
    ASSERT_TRUE(listener.waitForSound());

    EXPECT_EQ(0, sound_manager_set_volume(SOUND_TYPE_ALARM, 5));
    EXPECT_EQ(0, sound_manager_set_volume(SOUND_TYPE_MEDIA, 0));
    // 10 levels of 3 dB.
    const double softer = 16384 * std::pow(10, -30.0 / 20);
    EXPECT_TRUE(listener.waitFor([=](const Samples& heard) {
        const size_t last = kRate / 5;
        return heard.size() > last
            && std::abs(
                   peak({ heard.end() - static_cast<std::ptrdiff_t>(last), heard.end() }) - softer)
            < 20;
    }));
}

TEST_F(PlayerTest, DestroyWaitsForTheRunningCallbackAndNoneComesAfterwards)
{
    struct Gate {
        Event entered;
        Event open;
        std::atomic<bool> isLeft{ false };
    } gate;
    player_set_uri(player, tone(sine(880, 1)).c_str());
    player_prepare_async(
        player,
        [](void* data) {
            auto* to = static_cast<Gate*>(data);
            to->entered.set();
            to->open.wait();
            to->isLeft = true;
        },
        &gate);
    ASSERT_TRUE(gate.entered.wait());
    // This one's callback waits behind the running one and is dropped.
    Event completed;
    ASSERT_EQ(kNone, player_set_play_position(player, 10, true, setEventCb, &completed));

    Event destroyed;
    std::thread destroyer([&] {
        player_destroy(player);
        EXPECT_TRUE(gate.isLeft);
        destroyed.set();
    });
    EXPECT_FALSE(destroyed.wait(0.2));
    gate.open.set();
    destroyer.join();
    player = nullptr;
    EXPECT_FALSE(completed.wait(0.1));
}

TEST_F(PlayerTest, StartsAtOnceAlsoLongAfterItWasPrepared)
{
    Listener listener;
    prepare(tone(sine(880, 1)));
    const double wait = 1;
    listener.listen(wait);

    EXPECT_EQ(kNone, player_start(player));
    EXPECT_TRUE(listener.waitForSound());
    EXPECT_LT(lengthOf(listener.take()), wait / 2) << "it plays for how long it has waited";
}

TEST_F(PlayerTest, DestroyEndsAPreparation)
{
    const std::string path = tone(sine(880, 1));
    for (int i = 0; i < 20; ++i) {
        player_h other = nullptr;
        Event prepared;
        ASSERT_EQ(kNone, player_create(&other));
        player_set_uri(other, path.c_str());
        ASSERT_EQ(kNone, player_prepare_async(other, setEventCb, &prepared));
        std::this_thread::sleep_for(std::chrono::milliseconds(i));
        EXPECT_EQ(kNone, player_destroy(other));
    }
}

TEST_F(PlayerTest, CallsFromSeveralThreadsLeaveItUsable)
{
    prepare(tone(sine(880, 0.2)));
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int round = 0; round < 20; ++round) {
                player_start(player);
                player_set_looping(player, (round + i) % 2 == 0);
                player_set_play_position(player, 10 * round, true, nullptr, nullptr);
                player_pause(player);
                player_stop(player);
                player_state_e now = PLAYER_STATE_NONE;
                player_get_state(player, &now);
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();

    player_stop(player);
    EXPECT_EQ(PLAYER_STATE_READY, state());
    Listener listener;
    player_set_looping(player, true);
    EXPECT_EQ(kNone, player_start(player));
    EXPECT_TRUE(listener.waitForSound());
}

std::atomic<int> warnings{ 0 };

TEST_F(PlayerTest, WithoutASoundServerItKeepsItsStatesAndSaysSo)
{
    host::setLogHook([](int, const char*, const char* text) {
        if (strcmp(text, "There is no sound server: tones keep their time, but nobody hears them")
            == 0)
            ++warnings;
    });
    setenv("PULSE_SERVER", "unix:/nonexistent/socket", 1);
    prepare(tone(sine(880, 0.2)));
    host::setLogHook(nullptr);
    EXPECT_EQ(1, warnings);

    player_set_looping(player, true);
    EXPECT_EQ(kNone, player_start(player));
    EXPECT_EQ(kNone, player_pause(player));
    Event completed;
    EXPECT_EQ(kNone, player_set_play_position(player, 100, true, setEventCb, &completed));
    EXPECT_TRUE(completed.wait());
    EXPECT_EQ(kNone, player_start(player));
    EXPECT_EQ(kNone, player_stop(player));
    EXPECT_EQ(PLAYER_STATE_READY, state());
}

double seconds(const std::function<void()>& work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Players on a sound server that does not stay as it is.
class PlayerServerTest : public PlayerTest {
protected:
    PlayerServerTest()
    {
        player_set_error_cb(
            player, [](int, void* count) { ++*static_cast<std::atomic<int>*>(count); }, &failures);
    }
    ~PlayerServerTest() override
    {
        if (player)
            destroy();
    }
    void destroy()
    {
        player_destroy(player);
        player = nullptr;
    }
    void startServer() { server = std::make_unique<SoundServer>(folder); }
    void endServer() { server = nullptr; }
    void prepareRing()
    {
        player_set_looping(player, true);
        prepare(tone(sine(880, 0.5)));
    }
    void ring()
    {
        prepareRing();
        ASSERT_EQ(kNone, player_start(player));
    }
    static bool isHeard() { return Listener().waitForSound(); }

    const TempDir folder;
    const SoundAddress address{ folder };
    std::unique_ptr<SoundServer> server;
    std::atomic<int> failures{ 0 };
};

// What all calls together may take while the server hangs: the second of one, but not that of two.
const double kPatience = 1.9;

TEST_F(PlayerServerTest, AServerThatHangsHoldsUpAllCallsForASecond)
{
    startServer();
    ring();
    ASSERT_TRUE(isHeard());
    server->hold();

    const double all = seconds([this] {
        Event stopped;
        std::thread stopper([&] {
            EXPECT_EQ(kNone, player_stop(player));
            stopped.set();
        });
        do {
            EXPECT_LT(seconds([this] { state(); }), 0.5);
        } while (!stopped.wait(0.05));
        stopper.join();
        EXPECT_EQ(kNone, player_start(player));
        EXPECT_EQ(kNone, player_pause(player));
        EXPECT_EQ(kNone, player_unprepare(player));
        destroy();
    });
    EXPECT_LT(all, kPatience);
    server->goOn();
    EXPECT_TRUE(Listener().waitForSilence());
}

TEST_F(PlayerServerTest, WhatWasAskedForIsDoneWhenTheServerGoesOn)
{
    startServer();
    ring();
    server->hold();

    EXPECT_EQ(kNone, player_pause(player));
    EXPECT_EQ(PLAYER_STATE_PAUSED, state());
    server->goOn();

    EXPECT_TRUE(Listener().waitForSilence());
    EXPECT_EQ(kNone, player_start(player));
    EXPECT_TRUE(isHeard());
}

TEST_F(PlayerServerTest, DestroyEndsAPreparationThatTheServerHoldsUp)
{
    startServer();
    server->hold();
    Event prepared;
    ASSERT_EQ(kNone, player_set_uri(player, tone(sine(880, 1)).c_str()));
    ASSERT_EQ(kNone, player_prepare_async(player, setEventCb, &prepared));
    EXPECT_FALSE(prepared.wait(0.3));

    EXPECT_LT(seconds([&] { destroy(); }), kPatience);

    server->goOn();
    EXPECT_FALSE(prepared.wait(0.3));
}

TEST_F(PlayerServerTest, IsHeardAgainAfterTheServersRestart)
{
    startServer();
    ring();
    ASSERT_TRUE(isHeard());

    endServer();
    startServer();

    EXPECT_TRUE(isHeard());
    EXPECT_EQ(PLAYER_STATE_PLAYING, state());
    EXPECT_EQ(1, failures);
    EXPECT_LT(longestSilence(Listener().listenWithoutGap(2, kNoGap, 1000), 1000), kNoGap);
    EXPECT_EQ(kNone, player_stop(player));
    EXPECT_TRUE(Listener().waitForSilence());
}

TEST_F(PlayerServerTest, IsHeardAgainAfterTheServersLongAbsence)
{
    startServer();
    ring();
    ASSERT_TRUE(isHeard());

    endServer();
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));
    startServer();

    EXPECT_TRUE(isHeard());
    EXPECT_EQ(PLAYER_STATE_PLAYING, state());
    EXPECT_EQ(1, failures);
}

TEST_F(PlayerServerTest, CanBeStartedAfterTheServersRestart)
{
    startServer();
    prepareRing();

    endServer();
    startServer();

    EXPECT_EQ(kNone, player_start(player));
    EXPECT_TRUE(isHeard());
}

TEST_F(PlayerServerTest, StaysPausedOverTheServersRestart)
{
    startServer();
    ring();
    ASSERT_TRUE(isHeard());
    ASSERT_EQ(kNone, player_pause(player));

    endServer();
    startServer();

    EXPECT_LT(peak(Listener().listen(2)), 500);
    EXPECT_EQ(PLAYER_STATE_PAUSED, state());
    EXPECT_EQ(kNone, player_start(player));
    EXPECT_TRUE(isHeard());
}

TEST_F(PlayerServerTest, IsHeardOnceThereIsAServer)
{
    warnings = 0;
    host::setLogHook([](int, const char*, const char* text) {
        if (strstr(text, "There is no sound server"))
            ++warnings;
    });
    ring();
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));

    startServer();

    EXPECT_TRUE(isHeard());
    EXPECT_EQ(PLAYER_STATE_PLAYING, state());
    EXPECT_EQ(0, failures);
    destroy();
    host::setLogHook(nullptr);
    EXPECT_EQ(1, warnings);
}

} // namespace
