#pragma once

#include "ToneTrial.h"

#include <memory>
#include <player.h>

struct AlarmDbData;
class ClockSoundPlayer;

/**
 * The tone and the vibration of an alarm: the tone begins softly and rises to the alarm's volume.
 * When the alarm is over, the watch's alarm volume is what it was before, also when an alert was
 * killed meanwhile. Main loop only.
 */
class AlertSound {
public:
    AlertSound();
    AlertSound(const AlertSound&) = delete;
    AlertSound& operator=(const AlertSound&) = delete;
    ~AlertSound(); ///< stops the sound

    /// Lets the platform get ready to play, beside what the caller does next.
    void prepare();

    /// Plays the alarm in place of what plays now. A tone that cannot be played is replaced by the
    /// default one, which may take some seconds; while that cannot be played either, the alarm
    /// rings without a tone.
    void play(const AlarmDbData& alarm);

    /// Ends tone and vibration. They have ended when it returns.
    void stop();

    /// The platform's id of the alarm that plays; -1 when none does.
    int registration() const { return _registration; }

private:
    void _begin(const AlarmDbData& alarm);
    void _try(const AlarmDbData& alarm, int failures);

    std::unique_ptr<ClockSoundPlayer> _player;
    std::unique_ptr<ToneTrial> _trial; ///< of the tone that plays
    player_h _ready = nullptr; ///< plays nothing; while there is one, the platform is ready
    int _registration = -1;
    int _volumeBefore = -1;
};
