#include "ClockSoundPlayer.h"

#include "AlarmLog.h"

#include <cstring>
#include <Elementary.h>
#include <feedback.h>
#include <recorder.h>
#include <string_view>
#include <system_info.h>
#include <vconf.h>

namespace {
const char* const kSpeakerFeature = "http://developer.velmora.com/tizen/feature/speaker";
const char* const kVibrationTypeKey = "db/setting/sound/call/vibration_type";
const char* const kLongVibrationKey = "db/setting/sound/vibration_long_on";

const double kIncreaseVolumePeriod = 4.0;
const double kCheckRecordingDelay = 0.5;
const int kFirstVolume = 1;
const int kVibrationTypes = 5;

// The messages in the pipe.
const char kSetPosition[] = "player_set_position";
const char kStart[] = "player_start";
const char kStop[] = "player_stop";
const char kPause[] = "player_pause";
const char kResume[] = "player_resume";

// A full pipe blocks its writer, and the main loop, which empties the pipe, may be waiting for that
// writer. This many messages fit into the smallest pipe, one page.
const int kMostInPipe = 100;

// Names under which helper functions log: those of the functions whose work they do.
const char* const kHandler = "_pipeHandlerCb";
const char* const kStarter = "start";
const char* const kDestroyer = "_destroyStreamInfo";

// The pipe carries a pause with the length of a stop. resume() sends a pause, too, with the length
// of a resume.
const unsigned int kPauseSize = sizeof(kStop);
const char kPauseOfResume[sizeof(kResume)] = "player_pause";

bool hasMelody(ClockSoundType type)
{
    return (static_cast<int>(type) & ~static_cast<int>(ClockSoundType::Vibration)) != 0;
}

bool hasVibration(ClockSoundType type)
{
    return type == ClockSoundType::Vibration || type == ClockSoundType::MelodyAndVibration;
}

// The patterns of a type have successive numbers: first the short one, then the long one.
feedback_pattern_e vibrationPattern(int vibrationType, bool isLong)
{
    if (vibrationType < 1 || vibrationType > kVibrationTypes)
        return FEEDBACK_PATTERN_ALARM_VIB1_SHORT;
    const int shortOne = FEEDBACK_PATTERN_ALARM_VIB1_SHORT + 2 * (vibrationType - 1);
    return static_cast<feedback_pattern_e>(isLong ? shortOne + 1 : shortOne);
}

player_state_e stateOf(player_h player)
{
    player_state_e state = PLAYER_STATE_NONE;
    player_get_state(player, &state);
    return state;
}

// The parts of the audio focus that the stream holds, as a mask.
int heldFocus(sound_stream_info_h streamInfo)
{
    sound_stream_focus_state_e playback = SOUND_STREAM_FOCUS_STATE_RELEASED;
    sound_stream_focus_state_e recording = SOUND_STREAM_FOCUS_STATE_RELEASED;
    sound_manager_get_focus_state(streamInfo, &playback, &recording);
    int mask = 0;
    if (playback == SOUND_STREAM_FOCUS_STATE_ACQUIRED)
        mask |= SOUND_STREAM_FOCUS_FOR_PLAYBACK;
    if (recording == SOUND_STREAM_FOCUS_STATE_ACQUIRED)
        mask |= SOUND_STREAM_FOCUS_FOR_RECORDING;
    return mask;
}

bool acquireFocus(sound_stream_info_h streamInfo, const char* operation)
{
    if (heldFocus(streamInfo) & SOUND_STREAM_FOCUS_FOR_PLAYBACK) {
        LOG_CRITICAL_OF(operation, "already focused");
        return true;
    }
    const int error = sound_manager_acquire_focus(
        streamInfo, SOUND_STREAM_FOCUS_FOR_BOTH, SOUND_BEHAVIOR_NONE, nullptr);
    if (error == SOUND_MANAGER_ERROR_NONE)
        return true;
    LOG_CRITICAL_OF(operation, "Failed to get focus (%d)", error);
    if (error == SOUND_MANAGER_ERROR_POLICY)
        LOG_CRITICAL_OF(operation, "Failed to get focus because of policy");
    return false;
}

void releaseFocus(sound_stream_info_h streamInfo, const char* operation)
{
    const int held = heldFocus(streamInfo);
    if (held == 0)
        return;
    const int error = sound_manager_release_focus(
        streamInfo, static_cast<sound_stream_focus_mask_e>(held), SOUND_BEHAVIOR_NONE, nullptr);
    if (error != SOUND_MANAGER_ERROR_NONE)
        LOG_CRITICAL_OF(operation, "Failed release focus(%d)", error);
}

void destroyStreamInfo(sound_stream_info_h streamInfo)
{
    const int error = sound_manager_destroy_stream_information(streamInfo);
    if (error != SOUND_MANAGER_ERROR_NONE)
        LOG_CRITICAL_OF(kDestroyer, "ret [%d]", error);
}

void stopTimer(std::shared_ptr<app_assist::WUiTimer>& timer)
{
    if (timer)
        timer->destroy();
    timer.reset();
}
} // namespace

