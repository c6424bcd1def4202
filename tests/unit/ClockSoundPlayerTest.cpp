#include "ClockSoundPlayerFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;

namespace {
const char* const kMissing = "/proc/self/no such tone";
const char* const kInputFailed
    = "Failed to create player with input uri. Create player with default uri";
const char* const kDefaultFailed = "Failed to create player with default uri";

class ClockSoundPlayerTest : public ClockSoundPlayerFixture {};

TEST_F(ClockSoundPlayerTest, BeginsWithoutAnything)
{
    EXPECT_EQ(0, player->getVolume());
    EXPECT_THAT(calls(), IsEmpty());
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(ClockSoundPlayerTest, GoesOnWithoutTheVolumeToRecover)
{
    soundManagerDouble().results["sound_manager_get_volume"] = SOUND_MANAGER_ERROR_INTERNAL;

    player = std::make_unique<ClockSoundPlayer>();

    EXPECT_THAT(criticals(), Contains("Failed to get recovery alarm volume"));
}

TEST_F(ClockSoundPlayerTest, AcceptsBothCallerTypes)
{
    player.reset();
    forget();

    player = std::make_unique<ClockSoundPlayer>(static_cast<CallerType>(0));
    const ClockSoundPlayer alarm(static_cast<CallerType>(1));

    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(ClockSoundPlayerTest, ReportsAnUnknownCallerType)
{
    const ClockSoundPlayer other(static_cast<CallerType>(2));

    EXPECT_THAT(criticals(), ElementsAre("Invalid clock sound session type. Set type as ALARM"));
}

TEST_F(ClockSoundPlayerTest, LogsAsTheLibraryDoes)
{
    player->start();

    const DlogDouble::Line line = dlogDouble().lines.at(0);
    EXPECT_EQ(DLOG_ERROR, line.priority);
    EXPECT_EQ("alarm-common", line.tag);
    EXPECT_THAT(line.text,
        testing::MatchesRegex("ClockSoundPlayer.cpp: start\\([0-9]+\\) > \033\\[0;31m"
                              "\\* Critical \\* pipe is not ready\033\\[0;m"));
}

// A melody, from initialize() until its start.

TEST_F(ClockSoundPlayerTest, PreparesTheTone)
{
    initialize(ClockSoundType::Melody);

    EXPECT_THAT(calls(),
        ElementsAre("sound_manager_create_stream_information(2)", "player_create",
            "player_set_looping(true)", "player_set_uri", "player_set_sound_stream_info",
            "player_set_error_cb", "player_prepare_async", "ecore_pipe_add",
            "sound_manager_set_volume(2, 7)"));
    EXPECT_EQ("/proc/self/status", playerDouble().uri);
    EXPECT_NE(nullptr, playerDouble().streamInfo);
    EXPECT_EQ(7, player->getVolume());
    EXPECT_EQ(7, alarmVolume());
    EXPECT_THAT(criticals(), ElementsAre("isSupportSpeaker = 1", "streamType [2]"));
    EXPECT_THAT(infos(), ElementsAre("volume = 7"));
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(ClockSoundPlayerTest, UsesTheStreamTypeThatItIsGiven)
{
    Alarm alarm;
    alarm.streamType = SOUND_STREAM_TYPE_NOTIFICATION;

    initialize(alarm);

    EXPECT_THAT(calls(), Contains("sound_manager_create_stream_information(3)"));
    EXPECT_THAT(criticals(), Contains("streamType [3]"));
}

TEST_F(ClockSoundPlayerTest, AssumesASpeakerWhenTheDeviceDoesNotSay)
{
    systemInfoDouble().result = SYSTEM_INFO_ERROR_IO_ERROR;

    initialize(ClockSoundType::Melody);

    EXPECT_THAT(criticals(),
        ElementsAre(
            "system_info_get_custom_bool failed", "isSupportSpeaker = 1", "streamType [2]"));
    EXPECT_THAT(calls(), Contains("player_prepare_async"));
}

TEST_F(ClockSoundPlayerTest, GoesOnWithoutAStream)
{
    soundManagerDouble().results["sound_manager_create_stream_information"]
        = SOUND_MANAGER_ERROR_INTERNAL;

    initialize(ClockSoundType::Melody);
    player.reset();

    EXPECT_THAT(criticals(), Contains("ret [-26607615]"));
    EXPECT_THAT(calls(), Contains("player_prepare_async"));
    EXPECT_THAT(criticals(), Contains("stream info is not set"));
}

TEST_F(ClockSoundPlayerTest, MakesNothingForTypeNothing)
{
    initialize(ClockSoundType::Nothing);

    EXPECT_THAT(calls(), ElementsAre("sound_manager_create_stream_information(2)"));
}

TEST_F(ClockSoundPlayerTest, TakesTheDefaultToneFromItsBeginningWhenTheToneIsMissing)
{
    Alarm alarm;
    alarm.tone = kMissing;
    alarm.playPosition = 5000;

    initialize(alarm);
    playerDouble().prepared();

    EXPECT_EQ("/proc/self/stat", playerDouble().uri);
    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]",
            "Invalid tone file path. Return false", kInputFailed));
    EXPECT_THAT(written(), ElementsAre(kStartMessage));
}

TEST_F(ClockSoundPlayerTest, StaysSilentWhenBothTonesAreMissing)
{
    Alarm alarm;
    alarm.tone = kMissing;
    alarm.defaultTone = kMissing;

    initialize(alarm);

    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]",
            "Invalid tone file path. Return false", kInputFailed,
            "Invalid tone file path. Return false", kDefaultFailed));
    EXPECT_THAT(calls(), ElementsAre("sound_manager_create_stream_information(2)"));
}

