#include "ClockSoundPlayerFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
const char* const kZeroType = "vibration type can not be 0 when player mode is vibration";

struct Pattern {
    const char* name;
    int vibrationType;
    int shortPattern;
    int longPattern;
};

class ClockSoundPlayerPatternTest : public ClockSoundPlayerFixture,
                                    public testing::WithParamInterface<Pattern> {
protected:
    void vibrate()
    {
        Alarm alarm;
        alarm.type = ClockSoundType::Vibration;
        alarm.vibrationType = GetParam().vibrationType;
        initialize(alarm);
    }

    static std::string playing(int pattern)
    {
        return "feedback_play_type(2, " + std::to_string(pattern) + ")";
    }
};

TEST_P(ClockSoundPlayerPatternTest, IsShort)
{
    vconfDouble().bools["db/setting/sound/vibration_long_on"] = false;

    vibrate();

    EXPECT_THAT(calls("feedback_play_type"), ElementsAre(playing(GetParam().shortPattern)));
}

TEST_P(ClockSoundPlayerPatternTest, IsLong)
{
    vconfDouble().bools["db/setting/sound/vibration_long_on"] = true;

    vibrate();

    EXPECT_THAT(calls("feedback_play_type"), ElementsAre(playing(GetParam().longPattern)));
}

TEST_P(ClockSoundPlayerPatternTest, IsShortWithoutTheSetting)
{
    vibrate();

    EXPECT_THAT(calls("feedback_play_type"), ElementsAre(playing(GetParam().shortPattern)));
    EXPECT_THAT(vconfDouble().asked, ElementsAre("db/setting/sound/vibration_long_on"));
}

INSTANTIATE_TEST_SUITE_P(Table, ClockSoundPlayerPatternTest,
    testing::Values(Pattern{ "First", 1, 168, 169 }, Pattern{ "Second", 2, 170, 171 },
        Pattern{ "Third", 3, 172, 173 }, Pattern{ "Fourth", 4, 174, 175 },
        Pattern{ "Fifth", 5, 176, 177 }, Pattern{ "Zero", 0, 168, 168 },
        Pattern{ "Negative", -1, 168, 168 }, Pattern{ "Sixth", 6, 168, 168 }),
    [](const auto& row) { return row.param.name; });

class ClockSoundPlayerVibrationTest : public ClockSoundPlayerFixture {
protected:
    ClockSoundPlayerVibrationTest() { vibration.type = ClockSoundType::Vibration; }

    Alarm vibration;
};

TEST_F(ClockSoundPlayerVibrationTest, TakesTheFocusAndHasNoTone)
{
    initialize(vibration);

    EXPECT_THAT(calls(),
        ElementsAre("sound_manager_create_stream_information(2)", "feedback_stop",
            "sound_manager_acquire_focus(3, 0, null)", "feedback_play_type(2, 168)"));
    EXPECT_THAT(criticals(), ElementsAre("isSupportSpeaker = 1", "streamType [2]"));
    EXPECT_EQ(7, player->getVolume());
}

TEST_F(ClockSoundPlayerVibrationTest, NeedsNoFocusOfItsOwnBesideAMelody)
{
    initialize(ClockSoundType::MelodyAndVibration);

    EXPECT_THAT(calls("sound_manager_acquire_focus"), IsEmpty());
    EXPECT_THAT(calls("feedback"), ElementsAre("feedback_stop", "feedback_play_type(2, 168)"));
}

TEST_F(ClockSoundPlayerVibrationTest, GoesOnWithTypeZero)
{
    vibration.vibrationType = 0;

    initialize(vibration);

    EXPECT_THAT(criticals(), Contains(kZeroType));
    EXPECT_THAT(calls(), Contains("feedback_play_type(2, 168)"));
}

TEST_F(ClockSoundPlayerVibrationTest, GoesOnWithoutTheFocus)
{
    soundManagerDouble().results["sound_manager_acquire_focus"] = SOUND_MANAGER_ERROR_POLICY;

    initialize(vibration);

    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]", "Failed to get focus (-26607614)",
            "Failed to get focus because of policy"));
    EXPECT_THAT(calls(), Contains("feedback_play_type(2, 168)"));
}

TEST_F(ClockSoundPlayerVibrationTest, KeepsTheFocusThatItHas)
{
    initialize(vibration);
    forget();

    EXPECT_FALSE(player->resume());

    EXPECT_THAT(criticals(), ElementsAre("already focused", "pipe is not ready"));
    EXPECT_THAT(calls(), ElementsAre("feedback_stop", "feedback_play_type(2, 168)"));
}

TEST_F(ClockSoundPlayerVibrationTest, WaitsForNoRecordingUnlessAsked)
{
    setRecording(true);

    initialize(vibration);

    EXPECT_THAT(calls(), Contains("feedback_play_type(2, 168)"));
    EXPECT_THAT(infos(), IsEmpty());
}

