#include "ClockSoundPlayerFixture.h"

#include <atomic>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
const int kRounds = 200;
// So many that their messages do not fit into the pipe.
const int kFocusChanges = 5000;

/// The platform calls from threads of its own.
class ClockSoundPlayerThreadsTest : public ClockSoundPlayerFixture {
protected:
    ~ClockSoundPlayerThreadsTest() override
    {
        player.reset();
        if (platform.joinable())
            platform.join();
    }

    void prepareElsewhere()
    {
        platform = std::thread([] { playerDouble().prepared(); });
    }

    /// Until it has made the calls that other threads have asked it for.
    static void runMainLoop()
    {
        bool isDone = false;
        std::thread([&] {
            ecore_main_loop_thread_safe_call_async(
                [](void* done) { *static_cast<bool*>(done) = true; }, &isDone);
        }).join();
        while (!isDone)
            ecore_main_loop_iterate();
    }

    /// Other streams take the focus and give it back, until they are done or the stream ends.
    void changeFocusElsewhere()
    {
        changes = 0;
        ended = false;
        platform = std::thread([this] {
            while (changes < kFocusChanges && !ended) {
                soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);
                soundManagerDouble().giveFocusBack();
                ++changes;
            }
        });
        soundManagerDouble().onDestroy = [this] {
            ended = true;
            if (platform.joinable())
                platform.join();
        };
    }

    std::thread platform;
    std::atomic<int> changes{ 0 };
    std::atomic<bool> ended{ false };
};

TEST_F(ClockSoundPlayerThreadsTest, StartsOnTheMainLoop)
{
    initialize(ClockSoundType::Melody);
    forget();

    prepareElsewhere();
    platform.join();
    EXPECT_THAT(calls(), IsEmpty());
    handleMessages();

    EXPECT_THAT(written(), ElementsAre(kStartMessage));
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerThreadsTest, SeeksOnTheMainLoop)
{
    Alarm alarm;
    alarm.playPosition = 5000;
    initialize(alarm);
    prepareElsewhere();
    platform.join();
    handleMessages();

    platform = std::thread([] { playerDouble().seekCompleted(); });
    platform.join();
    handleMessages();

    EXPECT_THAT(written(), ElementsAre(kSetPositionMessage, kStartMessage));
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerThreadsTest, StartsOnceWheneverTheToneIsReady)
{
    for (int round = 0; round < kRounds; ++round) {
        playerDouble().onPrepareAsync = [this] { prepareElsewhere(); };

        initialize(ClockSoundType::Melody);
        platform.join();

        EXPECT_THAT(written(), ElementsAre(kStartMessage));
        player = std::make_unique<ClockSoundPlayer>();
    }
}

TEST_F(ClockSoundPlayerThreadsTest, MakesItsTimerOnTheMainLoop)
{
    setRecording(true);
    initialize(ClockSoundType::Melody);
    forget();

    prepareElsewhere();
    platform.join();
    EXPECT_THAT(uiTimerDouble().timers, IsEmpty());
    runMainLoop();

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_THAT(
        criticals(), ElementsAre("Now recorder is in recording. Check again after 0.5 second"));
    ASSERT_EQ(1u, uiTimerDouble().timers.size());
    EXPECT_EQ(std::this_thread::get_id(), uiTimerDouble().timers[0]->madeBy);
    EXPECT_EQ(0.5, uiTimerDouble().timers[0]->period);

    setRecording(false);
    uiTimerDouble().timers[0]->tick();
    handleMessages();
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerThreadsTest, MakesOneTimerForStartsOnTwoThreads)
{
    setRecording(true);
    initialize(ClockSoundType::Melody);
    prepareElsewhere();
    platform.join();
    forget();

    player->start();
    runMainLoop();

    EXPECT_THAT(criticals(),
        ElementsAre("Now recorder is in recording. Check again after 0.5 second",
            "Recording check timer already added"));
    EXPECT_THAT(uiTimerDouble().timers, testing::SizeIs(1));
}

TEST_F(ClockSoundPlayerThreadsTest, WaitsWhenARecordingIsFoundAfterTheSeek)
{
    Alarm alarm;
    alarm.playPosition = 5000;
    initialize(alarm);
    playerDouble().prepared();
    handleMessages();
    setRecording(true);

    platform = std::thread([] { playerDouble().seekCompleted(); });
    platform.join();
    runMainLoop();

    ASSERT_EQ(1u, uiTimerDouble().timers.size());
    EXPECT_EQ(PLAYER_STATE_READY, playerDouble().state);
    setRecording(false);
    uiTimerDouble().timers[0]->tick();
    handleMessages();
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerThreadsTest, MakesNoTimerAfterItsEnd)
{
    setRecording(true);
    initialize(ClockSoundType::Melody);
    prepareElsewhere();
    platform.join();

    player.reset();
    runMainLoop();

    EXPECT_THAT(uiTimerDouble().timers, IsEmpty());
}