TEST_F(ClockSoundPlayerTest, TakesNoPathAsAMissingTone)
{
    player->initialize(
        nullptr, nullptr, ClockSoundType::Melody, 1, 7, 0, 0, 0, SOUND_STREAM_TYPE_ALARM);

    EXPECT_THAT(criticals(), Contains(kDefaultFailed));
}

struct Failure {
    const char* name;
    const char* call;
    const char* message;
    int destroyed;
};

class ClockSoundPlayerFailureTest : public ClockSoundPlayerFixture,
                                    public testing::WithParamInterface<Failure> {};

TEST_P(ClockSoundPlayerFailureTest, TriesTheDefaultToneAndLeavesNoPlayer)
{
    const Failure& failure = GetParam();
    playerDouble().results[failure.call] = PLAYER_ERROR_INVALID_OPERATION;

    initialize(ClockSoundType::Melody);

    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]", failure.message, kInputFailed,
            failure.message, kDefaultFailed));
    EXPECT_THAT(calls("player_destroy"), testing::SizeIs(failure.destroyed));
    EXPECT_EQ(0, playerDouble().alive);
    EXPECT_THAT(calls("ecore_pipe_add"), IsEmpty());
    EXPECT_THAT(calls("sound_manager_set_volume"), IsEmpty());

    playerDouble().results.clear();
    forget();
    player.reset();
    EXPECT_THAT(calls(), ElementsAre("sound_manager_destroy_stream_information", "feedback_stop"));
}

INSTANTIATE_TEST_SUITE_P(Table, ClockSoundPlayerFailureTest,
    testing::Values(Failure{ "Create", "player_create", "Failed to create player", 0 },
        Failure{ "Looping", "player_set_looping", "Failed to set player looping", 2 },
        Failure{ "Uri", "player_set_uri", "Failed to set uri", 2 },
        Failure{ "Prepare", "player_prepare_async", "Failed to prepare", 2 }),
    [](const auto& row) { return row.param.name; });

TEST_F(ClockSoundPlayerTest, PlaysThoughThePlayerRefusesTheStream)
{
    playerDouble().results["player_set_sound_stream_info"] = PLAYER_ERROR_INVALID_OPERATION;

    initialize(ClockSoundType::Melody);
    playerDouble().prepared();
    handleMessages();

    EXPECT_EQ("/proc/self/status", playerDouble().uri);
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
    EXPECT_THAT(criticals(), ElementsAre("isSupportSpeaker = 1", "streamType [2]"));
}

