#include "AlertSound.h"

#include <AlarmDbData.h>
#include <algorithm>
#include <app_preference.h>
#include <ClockSoundPlayer.h>
#include <dlog.h>
#include <Ecore_File.h>
#include <feedback.h>
#include <sound_manager.h>
#include <system_info.h>

namespace {

// The package's preference with the alarm volume to come back to, -1 while it is in place.
const char* const kVolumeKey = "alarmVolumeBefore";

const char* const kTag = "alarm-alert";

const char* const kSpeakerFeature = "http://developer.velmora.com/tizen/feature/speaker";

// Before the first trial of a tone, so that the alarm itself is not heard later for it. It doubles
// with each that fails.
const double kTrialDelay = 0.3; // seconds
const int kMostDoublings = 4;

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

bool hasMelody(const AlarmDbData& alarm)
{
    const auto type = static_cast<ClockSoundType>(alarm.type);
    return type == ClockSoundType::Melody || type == ClockSoundType::MelodyAndVibration;
}

bool hasSpeaker()
{
    bool speaker = true; // where the device does not say
    (void)system_info_get_custom_bool(kSpeakerFeature, &speaker);
    return speaker;
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
    // First, as the alert may be killed at any moment after the volume has changed.
    const int left = volumeLeft();
    _volumeBefore = left >= 0 ? left : currentVolume();
    if (_volumeBefore != left)
        (void)preference_set_int(kVolumeKey, _volumeBefore);
    _registration = alarm.alarm_mgr_id;
    _begin(alarm);
}

void AlertSound::_begin(const AlarmDbData& alarm)
{
    _player.reset();
    _player = std::make_unique<ClockSoundPlayer>();
    _player->initialize(alarm.tone.c_str(), AlarmDbData().tone.c_str(),
        static_cast<ClockSoundType>(alarm.type), alarm.vibration_type, alarm.volume, kRising,
        kFromTheStart, kNotIntoARecording, SOUND_STREAM_TYPE_ALARM);
    if (!hasMelody(alarm) || !hasSpeaker())
        return;
    AlarmDbData played = alarm;
    if (!ecore_file_exists(alarm.tone.c_str()))
        played.tone = AlarmDbData().tone; // the player's own choice
    _try(played, 0);
}

// Finds out whether the tone of the alarm that rings is heard. The default one has no replacement:
// it is tried until it can be played, as a file system or the sound may come back.
void AlertSound::_try(const AlarmDbData& alarm, int failures)
{
    const double delay = kTrialDelay * (1 << std::min(failures, kMostDoublings));
    _trial = std::make_unique<ToneTrial>(
        alarm.tone, delay, [this, alarm, failures](bool isPlayable) {
            _trial.reset();
            if (isPlayable) {
                if (failures > 0)
                    _begin(alarm);
                return;
            }
            if (failures == 0)
                dlog_print(DLOG_WARN, kTag, "alarm %d has a tone that cannot be played", alarm.id);
            if (alarm.tone == AlarmDbData().tone) {
                _try(alarm, failures + 1);
            } else {
                AlarmDbData replaced = alarm;
                replaced.tone = AlarmDbData().tone;
                _begin(replaced);
            }
        });
}

void AlertSound::stop()
{
    if (!_player)
        return;
    // Waits for nobody. A sound server that hangs holds up the player's end, which would end the
    // vibration too.
    (void)feedback_stop();
    // The player's end is silent at once, while its stop() waits for the main loop. Only then the
    // volume, which may be much louder than the tone.
    _trial.reset();
    _player.reset();
    _registration = -1;
    if (_volumeBefore < 0 || sound_manager_set_volume(SOUND_TYPE_ALARM, _volumeBefore) != 0)
        return;
    (void)preference_set_int(kVolumeKey, -1);
}
