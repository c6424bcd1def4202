#pragma once

#include "AlertSound.h"

#include <AlarmDbData.h>
#include <ctime>
#include <string>
#include <vector>

/**
 * The alarms that ring, of which the user answers the one that began last. Each rings for the
 * registration that brought it: when its alarm is switched off, deleted or registered anew
 * meanwhile, it is over. One whose record cannot be read rings all the same, with the values of a
 * new alarm. Main loop only.
 */
class AlarmAlert {
public:
    /// What became of a request: the alarm's row id, -1 when nothing rings, and for the user why it
    /// was not done; empty when it was.
    struct Answer {
        int id = -1;
        std::string reason;
    };

    AlarmAlert() = default;
    AlarmAlert(const AlarmAlert&) = delete;
    AlarmAlert& operator=(const AlarmAlert&) = delete;
    ~AlarmAlert(); ///< ends what still rings

    bool isRinging() const { return !_rings.empty(); }

    /// Takes over the alarms that an alert before this one left ringing when it was killed. To be
    /// called while nothing rings.
    void resume();

    /// Lets the alarm ring that the platform has registered as alarmMgrId; began is the time.
    /// Blocks for some seconds when the alarm cannot be read.
    void ring(int alarmMgrId, const timespec& began);

    /// The alarm is silent at once, and rings again when its snooze is over. It goes on ringing
    /// when it cannot be snoozed: sound() lets it be heard again when only the store knew that.
    Answer snooze();

    /// The alarm is silent at once and over, also when that cannot be saved.
    Answer dismiss();

    /// Lets the sound get ready, for an alarm that will ring in a moment.
    void prepareSound() { _sound.prepare(); }

    /// Lets the alarm be heard that began to ring last. Called when a request has been answered, so
    /// that neither the alert nor the user waits for the sound to begin.
    void sound();

    /// Lets those end whose alarms were switched off, deleted or registered anew, and knows the
    /// others as they are now. Called when the store has changed.
    void endChanged();

private:
    struct Ring {
        AlarmDbData alarm; ///< as it was last read; its row id is -1 until it could be
        time_t instant; ///< at which it came due
    };

    void _readUnknown();
    void _end(int alarmMgrId);
    void _tell() const; ///< tells other processes what rings

    std::vector<Ring> _rings; ///< the newest last
    AlertSound _sound;
};
