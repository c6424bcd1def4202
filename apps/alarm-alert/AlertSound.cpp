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

// The package's preference that keeps the watch's alarm volume while an alarm has its own; -1
// otherwise.
const char* const kVolumeKey = "alarmVolumeBefore";

const char* const kTag = "alarm-alert";

const char* const kSpeakerFeature = "http://developer.velmora.com/tizen/feature/speaker";

// The pause before the first trial of a tone, so that the trial does not delay the alarm's own
// sound. It doubles with each trial that fails.
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

// Puts back the volume that an alert had changed when it was killed.
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
    bool speaker = true; // a device that does not say has one
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
    // The preference comes before the volume changes: the alert may be killed right after.
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
        played.tone = AlarmDbData().tone; // the default tone
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
    // The vibration is ended by itself, without a wait: a sound server that hangs holds up the end
    // of the player, which would end the vibration too.
    (void)feedback_stop();
    // The player's destructor is silent when it returns, its stop() only when the main loop has
    // run. The volume comes back after the silence, since it may be much louder than the tone was.
    _trial.reset();
    _player.reset();
    _registration = -1;
    if (_volumeBefore < 0 || sound_manager_set_volume(SOUND_TYPE_ALARM, _volumeBefore) != 0)
        return;
    (void)preference_set_int(kVolumeKey, -1);
}