TEST_F(ClockSoundPlayerTest, KeepsTheSourceOfAPlayerThatIsPrepared)
{
    initialize(ClockSoundType::Melody);
    playerDouble().prepared();
    forget();
    Alarm second;
    second.tone = "/proc/self/stat";
    second.volume = 3;

    initialize(second);

    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]", "player is not in idle"));
    EXPECT_THAT(calls(),
        ElementsAre("sound_manager_create_stream_information(2)", "player_set_sound_stream_info",
            "player_set_error_cb", "sound_manager_set_volume(2, 3)"));
    EXPECT_EQ("/proc/self/status", playerDouble().uri);
}

TEST_F(ClockSoundPlayerTest, PlaysOnWhenItIsInitializedWhilePlaying)
{
    play();
    Alarm second;
    second.tone = "/proc/self/stat";
    second.volume = 3;

    initialize(second);
    handleMessages();

    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
    EXPECT_EQ("/proc/self/status", playerDouble().uri);
    EXPECT_EQ(3, alarmVolume());
    EXPECT_EQ(0, soundManagerDouble().held);
    EXPECT_THAT(
        calls("player"), ElementsAre("player_set_sound_stream_info", "player_set_error_cb"));
    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]", "player is not in idle"));
}

TEST_F(ClockSoundPlayerTest, TakesTheStreamTypeOfItsLastInitialization)
{
    play();
    Alarm second;
    second.streamType = SOUND_STREAM_TYPE_NOTIFICATION;

    initialize(second);

    // The first stream is the player's until its end, but without the focus.
    EXPECT_THAT(calls("sound_manager"),
        ElementsAre("sound_manager_release_focus(3, 0, null)",
            "sound_manager_create_stream_information(3)", "sound_manager_set_volume(2, 7)"));
    EXPECT_EQ(2, soundManagerDouble().alive);
    forget();
    player.reset();
    EXPECT_THAT(calls(),
        ElementsAre("player_stop", "player_unprepare", "player_destroy", "ecore_pipe_del",
            "sound_manager_destroy_stream_information", "sound_manager_destroy_stream_information",
            "feedback_stop"));
}

TEST_F(ClockSoundPlayerTest, CannotPrepareAgainWhilePreparing)
{
    initialize(ClockSoundType::Melody);
    playerDouble().results["player_prepare_async"] = PLAYER_ERROR_INVALID_OPERATION;
    forget();

    initialize(ClockSoundType::Melody);

    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]", "Failed to prepare", kInputFailed,
            "Failed to prepare", kDefaultFailed));
    EXPECT_THAT(calls("player_destroy"), testing::SizeIs(2));
    EXPECT_EQ(0, playerDouble().alive);
}

TEST_F(ClockSoundPlayerTest, TakesTheDefaultToneFromItsBeginningWhenThePlayerRefusesTheTone)
{
    Alarm alarm;
    alarm.playPosition = 5000;
    playerDouble().refusedUri = alarm.tone;

    initialize(alarm);
    playerDouble().prepared();

    EXPECT_EQ("/proc/self/stat", playerDouble().uri);
    EXPECT_THAT(calls("player"),
        ElementsAre("player_create", "player_set_looping(true)", "player_set_uri", "player_destroy",
            "player_create", "player_set_looping(true)", "player_set_uri",
            "player_set_sound_stream_info", "player_set_error_cb", "player_prepare_async"));
    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]", "Failed to set uri", kInputFailed));
    EXPECT_THAT(written(), ElementsAre(kStartMessage));
}

TEST_F(ClockSoundPlayerTest, ReplacesTheStreamThatNoPlayerUses)
{
    initialize(ClockSoundType::Nothing);
    forget();

    initialize(ClockSoundType::Nothing);

    EXPECT_THAT(calls(),
        ElementsAre("sound_manager_destroy_stream_information",
            "sound_manager_create_stream_information(2)"));
    EXPECT_EQ(1, soundManagerDouble().alive);
}

