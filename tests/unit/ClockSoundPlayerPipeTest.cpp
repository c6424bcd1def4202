#include "ClockSoundPlayerFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
const char* const kNotReady
    = "player state is idle, currently pareparing player (it could be launching case)";
const char* const kRecordingLater = "Now recorder is in recording. Check again after 0.5 second";

class ClockSoundPlayerPipeTest : public ClockSoundPlayerFixture {
protected:
    /// A prepared tone that nothing has started, with what led there forgotten.
    void prepare(int playPosition = 0)
    {
        Alarm alarm;
        alarm.playPosition = playPosition;
        initialize(alarm);
        playerDouble().prepared();
        forget();
    }

    /// A tone that waits for the recording to end, with what led there forgotten.
    UiTimerDouble::Timer& startWhileRecording()
    {
        setRecording(true);
        prepare();
        return *uiTimerDouble().timers.at(0);
    }
};

// What each operation writes.

TEST_F(ClockSoundPlayerPipeTest, WritesNothingWithoutAPipe)
{
    player->start();
    player->stop();
    EXPECT_FALSE(player->pause());
    EXPECT_FALSE(player->resume());

    EXPECT_THAT(criticals(),
        ElementsAre(
            "pipe is not ready", "pipe is not ready", "pipe is not ready", "pipe is not ready"));
    EXPECT_THAT(infos(), IsEmpty());
    EXPECT_THAT(calls(), ElementsAre("feedback_stop", "feedback_stop"));
}