ClockSoundPlayer::ClockSoundPlayer()
{
    if (sound_manager_get_volume(_volumeSoundType, &_previousVolume) != SOUND_MANAGER_ERROR_NONE)
        LOG_CRITICAL("Failed to get recovery alarm volume");
}

ClockSoundPlayer::ClockSoundPlayer(CallerType caller)
    : _pauseOnFocusLoss(caller != CallerType::Timer)
{
    if (caller != CallerType::Timer && caller != CallerType::Alarm)
        LOG_CRITICAL("Invalid clock sound session type. Set type as ALARM");
}

ClockSoundPlayer::~ClockSoundPlayer()
{
    stopTimer(_increaseVolumeTimer);
    stopTimer(_checkRecordingTimer);
    if (_player) {
        player_stop(_player);
        player_unprepare(_player);
        _destroyPlayer();
    }
    _deletePipe();
    for (sound_stream_info_h former : _formerStreamInfos)
        destroyStreamInfo(former);
    _destroyStreamInfo();
    // Last: until here a change of the focus could make it vibrate again.
    feedback_stop();
}

void ClockSoundPlayer::initialize(const char* tonePath, const char* defaultTonePath,
    ClockSoundType type, int vibrationType, int volume, int increasingVolume, int playPosition,
    int checkRecordingBeforeVibrating, sound_stream_type_e streamType)
{
    _tonePath = tonePath ? tonePath : "";
    _defaultTonePath = defaultTonePath ? defaultTonePath : "";
    _type = type;
    _vibrationType = vibrationType;
    _volume = volume;
    _increasingVolume = increasingVolume;
    _playPosition = playPosition;
    _checkRecordingBeforeVibrating = checkRecordingBeforeVibrating;

    bool speaker = true;
    if (system_info_get_custom_bool(kSpeakerFeature, &speaker) != SYSTEM_INFO_ERROR_NONE)
        LOG_CRITICAL("system_info_get_custom_bool failed");
    LOG_CRITICAL("isSupportSpeaker = %d", speaker);
    if (_volume == 0)
        _increasingVolume = 0;
    _createStreamInfo(streamType);
    if (hasMelody(type) && speaker) {
        _playSound();
    } else if (type == ClockSoundType::Melody) {
        return; // the device has no speaker, and the alarm no vibration
    }

    if (hasVibration(type)) {
        if (!speaker) {
            int setting = 0;
            vconf_get_int(kVibrationTypeKey, &setting);
            LOG_CRITICAL("vibTypeOnSetting = %d", setting);
            _vibrationType = setting / 2 + 1;
            LOG_CRITICAL("_vibrationType = %d", _vibrationType.load());
        }
        _playVibration();
    }
    if (_increasingVolume) {
        stopTimer(_increaseVolumeTimer);
        _increaseVolumeTimer
            = app_assist::WUiTimer::create(kIncreaseVolumePeriod, _increaseVolumeTimerCb, this);
    }
}

