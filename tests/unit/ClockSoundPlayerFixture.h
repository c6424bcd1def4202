#pragma once

#include "CallJournal.h"
#include "ClockSoundPlayer.h"
#include "DlogDouble.h"
#include "EcorePipeProbe.h"
#include "FeedbackDouble.h"
#include "PlayerDouble.h"
#include "RecorderDouble.h"
#include "SoundManagerDouble.h"
#include "SystemInfoDouble.h"
#include "UiTimerDouble.h"
#include "VconfDouble.h"

#include <gmock/gmock.h>
#include <memory>

/// A player on fresh doubles and a real Ecore main loop. The device has a speaker, nothing records,
/// and the alarm volume is 11.
class ClockSoundPlayerFixture : public testing::Test {
protected:
    /// What initialize() is called with.
    struct Alarm {
        std::string tone = "/proc/self/status";
        std::string defaultTone = "/proc/self/stat";
        ClockSoundType type = ClockSoundType::Melody;
        int vibrationType = 1;
        int volume = 7;
        int increasingVolume = 0;
        int playPosition = 0;
        int checkRecordingBeforeVibrating = 0;
        sound_stream_type_e streamType = SOUND_STREAM_TYPE_ALARM;
    };

    /// For the life of the process, as in an application.
    static void SetUpTestSuite()
    {
        ecore_app_no_system_modules();
        ecore_init();
        ecore_file_init();
    }

    ClockSoundPlayerFixture()
    {
        callJournal().clear();
        dlogDouble() = {};
        ecorePipeProbe() = {};
        feedbackDouble() = {};
        playerDouble() = {};
        recorderDouble() = {};
        soundManagerDouble() = {};
        soundManagerDouble().volumes[SOUND_TYPE_ALARM] = 11;
        systemInfoDouble() = {};
        setSpeaker(true);
        uiTimerDouble() = {};
        vconfDouble() = {};
        player = std::make_unique<ClockSoundPlayer>();
    }

    ~ClockSoundPlayerFixture() override
    {
        player.reset();
        EXPECT_EQ(0, playerDouble().alive);
        EXPECT_EQ(0, soundManagerDouble().alive);
        for (const auto& timer : uiTimerDouble().timers)
            EXPECT_FALSE(timer->active);
    }

    static void setSpeaker(bool supported)
    {
        systemInfoDouble().features["http://developer.velmora.com/tizen/feature/speaker"]
            = supported;
    }

    static void setRecording(bool recording)
    {
        recorderDouble().state
            = recording ? RECORDER_DEVICE_STATE_RECORDING : RECORDER_DEVICE_STATE_IDLE;
    }

    void initialize(const Alarm& alarm)
    {
        player->initialize(alarm.tone.c_str(), alarm.defaultTone.c_str(), alarm.type,
            alarm.vibrationType, alarm.volume, alarm.increasingVolume, alarm.playPosition,
            alarm.checkRecordingBeforeVibrating, alarm.streamType);
    }

    void initialize(ClockSoundType type)
    {
        Alarm alarm;
        alarm.type = type;
        initialize(alarm);
    }

    /// A tone that is being played, with what led there forgotten.
    void play(ClockSoundType type = ClockSoundType::Melody)
    {
        initialize(type);
        playerDouble().prepared();
        handleMessages();
        ASSERT_EQ(PLAYER_STATE_PLAYING, playerDouble().state);
        forget();
    }

    static void handleMessages() { EcorePipeProbe::handleMessages(); }

    /// Sends a message of any bytes through the player's pipe, and has it handled.
    static void handle(const std::string& message)
    {
        ecore_pipe_write(
            ecorePipeProbe().pipe, message.data(), static_cast<unsigned int>(message.size()));
        handleMessages();
    }

    /// Forgets what was logged, asked and written until now.
    static void forget()
    {
        dlogDouble() = {};
        callJournal().clear();
    }

    static std::vector<std::string> calls(const std::string& begin = "")
    {
        return callJournal().callsOf(begin);
    }

    /// The messages since the pipe was made.
    static const std::vector<std::string>& written() { return ecorePipeProbe().written; }

    static std::vector<std::string> criticals() { return dlogDouble().criticals(); }
    static std::vector<std::string> infos() { return dlogDouble().messages(DLOG_INFO); }
    static std::vector<std::string> warnings() { return dlogDouble().messages(DLOG_WARN); }

    static int alarmVolume() { return soundManagerDouble().volumes[SOUND_TYPE_ALARM]; }

    std::unique_ptr<ClockSoundPlayer> player;
};

// The messages as they lie in the pipe: a pause has no terminator, and a resume is a pause.
const std::string kSetPositionMessage("player_set_position\0", 20);
const std::string kStartMessage("player_start\0", 13);
const std::string kStopMessage("player_stop\0", 12);
const std::string kPauseMessage("player_pause", 12);
const std::string kResumeMessage("player_pause\0\0", 14);