TEST_F(ClockSoundPlayerTest, GoesOnWithoutAPipe)
{
    ecorePipeProbe().refusesPipe = true;

    initialize(ClockSoundType::Melody);

    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]", "Failed to add ecore pipe"));
    EXPECT_EQ(7, alarmVolume());
    forget();
    playerDouble().prepared();
    EXPECT_THAT(criticals(), ElementsAre("pipe is not ready"));
}

TEST_F(ClockSoundPlayerTest, ReportsAnErrorOfThePlayer)
{
    initialize(ClockSoundType::Melody);
    forget();

    playerDouble().failed(PLAYER_ERROR_NOT_SUPPORTED_FILE);

    EXPECT_THAT(criticals(), ElementsAre("Player error occur :: err = -26476509"));
}

// No speaker.

TEST_F(ClockSoundPlayerTest, MelodyWithoutASpeakerIsNothingAtAll)
{
    setSpeaker(false);
    Alarm alarm;
    alarm.increasingVolume = 1;

    initialize(alarm);

    EXPECT_THAT(calls(), ElementsAre("sound_manager_create_stream_information(2)"));
    EXPECT_THAT(criticals(), ElementsAre("isSupportSpeaker = 0", "streamType [2]"));
}

TEST_F(ClockSoundPlayerTest, MelodyAndVibrationWithoutASpeakerVibrates)
{
    setSpeaker(false);
    vconfDouble().ints["db/setting/sound/call/vibration_type"] = 5;
    Alarm alarm;
    alarm.type = ClockSoundType::MelodyAndVibration;
    alarm.increasingVolume = 1;

    initialize(alarm);

    EXPECT_THAT(calls(),
        ElementsAre("sound_manager_create_stream_information(2)", "feedback_stop",
            "feedback_play_type(2, 172)", "WUiTimer::create(4)"));
    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 0", "streamType [2]", "vibTypeOnSetting = 5",
            "_vibrationType = 3"));
}

TEST_F(ClockSoundPlayerTest, VibrationWithoutASpeakerTakesTheFirstTypeWhenThereIsNoSetting)
{
    setSpeaker(false);
    Alarm alarm;
    alarm.type = ClockSoundType::Vibration;
    alarm.vibrationType = 4;

    initialize(alarm);

    EXPECT_THAT(calls("feedback_play_type"), ElementsAre("feedback_play_type(2, 168)"));
    EXPECT_THAT(criticals(), IsSupersetOf({ "vibTypeOnSetting = 0", "_vibrationType = 1" }));
}

TEST_F(ClockSoundPlayerTest, NothingWithoutASpeakerStaysNothing)
{
    setSpeaker(false);

    initialize(ClockSoundType::Nothing);

    EXPECT_THAT(calls(), ElementsAre("sound_manager_create_stream_information(2)"));
}

// Volume.

TEST_F(ClockSoundPlayerTest, SetsTheVolume)
{
    initialize(ClockSoundType::MelodyAndVibration);
    forget();

    player->setVolume(9);

    EXPECT_EQ(9, player->getVolume());
    EXPECT_EQ(9, alarmVolume());
    EXPECT_THAT(infos(), ElementsAre("volume = 9"));
    EXPECT_THAT(criticals(), IsEmpty());
    EXPECT_THAT(warnings(), IsEmpty());
}

TEST_F(ClockSoundPlayerTest, KeepsTheVolumeThatThePlatformRefuses)
{
    initialize(ClockSoundType::Melody);
    forget();

    player->setVolume(16);

    EXPECT_EQ(16, player->getVolume());
    EXPECT_EQ(7, alarmVolume());
    EXPECT_THAT(criticals(), ElementsAre("Failed to set alarm session volume(volume = 16)"));
}

class ClockSoundPlayerSilentTypeTest : public ClockSoundPlayerFixture,
                                       public testing::WithParamInterface<int> {};