void ClockSoundPlayer::_createStreamInfo(sound_stream_type_e streamType)
{
    LOG_CRITICAL("streamType [%d]", streamType);
    if (_streamInfo && _player) {
        // The platform's player may use the stream until it is destroyed, so the stream is kept.
        _releaseFocus();
        _formerStreamInfos.push_back(_streamInfo);
        _streamInfo = nullptr;
    } else if (_streamInfo) {
        _destroyStreamInfo();
    }
    sound_stream_info_h streamInfo = nullptr;
    const int error
        = sound_manager_create_stream_information(streamType, _audioFocusedCb, this, &streamInfo);
    if (error != SOUND_MANAGER_ERROR_NONE)
        LOG_CRITICAL("ret [%d]", error);
    _streamInfo = streamInfo;
}

void ClockSoundPlayer::_destroyStreamInfo()
{
    if (!_streamInfo) {
        LOG_CRITICAL("stream info is not set");
        return;
    }
    destroyStreamInfo(_streamInfo);
    _streamInfo = nullptr;
}

void ClockSoundPlayer::_playSound()
{
    if (_createPlayerAsync(_tonePath))
        return;
    LOG_CRITICAL("Failed to create player with input uri. Create player with default uri");
    _playPosition = 0;
    if (!_createPlayerAsync(_defaultTonePath))
        LOG_CRITICAL("Failed to create player with default uri");
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the interface takes a copy
bool ClockSoundPlayer::_createPlayerAsync(std::string path)
{
    if (!ecore_file_exists(path.c_str())) {
        LOG_CRITICAL("Invalid tone file path. Return false");
        return false;
    }
    if (!_player) {
        if (player_create(&_player) != PLAYER_ERROR_NONE) {
            LOG_CRITICAL("Failed to create player");
            _destroyPlayer();
            return false;
        }
        if (player_set_looping(_player, true) != PLAYER_ERROR_NONE) {
            LOG_CRITICAL("Failed to set player looping");
            _destroyPlayer();
            return false;
        }
    }

    const bool idle = stateOf(_player) == PLAYER_STATE_IDLE;
    if (!idle) {
        LOG_CRITICAL("player is not in idle");
    } else if (player_set_uri(_player, path.c_str()) != PLAYER_ERROR_NONE) {
        LOG_CRITICAL("Failed to set uri");
        _destroyPlayer();
        return false;
    }
    player_set_sound_stream_info(_player, _streamInfo);
    player_set_error_cb(_player, _playerErrorCb, this);
    if (idle && player_prepare_async(_player, _playerPrepareCb, this) != PLAYER_ERROR_NONE) {
        LOG_CRITICAL("Failed to prepare");
        _destroyPlayer();
        return false;
    }

    if (!_createPipe())
        LOG_CRITICAL("Failed to add ecore pipe");
    if (_increasingVolume && _type != ClockSoundType::Vibration) {
        _setIncreaseVolume(kFirstVolume);
    } else {
        setVolume(_volume);
    }
    return true;
}

void ClockSoundPlayer::_destroyPlayer()
{
    if (_player)
        player_destroy(_player);
    _player = nullptr;
    const std::lock_guard<std::mutex> lock(_preparedMutex);
    _isStartMissed = false;
}

bool ClockSoundPlayer::_createPipe()
{
    const std::lock_guard<std::mutex> lock(_preparedMutex);
    if (_pipe)
        return true;
    _pipe = ecore_pipe_add(_pipeHandlerCb, this);
    if (!_pipe)
        return false;
    if (_isStartMissed)
        _startPrepared();
    _isStartMissed = false;
    return true;
}

void ClockSoundPlayer::_deletePipe()
{
    Ecore_Pipe* pipe = nullptr;
    {
        // A focus callback of another thread may be sending.
        const std::lock_guard<std::mutex> lock(_sendMutex);
        pipe = _pipe.exchange(nullptr);
    }
    if (pipe)
        ecore_pipe_del(pipe);
}

void ClockSoundPlayer::_startPrepared()
{
    if (_playPosition <= 0) {
        start();
    } else {
        _setPlayPosition();
    }
}

// May be called from any thread, and never waits for the main loop.
bool ClockSoundPlayer::_send(const char* message, unsigned int size)
{
    // Ecore writes a message in two pieces; without the lock another thread's could come between.
    const std::lock_guard<std::mutex> lock(_sendMutex);
    Ecore_Pipe* pipe = _pipe;
    if (!pipe)
        return false;
    if (_inPipe >= kMostInPipe) {
        _waiting.emplace_back(message, size);
        return true;
    }
    if (!ecore_pipe_write(pipe, message, size))
        return false;
    ++_inPipe;
    return true;
}

// Called when the main loop has taken a message out of the pipe.
void ClockSoundPlayer::_sendWaiting()
{
    const std::lock_guard<std::mutex> lock(_sendMutex);
    --_inPipe;
    while (!_waiting.empty() && _inPipe < kMostInPipe) {
        const std::string& message = _waiting.front();
        if (ecore_pipe_write(_pipe, message.data(), static_cast<unsigned int>(message.size())))
            ++_inPipe;
        _waiting.pop_front();
    }
}

void ClockSoundPlayer::start()
{
    if (!_pipe) {
        LOG_CRITICAL("pipe is not ready");
        return;
    }
    if (!_isRecordingState()) {
        _send(kStart, sizeof(kStart));
        return;
    }
    LOG_CRITICAL("Now recorder is in recording. Check again after 0.5 second");
    // The platform's threads call start(), too, and only the main loop may set a timer. From
    // another thread the call is made later, when this object may be gone.
    ecore_main_loop_thread_safe_call_async(
        _checkRecordingLaterCb, new std::weak_ptr<ClockSoundPlayer>(_self));
}

void ClockSoundPlayer::_checkRecordingLaterCb(void* data)
{
    const std::unique_ptr<std::weak_ptr<ClockSoundPlayer>> player(
        static_cast<std::weak_ptr<ClockSoundPlayer>*>(data));
    const std::shared_ptr<ClockSoundPlayer> self = player->lock();
    if (!self)
        return;
    if (self->_checkRecordingTimer) {
        LOG_CRITICAL_OF(kStarter, "Recording check timer already added");
        return;
    }
    self->_checkRecordingTimer
        = app_assist::WUiTimer::create(kCheckRecordingDelay, _checkRecordingTimerCb, self.get());
}

void ClockSoundPlayer::stop()
{
    feedback_stop();
    if (_type == ClockSoundType::Vibration)
        _releaseFocus();
    if (!_pipe) {
        LOG_CRITICAL("pipe is not ready");
        return;
    }
    _send(kStop, sizeof(kStop));
}

bool ClockSoundPlayer::pause()
{
    feedback_stop();
    if (!_pipe) {
        LOG_CRITICAL("pipe is not ready");
        return false;
    }
    return _send(kPause, kPauseSize);
}

bool ClockSoundPlayer::resume()
{
    if (hasVibration(_type))
        _playVibration();
    if (!_pipe) {
        LOG_CRITICAL("pipe is not ready");
        return false;
    }
    return _send(kPauseOfResume, sizeof(kPauseOfResume));
}

void ClockSoundPlayer::_setPlayPosition()
{
    if (!_pipe) {
        LOG_CRITICAL("Pipe is not ready. Return");
        return;
    }
    _send(kSetPosition, sizeof(kSetPosition));
}

bool ClockSoundPlayer::_isRecordingState()
{
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    if (recorder_get_device_state(RECORDER_TYPE_AUDIO, &state) != RECORDER_ERROR_NONE)
        LOG_CRITICAL("get audio recording state failed");
    LOG_INFO("Current voice recording state %d", state);
    return state == RECORDER_DEVICE_STATE_RECORDING;
}

bool ClockSoundPlayer::_acquireFocus() { return acquireFocus(_streamInfo, __func__); }

void ClockSoundPlayer::_releaseFocus() { releaseFocus(_streamInfo, __func__); }

void ClockSoundPlayer::setVolume(int volume)
{
    LOG_INFO("volume = %d", volume);
    if (!hasMelody(_type)) {
        LOG_WARNING("Current alarm type is not include Melody. Set volume as 0 for pausing Media "
                    "session");
        _volume = 0;
        return;
    }
    _volume = volume;
    if (sound_manager_set_volume(_volumeSoundType, _volume) != SOUND_MANAGER_ERROR_NONE)
        LOG_CRITICAL("Failed to set alarm session volume(volume = %d)", _volume);
}

void ClockSoundPlayer::_setIncreaseVolume(int volume)
{
    if (sound_manager_set_volume(_volumeSoundType, volume) != SOUND_MANAGER_ERROR_NONE)
        LOG_CRITICAL("Failed to set alarm increase volume(volume = %d)", volume);
}

void ClockSoundPlayer::recoverPreviousAlarmVolume()
{
    LOG_INFO("Previous volume = %d", _previousVolume);
    if (!hasMelody(_type)) {
        LOG_CRITICAL("Current soundType is (%d)", static_cast<int>(_type.load()));
        return;
    }
    // Log readers expect the target volume here.
    if (sound_manager_set_volume(_volumeSoundType, _previousVolume) != SOUND_MANAGER_ERROR_NONE)
        LOG_CRITICAL("Failed to set alarm session volume(volume = %d)", _volume);
}

void ClockSoundPlayer::_playVibration()
{
    if (_checkRecordingBeforeVibrating == 1 && _isRecordingState()) {
        LOG_CRITICAL("currenlty recording. do not make feedback");
        return;
    }
    feedback_stop();
    if (_type == ClockSoundType::Vibration)
        _acquireFocus();
    if (_vibrationType == 0)
        LOG_CRITICAL("vibration type can not be 0 when player mode is vibration");

    int isLong = 0;
    vconf_get_bool(kLongVibrationKey, &isLong);
    const feedback_pattern_e pattern = vibrationPattern(_vibrationType, isLong != 0);
    const int error = feedback_play_type(FEEDBACK_TYPE_VIBRATION, pattern);
    if (error == FEEDBACK_ERROR_NOT_INITIALIZED) {
        feedback_initialize();
        if (feedback_play_type(FEEDBACK_TYPE_VIBRATION, pattern) != FEEDBACK_ERROR_NONE)
            LOG_CRITICAL("play feedback failed after initialize");
    } else if (error != FEEDBACK_ERROR_NONE) {
        LOG_CRITICAL("play feedback failed");
    }
}

// The message is size bytes long, which may or may not include a terminator.
void ClockSoundPlayer::_pipeHandlerCb(void* data, void* buffer, unsigned int size)
{
    if (!data) {
        LOG_CRITICAL("Data is null. Return");
        return;
    }
    ClockSoundPlayer& self = *static_cast<ClockSoundPlayer*>(data);
    self._sendWaiting();
    const char* text = static_cast<const char*>(buffer);
    const std::string_view message(text, strnlen(text, size));
    if (message == kSetPosition) {
        self._seek();
    } else if (message == kStart) {
        self._play();
    } else if (message == kStop) {
        self._stopPlaying();
    } else if (message == kPause) {
        self._pausePlaying();
    } else if (message == kResume) {
        self._resumePlaying();
    }
}

void ClockSoundPlayer::_seek()
{
    const int position = _playPosition;
    if (player_set_play_position(_player, position, true, _seekPlayPositionCompleteCb, this)
        != PLAYER_ERROR_NONE) {
        LOG_CRITICAL_OF(
            kHandler, "Failed to set play position(position = %d). Just start player", position);
        start();
    }
}

void ClockSoundPlayer::_play()
{
    if (!acquireFocus(_streamInfo, kHandler))
        return;
    const player_state_e state = stateOf(_player);
    if (state != PLAYER_STATE_READY && state != PLAYER_STATE_PAUSED) {
        LOG_CRITICAL_OF(kHandler,
            "player state is idle, currently pareparing player (it could be launching case)");
        return;
    }
    if (player_start(_player) != PLAYER_ERROR_NONE)
        LOG_CRITICAL_OF(kHandler, "Failed to start player");
}

void ClockSoundPlayer::_stopPlaying()
{
    releaseFocus(_streamInfo, kHandler);
    if (player_stop(_player) != PLAYER_ERROR_NONE)
        LOG_CRITICAL_OF(kHandler, "Failed to stop player");
}

void ClockSoundPlayer::_pausePlaying()
{
    const int error = player_pause(_player);
    if (error != PLAYER_ERROR_NONE)
        LOG_CRITICAL_OF(kHandler, "pause failed(%d", error);
}

void ClockSoundPlayer::_resumePlaying()
{
    if (stateOf(_player) != PLAYER_STATE_PAUSED)
        return;
    const int error = player_start(_player);
    if (error != PLAYER_ERROR_NONE)
        LOG_CRITICAL_OF(kHandler, "resume failed(%d", error);
}

void ClockSoundPlayer::_playerErrorCb(int error, void* /*data*/)
{
    LOG_CRITICAL("Player error occur :: err = %d", error);
}

void ClockSoundPlayer::_playerPrepareCb(void* data)
{
    ClockSoundPlayer& self = *static_cast<ClockSoundPlayer*>(data);
    // Without a pipe the tone cannot start yet: whoever makes the pipe starts it.
    const std::lock_guard<std::mutex> lock(self._preparedMutex);
    self._isStartMissed = !self._pipe;
    self._startPrepared();
}

void ClockSoundPlayer::_seekPlayPositionCompleteCb(void* data)
{
    if (!data) {
        LOG_CRITICAL("Data is null. Return");
        return;
    }
    ClockSoundPlayer& self = *static_cast<ClockSoundPlayer*>(data);
    if (!self._pipe) {
        LOG_CRITICAL("Pipe is not ready. Return");
        return;
    }
    self.start();
}

void ClockSoundPlayer::_audioFocusedCb(sound_stream_info_s* streamInfo,
    sound_stream_focus_mask_e /*mask*/, sound_stream_focus_state_e state,
    sound_stream_focus_change_reason_e /*reason*/, int behavior, const char* /*additionalInfo*/,
    void* data)
{
    ClockSoundPlayer& self = *static_cast<ClockSoundPlayer*>(data);
    // A stream of an earlier initialize() may get back a focus that it had lost.
    const bool isFormer = streamInfo && streamInfo != self._streamInfo;
    if (isFormer)
        return;
    if (state == SOUND_STREAM_FOCUS_STATE_ACQUIRED) {
        self.resume();
    } else if (behavior == SOUND_BEHAVIOR_NO_RESUME || !self._pauseOnFocusLoss) {
        self.stop();
    } else {
        self.pause();
    }
}

bool ClockSoundPlayer::_increaseVolumeTimerCb(void* data)
{
    ClockSoundPlayer& self = *static_cast<ClockSoundPlayer*>(data);
    int current = 0;
    if (sound_manager_get_volume(self._volumeSoundType, &current) != SOUND_MANAGER_ERROR_NONE) {
        LOG_CRITICAL("Failed to get current alarm volume");
        return true;
    }
    if (current >= self._volume)
        return false;
    self._setIncreaseVolume(current + 1);
    return true;
}

bool ClockSoundPlayer::_checkRecordingTimerCb(void* data)
{
    ClockSoundPlayer& self = *static_cast<ClockSoundPlayer*>(data);
    self._checkRecordingTimer.reset();
    if (self._isRecordingState()) {
        LOG_INFO("Still recording state. Do not start player");
    } else {
        LOG_INFO("Recording stopped. Start player");
        self._send(kStart, sizeof(kStart));
    }
    return false;
}
