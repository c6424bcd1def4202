#include "host/common/Engine.h"
#include "host/modules/player/Tone.h"

#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <mutex>
#include <player.h>

namespace {

const int kNone = PLAYER_ERROR_NONE;

// Something that one thread opens and another waits for.
class Gate {
public:
    void open()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _isOpen = true;
        _changed.notify_all();
    }
    bool wait(double seconds = 10)
    {
        std::unique_lock<std::mutex> lock(_mutex);
        return _changed.wait_for(
            lock, std::chrono::duration<double>(seconds), [this] { return _isOpen; });
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _isOpen = false;
};

// How the tones of a test behave.
struct Script {
    Gate opening;
    Gate mayOpen;
    Gate maySettle;
    Gate thirdOpening;
    std::atomic<int> opened{ 0 };
    std::atomic<int> openError{ kNone };
    bool plays = true;
    bool pauses = true;
    bool settles = true;
    std::atomic<int> repeats{ 0 };
    Tone::Events events;
};

Script* script = nullptr;

class ScriptedTone : public Tone {
public:
    int open() override
    {
        script->opening.open();
        script->mayOpen.wait();
        if (++script->opened == 3)
            script->thirdOpening.open();
        return script->openError;
    }
    void cancel() override { script->maySettle.open(); }
    bool play() override { return script->plays; }
    bool pause() override { return script->pauses; }
    bool seek(int, bool) override { return true; }
    bool settle() override
    {
        script->maySettle.wait();
        return script->settles;
    }
    void repeat(std::uint32_t) override { ++script->repeats; }
    bool isOutdated() override { return false; }
};

Tone* makeTone(const std::string&, const std::string&, Tone::Events events)
{
    script->events = std::move(events);
    return new ScriptedTone;
}

void loadNothing() {}

void openGateCb(void* gate) { static_cast<Gate*>(gate)->open(); }

/// A player whose tones do as they are told.
class PlayerToneTest : public testing::Test {
protected:
    PlayerToneTest()
    {
        script = &tones;
        EXPECT_EQ(kNone, player_create(&player));
        EXPECT_EQ(kNone, player_set_uri(player, "/tone.ogg"));
    }
    ~PlayerToneTest() override { player_destroy(player); }

    void prepare()
    {
        Gate prepared;
        tones.mayOpen.open();
        ASSERT_EQ(kNone, player_prepare_async(player, openGateCb, &prepared));
        ASSERT_TRUE(prepared.wait());
    }

    player_state_e state()
    {
        player_state_e now = PLAYER_STATE_NONE;
        EXPECT_EQ(kNone, player_get_state(player, &now));
        return now;
    }

    Script tones;
    player_h player = nullptr;
};

TEST_F(PlayerToneTest, LoopingLeavesAToneAloneThatIsBeingOpened)
{
    Gate prepared;
    ASSERT_EQ(kNone, player_prepare_async(player, openGateCb, &prepared));
    ASSERT_TRUE(tones.opening.wait());

    EXPECT_EQ(kNone, player_set_looping(player, true));

    EXPECT_EQ(0, tones.repeats);
    tones.mayOpen.open();
    EXPECT_TRUE(prepared.wait());
}

TEST_F(PlayerToneTest, ASeekThatFailsIsOverAllTheSame)
{
    prepare();
    tones.settles = false;
    tones.maySettle.open();

    Gate completed;
    EXPECT_EQ(kNone, player_set_play_position(player, 100, true, openGateCb, &completed));

    EXPECT_TRUE(completed.wait());
    EXPECT_EQ(kNone, player_set_play_position(player, 100, true, nullptr, nullptr));
    EXPECT_EQ(kNone, player_start(player));
}

TEST_F(PlayerToneTest, ASeekIsNotCompletedWhenItsToneIsGone)
{
    prepare();
    tones.settles = false;
    Gate completed;
    EXPECT_EQ(kNone, player_set_play_position(player, 100, true, openGateCb, &completed));

    EXPECT_EQ(kNone, player_unprepare(player));

    EXPECT_FALSE(completed.wait(0.1));
}

TEST_F(PlayerToneTest, WhyASeekFailedIsToldToo)
{
    struct Told {
        Gate gate;
        int error = kNone;
    } told;
    const auto tell = [](int error, void* data) {
        auto* heard = static_cast<Told*>(data);
        heard->error = error;
        heard->gate.open();
    };
    EXPECT_EQ(kNone, player_set_error_cb(player, tell, &told));
    prepare();

    tones.events.failed(PLAYER_ERROR_SEEK_FAILED);

    EXPECT_TRUE(told.gate.wait());
    EXPECT_EQ(PLAYER_ERROR_SEEK_FAILED, told.error);
}

TEST_F(PlayerToneTest, AToneWhoseServerIsGoneIsOpenedAgainAndAgain)
{
    prepare();
    tones.openError = PLAYER_ERROR_SERVICE_DISCONNECTED;

    tones.events.failed(PLAYER_ERROR_SERVICE_DISCONNECTED);

    EXPECT_TRUE(tones.thirdOpening.wait());
}

TEST_F(PlayerToneTest, AToneThatDoesNotPlayIsNotStarted)
{
    prepare();
    tones.plays = false;

    EXPECT_EQ(PLAYER_ERROR_INVALID_OPERATION, player_start(player));

    EXPECT_EQ(PLAYER_STATE_READY, state());
}

TEST_F(PlayerToneTest, AToneThatDoesNotPauseIsNotPaused)
{
    prepare();
    ASSERT_EQ(kNone, player_start(player));
    tones.pauses = false;

    EXPECT_EQ(PLAYER_ERROR_INVALID_OPERATION, player_pause(player));

    EXPECT_EQ(PLAYER_STATE_PLAYING, state());
}

} // namespace

// Instead of the loader of engines: the players of this program have no other.
void* host::engineSymbol(const std::string&, const char* symbol)
{
    return symbol == std::string(kToneMaker) ? reinterpret_cast<void*>(makeTone)
                                             : reinterpret_cast<void*>(loadNothing);
}
