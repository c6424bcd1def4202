#pragma once

#include "ToneTrial.h"

#include <memory>
#include <player.h>

struct AlarmDbData;
class ClockSoundPlayer;

/**
 * What is heard and felt of an alarm: it begins softly and rises to the alarm's volume. The
 * watch's alarm volume is what it was when it is over, also when an alert was killed meanwhile.
 * Main loop only.
 */
class AlertSound {
public:
    AlertSound();
    AlertSound(const AlertSound&) = delete;
    AlertSound& operator=(const AlertSound&) = delete;
    ~AlertSound(); ///< stops it

    /// Lets the platform get ready to play, beside what the caller does next.
    void prepare();

    /// Instead of what plays. A tone that cannot be played is replaced by the default one, which
    /// may take some seconds; as long as that cannot either, the alarm rings without a tone.
    void play(const AlarmDbData& alarm);

    /// Silent and still when it returns.
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
