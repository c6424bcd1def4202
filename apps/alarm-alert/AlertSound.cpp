#include "AlertSound.h"

#include <AlarmDbData.h>
#include <app_preference.h>
#include <ClockSoundPlayer.h>
#include <recorder.h>
#include <sound_manager.h>

namespace {

// The package's preference with the alarm volume to come back to, -1 while it is in place.
const char* const kVolumeKey = "alarmVolumeBefore";

const int kRising = 1;
const int kFromTheStart = 0;
const int kNotIntoARecording = 1;

int currentVolume()
{
    int volume = -1;
    (void)sound_manager_get_volume(SOUND_TYPE_ALARM, &volume);
    return volume;
}

// What an alert left there that was killed.
int volumeLeft()
{
    int volume = -1;
    (void)preference_get_int(kVolumeKey, &volume);
    return volume;
}

} // namespace

AlertSound::AlertSound() = default;

AlertSound::~AlertSound()
{
    stop();
    if (_ready)
        player_destroy(_ready);
}

void AlertSound::prepare()
{
    if (!_ready)
        (void)player_create(&_ready);
}

void AlertSound::play(const AlarmDbData& alarm)
{
    stop();
    const int left = volumeLeft();
    _volumeBefore = left >= 0 ? left : currentVolume();
    _alarm = alarm.id;
    _player = std::make_unique<ClockSoundPlayer>();
    _player->initialize(alarm.tone.c_str(), AlarmDbData().tone.c_str(),
        static_cast<ClockSoundType>(alarm.type), alarm.vibration_type, alarm.volume, kRising,
        kFromTheStart, kNotIntoARecording, SOUND_STREAM_TYPE_ALARM);
    // So that the tone need not wait for the first look at the microphone.
    recorder_device_state_e state = RECORDER_DEVICE_STATE_IDLE;
    (void)recorder_get_device_state(RECORDER_TYPE_AUDIO, &state);
    if (_volumeBefore != left)
        (void)preference_set_int(kVolumeKey, _volumeBefore);
}

void AlertSound::stop()
{
    if (!_player)
        return;
    // The player's end is silent at once, while its stop() waits for the main loop. Only then the
    // volume, which may be much louder than the tone.
    _player.reset();
    _alarm = -1;
    if (_volumeBefore < 0 || sound_manager_set_volume(SOUND_TYPE_ALARM, _volumeBefore) != 0)
        return;
    (void)preference_set_int(kVolumeKey, -1);
}
