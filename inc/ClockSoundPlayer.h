#pragma once

#include <app-assist.h>
#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <player.h>
#include <sound_manager.h>
#include <string>
#include <vector>

/// What an alarm makes: bit value 1 stands for melody, 2 for vibration.
enum class ClockSoundType : int { Nothing = 0, Melody = 1, Vibration = 2, MelodyAndVibration = 3 };

/// Who plays. A timer stops when it loses the audio focus, an alarm pauses.
enum class CallerType : int { Timer = 0, Alarm = 1 };

/**
 * Plays one alarm: its tone, looping on a sound stream with audio focus and
 * getting louder when asked to, and its vibration.
 *
 * The platform's player prepares the tone on a thread of its own; the tone
 * starts by itself when that is done. While the microphone records, the start
 * waits for half a second, once; if it still records then, the tone stays
 * silent. A tone that is missing, or that the platform's player does not accept,
 * is replaced by the default tone. One that fails only while it is prepared is
 * not: that is logged, and the tone stays silent.
 *
 * Made, used and destroyed on the main loop, which must run for anything to be
 * heard: every command to the platform's player is a message to it. start(),
 * stop(), pause() and resume() may come from other threads too, as the platform
 * calls them when the tone is ready and when the audio focus changes. The
 * destructor silences the alarm and waits for calls of the platform that are
 * under way.
 *
 * Nothing throws; what the platform refuses is logged, and the alarm goes on
 * with what is left.
 */
class ClockSoundPlayer {
public:
    /** An alarm's player, which remembers the alarm volume for recoverPreviousAlarmVolume(). */
    ClockSoundPlayer();
    /** A value that is not of the enumeration counts as Alarm. Remembers 0 as previous volume. */
    explicit ClockSoundPlayer(CallerType caller);
    ClockSoundPlayer(const ClockSoundPlayer&) = delete;
    ClockSoundPlayer& operator=(const ClockSoundPlayer&) = delete;
    ~ClockSoundPlayer();

    /**
     * Starts the sound and the vibration. Without a speaker there is no tone, and
     * the vibration is the one of the user's settings.
     *
     * Vibration types are the patterns from 1 to 5; any other plays the first. The
     * volume is the level to reach, where 0 is silent: at once, or from 1 on and
     * one level more every 4 seconds when increasingVolume is not 0. The tone
     * begins at playPosition, in milliseconds, 0 or less being its beginning. With
     * checkRecordingBeforeVibrating 1 there is no vibration while the microphone
     * records.
     *
     * A further call keeps a player that has been prepared, and so its tone; the
     * focus is given back, and everything else is as in the first.
     */
    void initialize(const char* tonePath, const char* defaultTonePath, ClockSoundType type,
        int vibrationType, int volume, int increasingVolume, int playPosition,
        int checkRecordingBeforeVibrating, sound_stream_type_e streamType);

    /** Plays the tone, once the microphone allows it. */
    void start();

    /** Ends vibration and tone and gives the audio focus back. */
    void stop();

    /** Ends the vibration and pauses the tone. Returns false without a tone. */
    bool pause();

    /** Vibrates again. Leaves a paused tone paused. Returns false without a tone. */
    bool resume();

    /** Sets target and platform volume. Without melody the target becomes 0 and nothing is set. */
    void setVolume(int volume);
    int getVolume() const { return _volume; }

    /** Sets the alarm volume back to what it was at construction; not without melody. */
    void recoverPreviousAlarmVolume();

private:
    void _createStreamInfo(sound_stream_type_e streamType);
    void _destroyStreamInfo();

    void _playSound();
    bool _createPlayerAsync(std::string path);
    void _destroyPlayer();
    bool _createPipe();
    void _deletePipe();
    void _startPrepared();

    bool _send(const char* message, unsigned int size);
    void _sendWaiting();
    void _setPlayPosition();
    void _seek();
    void _play();
    void _stopPlaying();
    void _pausePlaying();
    void _resumePlaying();

    bool _isRecordingState();
    bool _acquireFocus();
    void _releaseFocus();
    void _setIncreaseVolume(int volume);
    void _playVibration();

    static void _playerErrorCb(int error, void* data);
    static void _playerPrepareCb(void* data);
    static void _seekPlayPositionCompleteCb(void* data);
    static void _pipeHandlerCb(void* data, void* buffer, unsigned int size);
    static void _audioFocusedCb(sound_stream_info_s* streamInfo, sound_stream_focus_mask_e mask,
        sound_stream_focus_state_e state, sound_stream_focus_change_reason_e reason, int behavior,
        const char* additionalInfo, void* data);
    static bool _increaseVolumeTimerCb(void* data);
    static void _checkRecordingLaterCb(void* data);
    static bool _checkRecordingTimerCb(void* data);

    // Those members are atomic that the platform's threads read while initialize() may write them.
    int _volume = 0;
    std::atomic<ClockSoundType> _type{ ClockSoundType::Nothing };
    std::atomic<int> _vibrationType{ 0 };
    std::string _tonePath;
    std::string _defaultTonePath;
    std::atomic<int> _playPosition{ 0 };
    player_h _player = nullptr;
    std::atomic<sound_stream_info_h> _streamInfo{ nullptr };
    std::atomic<Ecore_Pipe*> _pipe{ nullptr };
    int _increasingVolume = 0;
    std::shared_ptr<app_assist::WUiTimer> _increaseVolumeTimer;
    std::shared_ptr<app_assist::WUiTimer> _checkRecordingTimer;
    sound_type_e _volumeSoundType = SOUND_TYPE_ALARM;
    int _previousVolume = 0;
    std::atomic<int> _checkRecordingBeforeVibrating{ 0 };
    bool _pauseOnFocusLoss = true;

    /// The streams of earlier initialize() calls, which the platform's player may use until it is
    /// destroyed.
    std::vector<sound_stream_info_h> _formerStreamInfos;
    /// Owns nothing. Calls that the main loop makes later hold it weakly, to see when this object
    /// is gone.
    const std::shared_ptr<ClockSoundPlayer> _self{ this, [](ClockSoundPlayer*) {} };
    /// Held while a message is written, and while the pipe is taken away; guards the next two.
    std::mutex _sendMutex;
    int _inPipe = 0;
    std::deque<std::string> _waiting; ///< messages for which the pipe has no room yet
    /// Held while the pipe is made, and while a prepared player is started; guards the next one.
    std::mutex _preparedMutex;
    bool _isStartMissed = false; ///< the player was prepared before there was a pipe
};