TEST_F(ClockSoundPlayerVibrationTest, IsLeftOutWhileRecordingWhenAsked)
{
    setRecording(true);
    vibration.checkRecordingBeforeVibrating = 1;

    initialize(vibration);

    EXPECT_THAT(calls(), ElementsAre("sound_manager_create_stream_information(2)"));
    EXPECT_THAT(infos(), ElementsAre("Current voice recording state 1"));
    EXPECT_THAT(criticals(), Contains("currenlty recording. do not make feedback"));
}

TEST_F(ClockSoundPlayerVibrationTest, IsThereWhenNothingRecords)
{
    vibration.checkRecordingBeforeVibrating = 1;

    initialize(vibration);

    EXPECT_THAT(calls(), Contains("feedback_play_type(2, 168)"));
    EXPECT_THAT(infos(), ElementsAre("Current voice recording state 0"));
}

TEST_F(ClockSoundPlayerVibrationTest, TakesOnlyOneAsTheQuestionForRecording)
{
    setRecording(true);
    vibration.checkRecordingBeforeVibrating = 2;

    initialize(vibration);

    EXPECT_THAT(calls(), Contains("feedback_play_type(2, 168)"));
}

TEST_F(ClockSoundPlayerVibrationTest, InitializesTheVibratorWhenNeeded)
{
    feedbackDouble().initialized = false;

    initialize(vibration);

    EXPECT_THAT(calls("feedback"),
        ElementsAre("feedback_stop", "feedback_play_type(2, 168)", "feedback_initialize",
            "feedback_play_type(2, 168)"));
    EXPECT_THAT(criticals(), ElementsAre("isSupportSpeaker = 1", "streamType [2]"));
}

TEST_F(ClockSoundPlayerVibrationTest, TriesOnlyOnceMore)
{
    feedbackDouble().initialized = false;
    feedbackDouble().initializeResult = FEEDBACK_ERROR_OPERATION_FAILED;

    initialize(vibration);

    EXPECT_THAT(calls("feedback_play_type"), testing::SizeIs(2));
    EXPECT_THAT(criticals(),
        ElementsAre(
            "isSupportSpeaker = 1", "streamType [2]", "play feedback failed after initialize"));
}

TEST_F(ClockSoundPlayerVibrationTest, ReportsAFailureAfterTheInitialization)
{
    feedbackDouble().initialized = false;
    feedbackDouble().playResult = FEEDBACK_ERROR_NOT_SUPPORTED;

    initialize(vibration);

    EXPECT_THAT(criticals(), Contains("play feedback failed after initialize"));
}

TEST_F(ClockSoundPlayerVibrationTest, ReportsAnyOtherFailure)
{
    feedbackDouble().playResult = FEEDBACK_ERROR_NOT_SUPPORTED;

    initialize(vibration);

    EXPECT_THAT(calls("feedback"), ElementsAre("feedback_stop", "feedback_play_type(2, 168)"));
    EXPECT_THAT(
        criticals(), ElementsAre("isSupportSpeaker = 1", "streamType [2]", "play feedback failed"));
}

TEST_F(ClockSoundPlayerVibrationTest, GivesTheFocusBackWhenItStops)
{
    initialize(vibration);
    forget();

    player->stop();

    EXPECT_THAT(calls(), ElementsAre("feedback_stop", "sound_manager_release_focus(3, 0, null)"));
    EXPECT_THAT(criticals(), ElementsAre("pipe is not ready"));
    EXPECT_EQ(0, soundManagerDouble().held);
}

TEST_F(ClockSoundPlayerVibrationTest, EndsWhenItLosesTheFocus)
{
    initialize(vibration);
    forget();

    soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);

    EXPECT_THAT(calls(), ElementsAre("feedback_stop"));
    EXPECT_THAT(criticals(), ElementsAre("pipe is not ready"));
}

TEST_F(ClockSoundPlayerVibrationTest, OfATimerEndsWhenItLosesTheFocus)
{
    player = std::make_unique<ClockSoundPlayer>(CallerType::Timer);
    initialize(vibration);
    forget();

    soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);

    EXPECT_THAT(calls(), ElementsAre("feedback_stop"));
    EXPECT_THAT(criticals(), ElementsAre("pipe is not ready"));
}

TEST_F(ClockSoundPlayerVibrationTest, BesideAMelodyEndsWhenItLosesTheFocus)
{
    play(ClockSoundType::MelodyAndVibration);

    soundManagerDouble().takeFocus(SOUND_BEHAVIOR_NONE);
    handleMessages();

    EXPECT_THAT(calls(), ElementsAre("feedback_stop", "player_pause"));
    EXPECT_EQ(PLAYER_STATE_PAUSED, playerDouble().state);
}

TEST_F(ClockSoundPlayerVibrationTest, PausesWithoutATone)
{
    initialize(vibration);
    forget();

    EXPECT_FALSE(player->pause());

    EXPECT_THAT(calls(), ElementsAre("feedback_stop"));
    EXPECT_THAT(criticals(), ElementsAre("pipe is not ready"));
}
} // namespace
