#include "ClockSoundPlayerFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsSupersetOf;

namespace {
/// In whose name the player logs: readers search for "function: message".
class ClockSoundPlayerLogTest : public ClockSoundPlayerFixture {
protected:
    static std::vector<std::string> criticals()
    {
        return dlogDouble().messagesWithFunctions(DLOG_ERROR);
    }
    static std::vector<std::string> infos()
    {
        return dlogDouble().messagesWithFunctions(DLOG_INFO);
    }
    static std::vector<std::string> warnings()
    {
        return dlogDouble().messagesWithFunctions(DLOG_WARN);
    }
};

TEST_F(ClockSoundPlayerLogTest, IsOfTheConstructor)
{
    soundManagerDouble().results["sound_manager_get_volume"] = SOUND_MANAGER_ERROR_INTERNAL;

    player = std::make_unique<ClockSoundPlayer>();
    player = std::make_unique<ClockSoundPlayer>(static_cast<CallerType>(2));

    EXPECT_THAT(criticals(),
        IsSupersetOf({ "ClockSoundPlayer: Failed to get recovery alarm volume",
            "ClockSoundPlayer: Invalid clock sound session type. Set type as ALARM",
            "_destroyStreamInfo: stream info is not set" }));
}

TEST_F(ClockSoundPlayerLogTest, IsOfInitialize)
{
    setSpeaker(false);
    initialize(ClockSoundType::Vibration);

    EXPECT_THAT(criticals(),
        ElementsAre("initialize: isSupportSpeaker = 0", "_createStreamInfo: streamType [2]",
            "initialize: vibTypeOnSetting = 0", "initialize: _vibrationType = 1"));

    systemInfoDouble().result = SYSTEM_INFO_ERROR_IO_ERROR;
    initialize(ClockSoundType::Nothing);
    EXPECT_THAT(criticals(), Contains("initialize: system_info_get_custom_bool failed"));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheCreationOfThePlayer)
{
    Alarm missing;
    missing.tone = "/proc/self/no such tone";
    missing.defaultTone = missing.tone;
    initialize(missing);
    for (const char* call :
        { "player_create", "player_set_looping", "player_set_uri", "player_prepare_async" }) {
        playerDouble().results[call] = PLAYER_ERROR_INVALID_OPERATION;
        initialize(ClockSoundType::Melody);
        playerDouble().results.clear();
    }
    ecorePipeProbe().refusesPipe = true;
    initialize(ClockSoundType::Melody);
    playerDouble().prepared();
    initialize(ClockSoundType::Melody);

    EXPECT_THAT(criticals(),
        IsSupersetOf({ "_createPlayerAsync: Invalid tone file path. Return false",
            "_playSound: Failed to create player with input uri. Create player with default uri",
            "_playSound: Failed to create player with default uri",
            "_createPlayerAsync: Failed to create player",
            "_createPlayerAsync: Failed to set player looping",
            "_createPlayerAsync: Failed to set uri", "_createPlayerAsync: Failed to prepare",
            "_createPlayerAsync: player is not in idle",
            "_createPlayerAsync: Failed to add ecore pipe", "start: pipe is not ready" }));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheCommandThatHasNoPipe)
{
    player->start();
    player->stop();
    player->pause();
    player->resume();

    EXPECT_THAT(criticals(),
        ElementsAre("start: pipe is not ready", "stop: pipe is not ready",
            "pause: pipe is not ready", "resume: pipe is not ready"));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheSeekThatHasNoPipe)
{
    ecorePipeProbe().refusesPipe = true;
    Alarm alarm;
    alarm.playPosition = 5000;
    initialize(alarm);
    forget();

    playerDouble().prepared();

    EXPECT_THAT(criticals(), ElementsAre("_setPlayPosition: Pipe is not ready. Return"));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheStartThatWaits)
{
    initialize(ClockSoundType::Melody);
    setRecording(true);
    forget();
    player->start();
    player->start();
    uiTimerDouble().timers.at(0)->tick();

    EXPECT_THAT(criticals(),
        ElementsAre("start: Now recorder is in recording. Check again after 0.5 second",
            "start: Now recorder is in recording. Check again after 0.5 second",
            "start: Recording check timer already added"));
    EXPECT_THAT(infos(),
        IsSupersetOf({ "_isRecordingState: Current voice recording state 1",
            "_checkRecordingTimerCb: Still recording state. Do not start player" }));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheHandlerForWhatItCarriesOut)
{
    initialize(ClockSoundType::Melody);
    forget();
    soundManagerDouble().results["sound_manager_acquire_focus"] = SOUND_MANAGER_ERROR_POLICY;
    handle(kStartMessage);
    soundManagerDouble().results.clear();
    handle(kStartMessage);
    handle(kStartMessage);
    soundManagerDouble().results["sound_manager_release_focus"] = SOUND_MANAGER_ERROR_INTERNAL;
    handle(kStopMessage);
    handle(kPauseMessage);
    playerDouble().state = PLAYER_STATE_PAUSED;
    playerDouble().results["player_start"] = PLAYER_ERROR_INVALID_OPERATION;
    handle(kStartMessage);
    handle(std::string("player_resume\0", 14));
    playerDouble().results["player_set_play_position"] = PLAYER_ERROR_SEEK_FAILED;
    handle(kSetPositionMessage);
    ecorePipeProbe().handler(nullptr, nullptr, 0);

    const std::string idle = "_pipeHandlerCb: player state is idle, currently pareparing player "
                             "(it could be launching case)";
    EXPECT_THAT(criticals(),
        ElementsAre("_pipeHandlerCb: Failed to get focus (-26607614)",
            "_pipeHandlerCb: Failed to get focus because of policy", idle,
            "_pipeHandlerCb: already focused", idle,
            "_pipeHandlerCb: Failed release focus(-26607615)",
            "_pipeHandlerCb: Failed to stop player", "_pipeHandlerCb: pause failed(-26476510",
            "_pipeHandlerCb: already focused", "_pipeHandlerCb: Failed to start player",
            "_pipeHandlerCb: resume failed(-38",
            "_pipeHandlerCb: Failed to set play position(position = 0). Just start player",
            "_pipeHandlerCb: already focused", "_pipeHandlerCb: Failed to start player",
            "_pipeHandlerCb: Data is null. Return"));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheFocusForAVibration)
{
    soundManagerDouble().results["sound_manager_acquire_focus"] = SOUND_MANAGER_ERROR_POLICY;
    initialize(ClockSoundType::Vibration);
    soundManagerDouble().results.clear();
    player->resume();
    player->resume();
    soundManagerDouble().results["sound_manager_release_focus"] = SOUND_MANAGER_ERROR_INTERNAL;
    player->stop();

    EXPECT_THAT(criticals(),
        IsSupersetOf({ "_acquireFocus: Failed to get focus (-26607614)",
            "_acquireFocus: Failed to get focus because of policy",
            "_acquireFocus: already focused", "_releaseFocus: Failed release focus(-26607615)" }));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheVibration)
{
    setRecording(true);
    Alarm alarm;
    alarm.type = ClockSoundType::Vibration;
    alarm.vibrationType = 0;
    alarm.checkRecordingBeforeVibrating = 1;
    initialize(alarm);
    setRecording(false);
    feedbackDouble().playResult = FEEDBACK_ERROR_NOT_SUPPORTED;
    player->resume();
    feedbackDouble().initialized = false;
    player->resume();

    EXPECT_THAT(criticals(),
        IsSupersetOf({ "_playVibration: currenlty recording. do not make feedback",
            "_playVibration: vibration type can not be 0 when player mode is vibration",
            "_playVibration: play feedback failed",
            "_playVibration: play feedback failed after initialize" }));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheVolume)
{
    Alarm alarm;
    alarm.increasingVolume = 1;
    initialize(alarm);
    soundManagerDouble().results["sound_manager_set_volume"] = SOUND_MANAGER_ERROR_INTERNAL;
    forget();
    player->setVolume(9);
    player->recoverPreviousAlarmVolume();
    uiTimerDouble().timers.at(0)->tick();
    soundManagerDouble().results["sound_manager_get_volume"] = SOUND_MANAGER_ERROR_INTERNAL;
    soundManagerDouble().volumes[SOUND_TYPE_ALARM] = 1;
    uiTimerDouble().timers.at(0)->tick();

    EXPECT_THAT(infos(),
        ElementsAre("setVolume: volume = 9", "recoverPreviousAlarmVolume: Previous volume = 11"));
    EXPECT_THAT(criticals(),
        IsSupersetOf({ "setVolume: Failed to set alarm session volume(volume = 9)",
            "recoverPreviousAlarmVolume: Failed to set alarm session volume(volume = 9)" }));

    initialize(ClockSoundType::Nothing);
    player->setVolume(9);
    player->recoverPreviousAlarmVolume();
    EXPECT_THAT(warnings(),
        ElementsAre("setVolume: Current alarm type is not include Melody. Set volume as 0 for "
                    "pausing Media session"));
    EXPECT_THAT(criticals(), Contains("recoverPreviousAlarmVolume: Current soundType is (0)"));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheRamp)
{
    Alarm alarm;
    alarm.increasingVolume = 1;
    initialize(alarm);
    forget();
    soundManagerDouble().results["sound_manager_set_volume"] = SOUND_MANAGER_ERROR_INTERNAL;
    uiTimerDouble().timers.at(0)->tick();
    soundManagerDouble().results["sound_manager_get_volume"] = SOUND_MANAGER_ERROR_INTERNAL;
    uiTimerDouble().timers.at(0)->tick();

    EXPECT_THAT(criticals(),
        ElementsAre("_setIncreaseVolume: Failed to set alarm increase volume(volume = 2)",
            "_increaseVolumeTimerCb: Failed to get current alarm volume"));
}

TEST_F(ClockSoundPlayerLogTest, IsOfTheCallbackThatIsMade)
{
    Alarm alarm;
    alarm.playPosition = 5000;
    initialize(alarm);
    playerDouble().prepared();
    handleMessages();
    forget();
    playerDouble().failed(PLAYER_ERROR_INVALID_OPERATION);
    playerDouble().seekCompletedCb(nullptr);
    ClockSoundPlayer other;
    playerDouble().seekCompletedCb(&other);

    EXPECT_THAT(criticals(),
        ElementsAre("_playerErrorCb: Player error occur :: err = -38",
            "_seekPlayPositionCompleteCb: Data is null. Return",
            "_seekPlayPositionCompleteCb: Pipe is not ready. Return"));
}
} // namespace