TEST_F(ClockSoundPlayerThreadsTest, EndsWhileTheToneBecomesReady)
{
    for (int round = 0; round < kRounds; ++round) {
        playerDouble().onDestroy = [this] { platform.join(); };
        initialize(ClockSoundType::Melody);

        prepareElsewhere();
        player = std::make_unique<ClockSoundPlayer>();
    }
    playerDouble().onDestroy = nullptr;
}

TEST_F(ClockSoundPlayerThreadsTest, EndsWhileASeekCompletesAndThePlayerFails)
{
    for (int round = 0; round < kRounds; ++round) {
        Alarm alarm;
        alarm.playPosition = 5000;
        initialize(alarm);
        playerDouble().prepared();
        handleMessages();
        playerDouble().onDestroy = [this] { platform.join(); };

        platform = std::thread([] {
            playerDouble().failed(PLAYER_ERROR_INVALID_OPERATION);
            playerDouble().seekCompleted();
        });
        player = std::make_unique<ClockSoundPlayer>();
    }
    playerDouble().onDestroy = nullptr;
}

TEST_F(ClockSoundPlayerThreadsTest, EndsWhileThePlatformSaysMoreThanThePipeHolds)
{
    initialize(ClockSoundType::Melody);
    playerDouble().onDestroy = [this] { platform.join(); };
    platform = std::thread([] {
        for (int i = 0; i < kFocusChanges; ++i)
            soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);
    });

    player.reset();

    playerDouble().onDestroy = nullptr;
    EXPECT_EQ(0, playerDouble().alive);
}

TEST_F(ClockSoundPlayerThreadsTest, EndsWhileTheFocusChanges)
{
    for (int round = 0; round < kRounds; ++round) {
        initialize(ClockSoundType::MelodyAndVibration);

        changeFocusElsewhere();
        while (changes == 0)
            std::this_thread::yield();
        player.reset();
        player = std::make_unique<ClockSoundPlayer>();
    }
}

TEST_F(ClockSoundPlayerThreadsTest, EndsAVibrationThatAFocusHasStartedMeanwhile)
{
    initialize(ClockSoundType::MelodyAndVibration);
    forget();
    soundManagerDouble().onDestroy
        = [] { std::thread([] { soundManagerDouble().giveFocusBack(); }).join(); };

    player.reset();

    EXPECT_THAT(calls("feedback"),
        ElementsAre("feedback_stop", "feedback_play_type(2, 168)", "feedback_stop"));
    EXPECT_THAT(criticals(), ElementsAre("pipe is not ready"));
}

TEST_F(ClockSoundPlayerThreadsTest, KeepsThePipeUntilItsLastMessageIsWritten)
{
    initialize(ClockSoundType::Melody);
    std::atomic<bool> entered{ false };
    std::atomic<bool> playerDestroyed{ false };
    std::atomic<bool> left{ false };
    ecorePipeProbe().onWrite = [&] {
        entered = true;
        while (!playerDestroyed)
            std::this_thread::yield();
        for (int i = 0; i < 10000; ++i)
            std::this_thread::yield();
        left = true;
    };
    playerDouble().onDestroy = [&] { playerDestroyed = true; };
    bool leftBeforeDelete = false;
    ecorePipeProbe().onDelete = [&] { leftBeforeDelete = left; };
    platform = std::thread([] { soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE); });
    while (!entered)
        std::this_thread::yield();

    player.reset();
    platform.join();

    EXPECT_TRUE(leftBeforeDelete);
    ecorePipeProbe() = {};
    playerDouble().onDestroy = nullptr;
}

TEST_F(ClockSoundPlayerThreadsTest, TakesCommandsFromSeveralThreads)
{
    play(ClockSoundType::MelodyAndVibration);
    changeFocusElsewhere();

    for (int round = 0; round < kRounds; ++round) {
        player->start();
        player->pause();
        player->stop();
        player->setVolume(round % 15);
        handleMessages();
    }

    EXPECT_FALSE(ecorePipeProbe().overlapped);
    EXPECT_EQ((kRounds - 1) % 15, player->getVolume());
}

TEST_F(ClockSoundPlayerThreadsTest, IsInitializedAgainWhileTheFocusChanges)
{
    play(ClockSoundType::MelodyAndVibration);
    changeFocusElsewhere();

    for (int round = 0; round < kRounds; ++round) {
        initialize(round % 2 == 0 ? ClockSoundType::Vibration : ClockSoundType::MelodyAndVibration);
        handleMessages();
    }

    EXPECT_EQ(1, playerDouble().alive);
}
} // namespace