TEST_P(ClockSoundPlayerSilentTypeTest, HasNoVolume)
{
    initialize(static_cast<ClockSoundType>(GetParam()));
    forget();

    player->setVolume(9);

    EXPECT_EQ(0, player->getVolume());
    EXPECT_EQ(11, alarmVolume());
    EXPECT_THAT(infos(), ElementsAre("volume = 9"));
    EXPECT_THAT(warnings(),
        ElementsAre("Current alarm type is not include Melody. Set volume as 0 for pausing Media "
                    "session"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_P(ClockSoundPlayerSilentTypeTest, RecoversNoVolume)
{
    initialize(static_cast<ClockSoundType>(GetParam()));
    soundManagerDouble().volumes[SOUND_TYPE_ALARM] = 2;
    forget();

    player->recoverPreviousAlarmVolume();

    EXPECT_EQ(2, alarmVolume());
    EXPECT_THAT(infos(), ElementsAre("Previous volume = 11"));
    EXPECT_THAT(
        criticals(), ElementsAre("Current soundType is (" + std::to_string(GetParam()) + ")"));
}

INSTANTIATE_TEST_SUITE_P(NothingAndVibration, ClockSoundPlayerSilentTypeTest, testing::Values(0, 2),
    testing::PrintToStringParamName());

TEST_F(ClockSoundPlayerTest, RecoversTheVolumeOfItsConstruction)
{
    initialize(ClockSoundType::Melody);
    forget();

    player->recoverPreviousAlarmVolume();

    EXPECT_EQ(11, alarmVolume());
    EXPECT_EQ(7, player->getVolume());
    EXPECT_THAT(infos(), ElementsAre("Previous volume = 11"));
    EXPECT_THAT(criticals(), IsEmpty());
}

TEST_F(ClockSoundPlayerTest, NamesTheTargetWhenTheVolumeCannotBeRecovered)
{
    initialize(ClockSoundType::Melody);
    forget();
    soundManagerDouble().results["sound_manager_set_volume"] = SOUND_MANAGER_ERROR_INTERNAL;

    player->recoverPreviousAlarmVolume();

    EXPECT_THAT(criticals(), ElementsAre("Failed to set alarm session volume(volume = 7)"));
}

TEST_F(ClockSoundPlayerTest, RemembersNoVolumeForACaller)
{
    player = std::make_unique<ClockSoundPlayer>(CallerType::Alarm);
    initialize(ClockSoundType::Melody);

    player->recoverPreviousAlarmVolume();

    EXPECT_EQ(0, alarmVolume());
    EXPECT_THAT(infos(), Contains("Previous volume = 0"));
}

// Increasing volume.

class ClockSoundPlayerRampTest : public ClockSoundPlayerFixture {
protected:
    ClockSoundPlayerRampTest()
    {
        ramp.volume = 3;
        ramp.increasingVolume = 1;
    }

    static UiTimerDouble::Timer& timer() { return *uiTimerDouble().timers.at(0); }

    Alarm ramp;
};

TEST_F(ClockSoundPlayerRampTest, ClimbsFromOneToTheTarget)
{
    initialize(ramp);
    EXPECT_EQ(1, alarmVolume());
    EXPECT_EQ(3, player->getVolume());
    EXPECT_EQ(4.0, timer().period);

    timer().tick();
    EXPECT_EQ(2, alarmVolume());
    EXPECT_TRUE(timer().active);
    timer().tick();
    EXPECT_EQ(3, alarmVolume());
    EXPECT_TRUE(timer().active);
    timer().tick();

    EXPECT_EQ(3, alarmVolume());
    EXPECT_FALSE(timer().active);
    EXPECT_THAT(calls("sound_manager_set_volume"),
        ElementsAre("sound_manager_set_volume(2, 1)", "sound_manager_set_volume(2, 2)",
            "sound_manager_set_volume(2, 3)"));
}

TEST_F(ClockSoundPlayerRampTest, ClimbsBesideAVibrationToo)
{
    ramp.type = ClockSoundType::MelodyAndVibration;

    initialize(ramp);
    EXPECT_EQ(1, alarmVolume());
    EXPECT_EQ(3, player->getVolume());
    timer().tick();

    EXPECT_EQ(2, alarmVolume());
}

TEST_F(ClockSoundPlayerRampTest, EndsWhenTheUserIsLouder)
{
    initialize(ramp);
    soundManagerDouble().volumes[SOUND_TYPE_ALARM] = 8;

    timer().tick();

    EXPECT_EQ(8, alarmVolume());
    EXPECT_FALSE(timer().active);
}

TEST_F(ClockSoundPlayerRampTest, FollowsANewTarget)
{
    initialize(ramp);
    player->setVolume(1);

    timer().tick();

    EXPECT_EQ(1, alarmVolume());
    EXPECT_FALSE(timer().active);
}

TEST_F(ClockSoundPlayerRampTest, TriesAgainAfterAVolumeThatCannotBeRead)
{
    initialize(ramp);
    forget();
    soundManagerDouble().results["sound_manager_get_volume"] = SOUND_MANAGER_ERROR_INTERNAL;
    timer().tick();

    EXPECT_THAT(criticals(), ElementsAre("Failed to get current alarm volume"));
    EXPECT_EQ(1, alarmVolume());

    soundManagerDouble().results.clear();
    timer().tick();
    EXPECT_EQ(2, alarmVolume());
}

TEST_F(ClockSoundPlayerRampTest, GoesOnAfterAVolumeThatCannotBeSet)
{
    initialize(ramp);
    forget();
    soundManagerDouble().results["sound_manager_set_volume"] = SOUND_MANAGER_ERROR_INTERNAL;

    timer().tick();

    EXPECT_THAT(criticals(), ElementsAre("Failed to set alarm increase volume(volume = 2)"));
    EXPECT_TRUE(timer().active);
}

TEST_F(ClockSoundPlayerRampTest, GoesOnAfterAFirstVolumeThatCannotBeSet)
{
    soundManagerDouble().results["sound_manager_set_volume"] = SOUND_MANAGER_ERROR_INTERNAL;

    initialize(ramp);

    EXPECT_THAT(criticals(),
        ElementsAre("isSupportSpeaker = 1", "streamType [2]",
            "Failed to set alarm increase volume(volume = 1)"));
    EXPECT_TRUE(timer().active);
    EXPECT_EQ(PLAYER_STATE_IDLE, playerDouble().state);
    playerDouble().prepared();
    handleMessages();
    EXPECT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
}

TEST_F(ClockSoundPlayerRampTest, IsSwitchedOffByVolumeZero)
{
    ramp.volume = 0;

    initialize(ramp);

    EXPECT_EQ(0, alarmVolume());
    EXPECT_THAT(uiTimerDouble().timers, IsEmpty());
    EXPECT_THAT(infos(), ElementsAre("volume = 0"));
}

TEST_F(ClockSoundPlayerRampTest, RunsForVibrationToo)
{
    ramp.type = ClockSoundType::Vibration;

    initialize(ramp);

    EXPECT_TRUE(timer().active);
    EXPECT_THAT(calls("sound_manager_set_volume"), IsEmpty());
}

TEST_F(ClockSoundPlayerRampTest, ReplacesTheEarlierOne)
{
    initialize(ramp);

    initialize(ramp);

    ASSERT_EQ(2u, uiTimerDouble().timers.size());
    EXPECT_FALSE(uiTimerDouble().timers[0]->active);
    EXPECT_TRUE(uiTimerDouble().timers[1]->active);
}

TEST_F(ClockSoundPlayerRampTest, ClimbsOnToTheTargetOfALaterInitializationWithoutOne)
{
    initialize(ramp);
    ramp.increasingVolume = 0;
    ramp.volume = 5;
    initialize(ramp);
    EXPECT_EQ(5, alarmVolume());
    soundManagerDouble().volumes[SOUND_TYPE_ALARM] = 4;

    timer().tick();
    EXPECT_EQ(5, alarmVolume());
    EXPECT_TRUE(timer().active);
    timer().tick();

    EXPECT_EQ(5, alarmVolume());
    EXPECT_FALSE(timer().active);
    EXPECT_EQ(1u, uiTimerDouble().timers.size());
}

TEST_F(ClockSoundPlayerRampTest, StartsWithTheVolumeWithoutAPlayerToo)
{
    ramp.tone = kMissing;
    ramp.defaultTone = kMissing;

    initialize(ramp);

    EXPECT_TRUE(timer().active);
    EXPECT_EQ(11, alarmVolume());
}

// The end.

TEST_F(ClockSoundPlayerTest, ReleasesEverythingInOrder)
{
    setRecording(true);
    Alarm alarm;
    alarm.increasingVolume = 1;
    initialize(alarm);
    player->start();
    forget();

    player.reset();

    EXPECT_THAT(calls(),
        ElementsAre("WUiTimer::destroy(4)", "WUiTimer::destroy(0.5)", "player_stop",
            "player_unprepare", "player_destroy", "ecore_pipe_del",
            "sound_manager_destroy_stream_information", "feedback_stop"));
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

TEST_F(ClockSoundPlayerTest, EndsWithoutHavingBeenInitialized)
{
    player.reset();

    EXPECT_THAT(calls(), ElementsAre("feedback_stop"));
    EXPECT_THAT(criticals(), ElementsAre("stream info is not set"));
}

TEST_F(ClockSoundPlayerTest, ReportsAStreamThatCannotBeDestroyed)
{
    initialize(ClockSoundType::Nothing);
    soundManagerDouble().results["sound_manager_destroy_stream_information"]
        = SOUND_MANAGER_ERROR_INTERNAL;
    forget();

    player.reset();

    EXPECT_THAT(criticals(), ElementsAre("ret [-26607615]"));
    soundManagerDouble().alive = 0;
}

TEST_F(ClockSoundPlayerTest, ReportsAFormerStreamThatCannotBeDestroyed)
{
    play();
    initialize(ClockSoundType::Melody);
    soundManagerDouble().results["sound_manager_destroy_stream_information"]
        = SOUND_MANAGER_ERROR_INTERNAL;
    forget();

    player.reset();

    EXPECT_THAT(dlogDouble().messagesWithFunctions(DLOG_ERROR),
        ElementsAre("_destroyStreamInfo: ret [-26607615]", "_destroyStreamInfo: ret [-26607615]"));
    soundManagerDouble().alive = 0;
}

TEST_F(ClockSoundPlayerTest, EndsWhilePreparing)
{
    initialize(ClockSoundType::Melody);
    ASSERT_EQ(PLAYER_STATE_IDLE, playerDouble().state);
    forget();

    player.reset();

    EXPECT_THAT(calls(),
        ElementsAre("player_stop", "player_unprepare", "player_destroy", "ecore_pipe_del",
            "sound_manager_destroy_stream_information", "feedback_stop"));
    EXPECT_THAT(written(), IsEmpty());
}

class ClockSoundPlayerEndTest : public ClockSoundPlayerFixture,
                                public testing::WithParamInterface<player_state_e> {};

TEST_P(ClockSoundPlayerEndTest, StopsUnpreparesAndDestroysThePlayer)
{
    play();
    playerDouble().state = GetParam();

    player.reset();

    EXPECT_THAT(calls(),
        ElementsAre("player_stop", "player_unprepare", "player_destroy", "ecore_pipe_del",
            "sound_manager_destroy_stream_information", "feedback_stop"));
    EXPECT_EQ(0, playerDouble().alive);
    EXPECT_THAT(dlogDouble().lines, IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(States, ClockSoundPlayerEndTest,
    testing::Values(PLAYER_STATE_READY, PLAYER_STATE_PLAYING, PLAYER_STATE_PAUSED),
    testing::PrintToStringParamName());
} // namespace