TEST_F(ClockSoundPlayerPipeTest, WritesAStart)
{
    initialize(ClockSoundType::Melody);
    forget();

    player->start();

    EXPECT_THAT(written(), ElementsAre(kStartMessage));
    EXPECT_THAT(infos(), ElementsAre("Current voice recording state 0"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, WritesAStop)
{
    initialize(ClockSoundType::MelodyAndVibration);
    soundManagerDouble().held = SOUND_STREAM_FOCUS_FOR_BOTH;
    forget();

    player->stop();

    EXPECT_THAT(written(), ElementsAre(kStopMessage));
    EXPECT_THAT(calls(), ElementsAre("feedback_stop"));
}

TEST_F(ClockSoundPlayerPipeTest, WritesAPauseInTheLengthOfAStop)
{
    initialize(ClockSoundType::MelodyAndVibration);
    forget();

    EXPECT_TRUE(player->pause());

    EXPECT_THAT(written(), ElementsAre(kPauseMessage));
    EXPECT_THAT(calls(), ElementsAre("feedback_stop"));
}

TEST_F(ClockSoundPlayerPipeTest, WritesAResumeAsAPause)
{
    initialize(ClockSoundType::Melody);
    forget();

    EXPECT_TRUE(player->resume());

    EXPECT_THAT(written(), ElementsAre(kResumeMessage));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, VibratesAgainBeforeAResume)
{
    initialize(ClockSoundType::MelodyAndVibration);
    forget();

    EXPECT_TRUE(player->resume());

    EXPECT_THAT(written(), ElementsAre(kResumeMessage));
    EXPECT_THAT(calls(), ElementsAre("feedback_stop", "feedback_play_type(2, 168)"));
}

TEST_F(ClockSoundPlayerPipeTest, SaysWhenAMessageIsNotWritten)
{
    initialize(ClockSoundType::Melody);
    ecorePipeProbe().refusesWrite = true;

    EXPECT_FALSE(player->pause());
    EXPECT_FALSE(player->resume());
}

TEST_F(ClockSoundPlayerPipeTest, NeverWaitsForTheMainLoopAndLosesNothing)
{
    play();
    const size_t before = written().size();

    for (int i = 0; i < 5000; ++i) {
        EXPECT_TRUE(player->pause());
        player->stop();
        EXPECT_TRUE(player->resume());
    }
    EXPECT_EQ(before + 100, written().size()); // what surely fits into the pipe
    handleMessages();

    ASSERT_EQ(before + 15000, written().size());
    for (size_t at = before; at < written().size(); at += 3) {
        ASSERT_EQ(kPauseMessage, written()[at]);
        ASSERT_EQ(kStopMessage, written()[at + 1]);
        ASSERT_EQ(kResumeMessage, written()[at + 2]);
    }
    EXPECT_THAT(calls("player_stop"), testing::SizeIs(5000));
    EXPECT_THAT(calls("player_pause"), testing::SizeIs(10000));
}

// Prepared: from the beginning, or from a position.

TEST_F(ClockSoundPlayerPipeTest, StartsWhenPrepared)
{
    initialize(ClockSoundType::Melody);
    forget();

    playerDouble().prepared();
    EXPECT_THAT(written(), ElementsAre(kStartMessage));
    EXPECT_THAT(calls(), IsEmpty());
    handleMessages();

    EXPECT_THAT(calls(), ElementsAre("sound_manager_acquire_focus(3, 0, null)", "player_start"));
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, StartsAtTheBeginningForANegativePosition)
{
    prepare(-1);

    EXPECT_THAT(written(), ElementsAre(kStartMessage));
}

TEST_F(ClockSoundPlayerPipeTest, SeeksBeforeTheStart)
{
    prepare(1);
    EXPECT_THAT(written(), ElementsAre(kSetPositionMessage));

    handleMessages();
    EXPECT_THAT(calls(), ElementsAre("player_set_play_position(1, accurate)"));
    playerDouble().seekCompleted();
    handleMessages();

    EXPECT_THAT(written(), ElementsAre(kSetPositionMessage, kStartMessage));
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, StartsAtTheBeginningWhenItCannotSeek)
{
    prepare(5000);
    playerDouble().results["player_set_play_position"] = PLAYER_ERROR_SEEK_FAILED;

    handleMessages();

    EXPECT_THAT(criticals(),
        ElementsAre("Failed to set play position(position = 5000). Just start player"));
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerPipeTest, StartsWhenPreparedBeforeThePipeIsMade)
{
    playerDouble().onPrepareAsync = [] { playerDouble().prepared(); };

    initialize(ClockSoundType::Melody);

    EXPECT_THAT(
        criticals(), ElementsAre("isSupportSpeaker = 1", "streamType [2]", "pipe is not ready"));
    EXPECT_THAT(written(), ElementsAre(kStartMessage));
    handleMessages();
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerPipeTest, SeeksWhenPreparedBeforeThePipeIsMade)
{
    playerDouble().onPrepareAsync = [] { playerDouble().prepared(); };
    Alarm alarm;
    alarm.playPosition = 5000;

    initialize(alarm);

    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]", "Pipe is not ready. Return"));
    EXPECT_THAT(written(), ElementsAre(kSetPositionMessage));
}

TEST_F(ClockSoundPlayerPipeTest, ForgetsThePreparationOfAPlayerThatIsGone)
{
    ecorePipeProbe().refusesPipe = true;
    initialize(ClockSoundType::Melody);
    playerDouble().prepared();
    playerDouble().state = PLAYER_STATE_IDLE;
    playerDouble().results["player_set_uri"] = PLAYER_ERROR_INVALID_OPERATION;
    initialize(ClockSoundType::Melody);
    ecorePipeProbe().refusesPipe = false;
    playerDouble().results.clear();

    initialize(ClockSoundType::Melody);

    EXPECT_THAT(written(), IsEmpty());
    playerDouble().prepared();
    EXPECT_THAT(written(), ElementsAre(kStartMessage));
}

TEST_F(ClockSoundPlayerPipeTest, ReportsASeekOfNobody)
{
    prepare(5000);
    handleMessages();
    forget();

    playerDouble().seekCompletedCb(nullptr);

    EXPECT_THAT(criticals(), ElementsAre("Data is null. Return"));
    EXPECT_THAT(written(), ElementsAre(kSetPositionMessage));
}

TEST_F(ClockSoundPlayerPipeTest, ReportsASeekWithoutAPipe)
{
    prepare(5000);
    handleMessages();
    forget();
    const ClockSoundPlayer other;
    player_seek_completed_cb const callback = playerDouble().seekCompletedCb;

    callback(const_cast<ClockSoundPlayer*>(&other));

    EXPECT_THAT(criticals(), ElementsAre("Pipe is not ready. Return"));
}

// Recording.

TEST_F(ClockSoundPlayerPipeTest, WaitsWhileTheMicrophoneRecords)
{
    setRecording(true);
    initialize(ClockSoundType::Melody);
    forget();

    playerDouble().prepared();

    EXPECT_THAT(written(), IsEmpty());
    EXPECT_THAT(calls(), ElementsAre("WUiTimer::create(0.5)"));
    EXPECT_THAT(infos(), ElementsAre("Current voice recording state 1"));
    EXPECT_THAT(criticals(), ElementsAre(kRecordingLater));
}

TEST_F(ClockSoundPlayerPipeTest, StartsWhenTheRecordingHasEnded)
{
    UiTimerDouble::Timer& timer = startWhileRecording();
    setRecording(false);

    timer.tick();
    handleMessages();

    EXPECT_FALSE(timer.active);
    EXPECT_THAT(written(), ElementsAre(kStartMessage));
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
    EXPECT_THAT(
        infos(), ElementsAre("Current voice recording state 0", "Recording stopped. Start player"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, StaysSilentWhenTheRecordingGoesOn)
{
    UiTimerDouble::Timer& timer = startWhileRecording();

    timer.tick();

    EXPECT_FALSE(timer.active);
    EXPECT_THAT(written(), IsEmpty());
    EXPECT_THAT(infos(),
        ElementsAre(
            "Current voice recording state 1", "Still recording state. Do not start player"));
    EXPECT_THAT(criticals(), IsEmpty());
}

// The wait belongs to the start, not to the tone: a stop, which the main loop may carry out later
// than the start that came after it, leaves it alone. Only the player's end takes it back.
TEST_F(ClockSoundPlayerPipeTest, StartsAfterTheRecordingThoughStoppedMeanwhile)
{
    UiTimerDouble::Timer& timer = startWhileRecording();
    player->stop();
    handleMessages();
    EXPECT_TRUE(timer.active);
    setRecording(false);

    timer.tick();
    handleMessages();

    EXPECT_THAT(written(), ElementsAre(kStopMessage, kStartMessage));
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerPipeTest, WaitsOnceAtATime)
{
    startWhileRecording();

    player->start();

    EXPECT_THAT(criticals(), ElementsAre(kRecordingLater, "Recording check timer already added"));
    EXPECT_THAT(uiTimerDouble().timers, testing::SizeIs(1));
}

TEST_F(ClockSoundPlayerPipeTest, WaitsAgainForALaterStart)
{
    startWhileRecording().tick();

    player->start();

    EXPECT_THAT(uiTimerDouble().timers, testing::SizeIs(2));
    EXPECT_THAT(criticals(), ElementsAre(kRecordingLater));
}

TEST_F(ClockSoundPlayerPipeTest, DoesNotWaitForAPausedRecording)
{
    recorderDouble().state = RECORDER_DEVICE_STATE_PAUSED;

    prepare();

    EXPECT_THAT(written(), ElementsAre(kStartMessage));
}

TEST_F(ClockSoundPlayerPipeTest, StartsWhenTheRecorderCannotBeAsked)
{
    setRecording(true);
    recorderDouble().result = RECORDER_ERROR_NOT_SUPPORTED;
    initialize(ClockSoundType::Melody);
    forget();

    playerDouble().prepared();

    EXPECT_THAT(criticals(), ElementsAre("get audio recording state failed"));
    EXPECT_THAT(infos(), ElementsAre("Current voice recording state 0"));
    EXPECT_THAT(written(), ElementsAre(kStartMessage));
}

// The handler.

TEST_F(ClockSoundPlayerPipeTest, ReportsAMessageToNobody)
{
    initialize(ClockSoundType::Melody);
    forget();
    std::string message = kStartMessage;

    ecorePipeProbe().handler(nullptr, &message[0], 13);

    EXPECT_THAT(criticals(), ElementsAre("Data is null. Return"));
    EXPECT_THAT(calls(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, KnowsAMessageWithoutItsTerminator)
{
    prepare();

    handle("player_start");

    EXPECT_THAT(calls(), Contains("player_start"));
}

TEST_F(ClockSoundPlayerPipeTest, IgnoresOtherMessages)
{
    play();

    handle("player_stop and more");
    handle("player_sto");
    handle(std::string("\0player_stop", 12));

    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, KeepsThePlaybackFocusThatItHas)
{
    prepare();
    soundManagerDouble().held = SOUND_STREAM_FOCUS_FOR_PLAYBACK;

    handleMessages();

    EXPECT_THAT(criticals(), ElementsAre("already focused"));
    EXPECT_THAT(calls(), ElementsAre("player_start"));
}

TEST_F(ClockSoundPlayerPipeTest, StaysSilentWithoutTheFocus)
{
    prepare();
    soundManagerDouble().held = SOUND_STREAM_FOCUS_FOR_RECORDING;

    handleMessages();

    EXPECT_THAT(criticals(), ElementsAre("Failed to get focus (-26607612)"));
    EXPECT_THAT(calls("player_start"), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, StaysSilentWhenThePolicyRefusesTheFocus)
{
    prepare();
    soundManagerDouble().results["sound_manager_acquire_focus"] = SOUND_MANAGER_ERROR_POLICY;

    handleMessages();

    EXPECT_THAT(criticals(),
        ElementsAre("Failed to get focus (-26607614)", "Failed to get focus because of policy"));
    EXPECT_THAT(calls("player_start"), IsEmpty());
}

struct StartCase {
    const char* name;
    player_state_e state;
    bool starts;
};

class ClockSoundPlayerStartTest : public ClockSoundPlayerFixture,
                                  public testing::WithParamInterface<StartCase> {};

TEST_P(ClockSoundPlayerStartTest, DependsOnTheStateOfThePlayer)
{
    initialize(ClockSoundType::Melody);
    playerDouble().state = GetParam().state;
    forget();

    player->start();
    handleMessages();

    EXPECT_EQ(SOUND_STREAM_FOCUS_FOR_BOTH, soundManagerDouble().held);
    if (GetParam().starts) {
        EXPECT_THAT(calls("player"), ElementsAre("player_start"));
        EXPECT_THAT(criticals(), IsEmpty());
    } else {
        EXPECT_THAT(calls("player"), IsEmpty());
        EXPECT_THAT(criticals(), ElementsAre(kNotReady));
    }
}

INSTANTIATE_TEST_SUITE_P(Table, ClockSoundPlayerStartTest,
    testing::Values(StartCase{ "None", PLAYER_STATE_NONE, false },
        StartCase{ "Idle", PLAYER_STATE_IDLE, false },
        StartCase{ "Ready", PLAYER_STATE_READY, true },
        StartCase{ "Playing", PLAYER_STATE_PLAYING, false },
        StartCase{ "Paused", PLAYER_STATE_PAUSED, true }),
    [](const auto& row) { return row.param.name; });

TEST_F(ClockSoundPlayerPipeTest, ReportsAStartThatFails)
{
    prepare();
    playerDouble().results["player_start"] = PLAYER_ERROR_INVALID_OPERATION;

    handleMessages();

    EXPECT_THAT(criticals(), ElementsAre("Failed to start player"));
}

struct FocusCase {
    const char* name;
    int held;
    std::vector<std::string> released;
};

class ClockSoundPlayerStopTest : public ClockSoundPlayerFixture,
                                 public testing::WithParamInterface<FocusCase> {};

TEST_P(ClockSoundPlayerStopTest, ReleasesTheFocusThatIsHeld)
{
    play();
    soundManagerDouble().held = GetParam().held;

    player->stop();
    handleMessages();

    EXPECT_EQ(GetParam().released, calls("sound_manager"));
    EXPECT_EQ(0, soundManagerDouble().held);
    EXPECT_THAT(calls("player"), ElementsAre("player_stop"));
    EXPECT_EQ(PLAYER_STATE_READY, playerDouble().state);
    EXPECT_THAT(criticals(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Table, ClockSoundPlayerStopTest,
    testing::Values(FocusCase{ "Both", 3, { "sound_manager_release_focus(3, 0, null)" } },
        FocusCase{ "Playback", 1, { "sound_manager_release_focus(1, 0, null)" } },
        FocusCase{ "Recording", 2, { "sound_manager_release_focus(2, 0, null)" } },
        FocusCase{ "None", 0, {} }),
    [](const auto& row) { return row.param.name; });

TEST_F(ClockSoundPlayerPipeTest, StopsTheToneWhoseFocusCannotBeReleased)
{
    play();
    soundManagerDouble().results["sound_manager_release_focus"] = SOUND_MANAGER_ERROR_INTERNAL;

    player->stop();
    handleMessages();

    EXPECT_THAT(criticals(), ElementsAre("Failed release focus(-26607615)"));
    EXPECT_EQ(PLAYER_STATE_READY, playerDouble().state);
}

TEST_F(ClockSoundPlayerPipeTest, AsksForTheFocusWhenItsStateCannotBeRead)
{
    prepare();
    soundManagerDouble().results["sound_manager_get_focus_state"] = SOUND_MANAGER_ERROR_INTERNAL;

    handleMessages();

    EXPECT_THAT(calls(), ElementsAre("sound_manager_acquire_focus(3, 0, null)", "player_start"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, ReleasesNoFocusWhenItsStateCannotBeRead)
{
    play();
    soundManagerDouble().results["sound_manager_get_focus_state"] = SOUND_MANAGER_ERROR_INTERNAL;

    player->stop();
    handleMessages();

    EXPECT_THAT(calls(), ElementsAre("feedback_stop", "player_stop"));
    EXPECT_THAT(criticals(), IsEmpty());
}

class ClockSoundPlayerStillTest : public ClockSoundPlayerFixture,
                                  public testing::WithParamInterface<player_state_e> {};

TEST_P(ClockSoundPlayerStillTest, IsStopped)
{
    play();
    playerDouble().state = GetParam();

    player->stop();
    handleMessages();

    EXPECT_THAT(calls("player"), ElementsAre("player_stop"));
    EXPECT_EQ(PLAYER_STATE_READY, playerDouble().state);
    EXPECT_EQ(0, soundManagerDouble().held);
    EXPECT_THAT(criticals(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(ReadyAndPaused, ClockSoundPlayerStillTest,
    testing::Values(PLAYER_STATE_READY, PLAYER_STATE_PAUSED), testing::PrintToStringParamName());

TEST_F(ClockSoundPlayerPipeTest, ReportsAStopThatFails)
{
    initialize(ClockSoundType::Melody);
    forget();

    player->stop();
    handleMessages();

    EXPECT_THAT(criticals(), ElementsAre("Failed to stop player"));
}

TEST_F(ClockSoundPlayerPipeTest, Pauses)
{
    play();

    player->pause();
    handleMessages();

    EXPECT_EQ(PLAYER_STATE_PAUSED, playerDouble().state);
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, CannotPauseTwice)
{
    play();
    player->pause();

    player->pause();
    handleMessages();

    EXPECT_THAT(criticals(), ElementsAre("pause failed(-26476510"));
}

TEST_F(ClockSoundPlayerPipeTest, StaysPausedAfterAResume)
{
    play();
    player->pause();
    handleMessages();
    forget();

    EXPECT_TRUE(player->resume());
    handleMessages();

    EXPECT_EQ(PLAYER_STATE_PAUSED, playerDouble().state);
    EXPECT_THAT(calls("player"), ElementsAre("player_pause"));
    EXPECT_THAT(criticals(), ElementsAre("pause failed(-26476510"));
}

TEST_F(ClockSoundPlayerPipeTest, StartsAgainWhenPaused)
{
    play();
    player->pause();
    handleMessages();

    player->start();
    handleMessages();

    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerPipeTest, UnderstandsAResumeMessage)
{
    play();
    player->pause();
    handleMessages();

    handle(std::string("player_resume\0", 14));

    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ClockSoundPlayerPipeTest, ReportsAResumeMessageThatFails)
{
    play();
    player->pause();
    handleMessages();
    playerDouble().results["player_start"] = PLAYER_ERROR_INVALID_OPERATION;

    handle(std::string("player_resume\0", 14));

    EXPECT_THAT(criticals(), ElementsAre("resume failed(-38"));
}

TEST_F(ClockSoundPlayerPipeTest, IgnoresAResumeMessageWhilePlaying)
{
    play();

    handle(std::string("player_resume\0", 14));

    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(criticals(), IsEmpty());
}

// Changes of the focus, by caller and behaviour of the taker.

struct LossCase {
    const char* name;
    int caller;
    int behavior;
    bool stops;
};

class ClockSoundPlayerFocusTest : public ClockSoundPlayerFixture,
                                  public testing::WithParamInterface<LossCase> {};

TEST_P(ClockSoundPlayerFocusTest, IsLost)
{
    player = std::make_unique<ClockSoundPlayer>(static_cast<CallerType>(GetParam().caller));
    play();

    soundManagerDouble().takeFocus(GetParam().behavior);
    EXPECT_EQ(GetParam().stops ? kStopMessage : kPauseMessage, written().back());
    handleMessages();

    EXPECT_EQ(GetParam().stops ? PLAYER_STATE_READY : PLAYER_STATE_PAUSED, playerDouble().state);
    EXPECT_THAT(calls("feedback"), ElementsAre("feedback_stop"));
}

INSTANTIATE_TEST_SUITE_P(Table, ClockSoundPlayerFocusTest,
    testing::Values(LossCase{ "TimerOrdinary", 0, SOUND_BEHAVIOR_NONE, true },
        LossCase{ "TimerNoResume", 0, SOUND_BEHAVIOR_NO_RESUME, true },
        LossCase{ "TimerFading", 0, SOUND_BEHAVIOR_FADING, true },
        LossCase{ "TimerBoth", 0, SOUND_BEHAVIOR_NO_RESUME | SOUND_BEHAVIOR_FADING, true },
        LossCase{ "AlarmOrdinary", 1, SOUND_BEHAVIOR_NONE, false },
        LossCase{ "AlarmNoResume", 1, SOUND_BEHAVIOR_NO_RESUME, true },
        LossCase{ "AlarmFading", 1, SOUND_BEHAVIOR_FADING, false },
        LossCase{ "AlarmBoth", 1, SOUND_BEHAVIOR_NO_RESUME | SOUND_BEHAVIOR_FADING, false },
        LossCase{ "UnknownOrdinary", 2, SOUND_BEHAVIOR_NONE, false },
        LossCase{ "UnknownNoResume", 2, SOUND_BEHAVIOR_NO_RESUME, true },
        LossCase{ "UnknownFading", 2, SOUND_BEHAVIOR_FADING, false },
        LossCase{ "UnknownBoth", 2, SOUND_BEHAVIOR_NO_RESUME | SOUND_BEHAVIOR_FADING, false }),
    [](const auto& row) { return row.param.name; });

TEST_F(ClockSoundPlayerPipeTest, PausesWithoutACallerWhenTheFocusIsLost)
{
    play();

    soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);
    handleMessages();

    EXPECT_EQ(PLAYER_STATE_PAUSED, playerDouble().state);
}

TEST_F(ClockSoundPlayerPipeTest, IsNotConcernedByTheFocusOfAnEarlierInitialization)
{
    play(ClockSoundType::MelodyAndVibration);
    soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);
    handleMessages();
    initialize(ClockSoundType::MelodyAndVibration);
    handleMessages();
    forget();
    const size_t before = written().size();

    soundManagerDouble().tell(0, SOUND_STREAM_FOCUS_STATE_ACQUIRED);
    soundManagerDouble().tell(0, SOUND_STREAM_FOCUS_STATE_RELEASED);

    EXPECT_EQ(before, written().size());
    EXPECT_THAT(calls(), IsEmpty());
    soundManagerDouble().tell(1, SOUND_STREAM_FOCUS_STATE_ACQUIRED);
    EXPECT_EQ(kResumeMessage, written().back());
    EXPECT_THAT(calls(), ElementsAre("feedback_stop", "feedback_play_type(2, 168)"));
}

TEST_F(ClockSoundPlayerPipeTest, IsNotConcernedByTheEarlierFocusWhileItIsInitializedAgain)
{
    play();
    soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);
    soundManagerDouble().onCreate
        = [] { soundManagerDouble().tell(0, SOUND_STREAM_FOCUS_STATE_ACQUIRED); };

    initialize(ClockSoundType::Melody);

    EXPECT_THAT(written(), testing::Not(Contains(kResumeMessage)));
}

TEST_F(ClockSoundPlayerPipeTest, ResumesWhenTheFocusComesBack)
{
    play(ClockSoundType::MelodyAndVibration);
    soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);
    handleMessages();
    forget();

    soundManagerDouble().giveFocusBack();

    EXPECT_EQ(kResumeMessage, written().back());
    EXPECT_THAT(calls(), ElementsAre("feedback_stop", "feedback_play_type(2, 168)"));
}

TEST_F(ClockSoundPlayerPipeTest, StaysStillWhenItsFocusComesBackAfterAStop)
{
    play();
    soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NO_RESUME);
    handleMessages();
    ASSERT_EQ(PLAYER_STATE_READY, playerDouble().state);
    forget();

    soundManagerDouble().giveFocusBack();
    handleMessages();

    EXPECT_EQ(PLAYER_STATE_READY, playerDouble().state);
    EXPECT_THAT(calls(), ElementsAre("player_pause"));
    EXPECT_THAT(criticals(), ElementsAre("pause failed(-26476510"));
}

struct GainCase {
    const char* name;
    int caller;
    int behavior;
};

class ClockSoundPlayerGainTest : public ClockSoundPlayerFixture,
                                 public testing::WithParamInterface<GainCase> {};

TEST_P(ClockSoundPlayerGainTest, VibratesAgainAndLeavesTheTonePaused)
{
    player = std::make_unique<ClockSoundPlayer>(static_cast<CallerType>(GetParam().caller));
    play(ClockSoundType::MelodyAndVibration);
    player->pause();
    handleMessages();
    forget();

    soundManagerDouble().giveFocusBack(GetParam().behavior);
    EXPECT_EQ(kResumeMessage, written().back());
    handleMessages();

    EXPECT_EQ(PLAYER_STATE_PAUSED, playerDouble().state);
    EXPECT_THAT(calls("feedback"), ElementsAre("feedback_stop", "feedback_play_type(2, 168)"));
}

INSTANTIATE_TEST_SUITE_P(Table, ClockSoundPlayerGainTest,
    testing::Values(GainCase{ "TimerOrdinary", 0, SOUND_BEHAVIOR_NONE },
        GainCase{ "TimerNoResume", 0, SOUND_BEHAVIOR_NO_RESUME },
        GainCase{ "TimerFading", 0, SOUND_BEHAVIOR_FADING },
        GainCase{ "TimerBoth", 0, SOUND_BEHAVIOR_NO_RESUME | SOUND_BEHAVIOR_FADING },
        GainCase{ "AlarmOrdinary", 1, SOUND_BEHAVIOR_NONE },
        GainCase{ "AlarmNoResume", 1, SOUND_BEHAVIOR_NO_RESUME },
        GainCase{ "AlarmFading", 1, SOUND_BEHAVIOR_FADING },
        GainCase{ "AlarmBoth", 1, SOUND_BEHAVIOR_NO_RESUME | SOUND_BEHAVIOR_FADING },
        GainCase{ "UnknownOrdinary", 2, SOUND_BEHAVIOR_NONE },
        GainCase{ "UnknownBoth", 2, SOUND_BEHAVIOR_NO_RESUME | SOUND_BEHAVIOR_FADING }),
    [](const auto& row) { return row.param.name; });
} // namespace
